#pragma once
/// @file
/// The record types that the operations of `KVUtilities` exchange with their callers. Field order and types are part of
/// the interface. A field is zero or empty until an operation fills it, unless it has another default.
///
/// Units: angles in decimal degrees, north and east positive; heights in metres; `FILETIME` and `SYSTEMTIME` in UTC;
/// `AdjGpsSec` in adjusted GPS seconds, that is GPS seconds since 1980-01-06 minus 1,000,000,000.
/// A record whose latitude and longitude are both exactly 0.0 has not been located.

#include "KVPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// One observation of the GNSS trajectory.
struct tagKVTrajectoryObs {
  FILETIME TimeUTC{};
  double AdjGpsSec = 0.0;
  SYSTEMTIME SystemTimeUTC{};
  double Latitude = 0.0;
  double Longitude = 0.0;
  double Altitude = 0.0;    ///< above the ellipsoid: height above the geoid plus geoid separation
  double GeoidOffst = 0.0;  ///< geoid separation
  CStringW AltUnit;         ///< as read, normally "M"
};

/// One event of the master clock: a heartbeat or a camera exposure.
struct tagKVSystemEvent {
  std::int32_t Type = 0;  ///< 1 = heartbeat, 2 = camera event
  double Latitude = 0.0;
  double Longitude = 0.0;
  double Altitude = 0.0;
  double MasterTick = 0.0;  ///< master clock count, a whole number
  double Sharpness = 0.0;   ///< variance of the photo's Laplacian; 0 = not graded, failed, or a blank photo
  FILETIME TimeUTC{};
  SYSTEMTIME SystemTimeUTC{};
  std::int32_t CameraID = -1;  ///< 1 = camera 1, any other value counts as camera 2; -1 for heartbeats
  CStringW PhotoPath;          ///< empty = no photo found
  double Reserved1 = 0.0;
  double AdjGpsSec = 0.0;
  double Reserved2 = 0.0;
  double Reserved3 = 0.0;
  double Reserved4 = 0.0;
  std::wstring POSQuality = L"NONE";
  std::wstring ORIQuality = L"NONE";
};

/// One entry of the housekeeping log; units of the readings are those of the log file.
struct tagKVLogEvent {
  SYSTEMTIME SystemTimeUTC{};
  double AdjGpsSec = 0.0;
  double Latitude = 0.0;
  double Longitude = 0.0;
  double Altitude = 0.0;
  CStringW Type;    ///< upper-case type word
  CStringW Source;  ///< date and time token as read
  CStringW Desc;
  double CCUTemp = 0.0;     ///< control unit temperature
  double BatBrdTemp = 0.0;  ///< battery board temperature
  double BatTemp = 0.0;
  double BatVoltage = 0.0;
  double BatCurrent = 0.0;
  double BatPercent = 0.0;
  double AOSBrdTemp = 0.0;  ///< orientation sensor board temperature
  double AOSPitch = 0.0;
  double AOSRoll = 0.0;
  double AOSHeading = 0.0;
  std::int32_t AOSCalStat = 0;
  std::int32_t AOSSysStat = 0;
  std::int32_t AOSSysError = 0;
};

/// One line of a POS file or of a post-processed trajectory export: numbers and the texts they were read from.
struct tagKVPosEvent {
  CStringW GpsWeekText;
  CStringW GpsSecondsText;  ///< seconds of week
  SYSTEMTIME SystemTimeUTC{};
  FILETIME TimeUTC{};
  double AdjGpsSec = 0.0;
  CStringW LatitudeText;
  CStringW LongitudeText;
  CStringW HeightText;
  double Latitude = 0.0;
  double Longitude = 0.0;
  double Height = 0.0;  ///< above the ellipsoid
  double X = 0.0;       ///< easting or first coordinate in the target system, in its own units
  double Y = 0.0;       ///< northing or second coordinate in the target system, likewise
  double Z = 0.0;       ///< height in the target system, likewise
  double Value1 = 0.0;
  double Value2 = 0.0;
  double Value3 = 0.0;
  CStringW Token6, Token7, Token8, Token9, Token10, Token11, Token12, Token13, Token14, Token15;
  CStringW Extra1, Extra2, Extra3, Extra4, Extra5, Extra6, Extra7, Extra8, Extra9, Extra10, Extra11, Extra12;
};

/// One line of an orientation sensor file.
struct tagKVAosEvent {
  FILETIME TimeUTC{};
  SYSTEMTIME SystemTimeUTC{};
  double AdjGpsSec = 0.0;
  double MasterTick = 0.0;  ///< 0 when the file has none
  double BrdTemp = 0.0;     ///< degrees Celsius
  double Pitch = 0.0;
  double Roll = 0.0;
  double Heading = 0.0;
  std::int32_t CalStat = 0;
  std::int32_t SysStat = 0;
  std::int32_t SysError = 0;
  CStringW Desc;  ///< for the text of lines that are not readings; empty, since the scans skip them
};

/// One exposure station: two camera events paired in time, or a single one.
///
/// A pair's time and place are the means of its events'. Each event has its own field even if both are of one camera. A
/// single event is in its camera's field, and the station has its time and place; the other field holds a placeholder
/// of type 0 and camera -1 with the event's time, `AdjGpsSec` 0 and the null position (0, 0, 0).
struct tagKVExposureStation {
  double Latitude = 0.0;
  double Longitude = 0.0;
  double Altitude = 0.0;
  FILETIME TimeUTC{};
  SYSTEMTIME SystemTimeUTC{};
  tagKVSystemEvent Cam1Event;
  tagKVSystemEvent Cam2Event;
};

/// A coordinate system, as `KVUtilities::DescribeCoordinateSystem` finds it.
struct tagKVCoordinateSystem {
  CStringW Name;
  CStringW Wkt;                  ///< WKT1 if that can express it, else WKT2; a listed geoid grid is attached
  CStringW EsriWkt;              ///< of the horizontal system, for a .prj; `Wkt` if ESRI's dialect cannot express it
  bool IsGeographic = false;     ///< degrees, longitude first
  bool IsNorthingFirst = false;  ///< coordinates come with the northing, or southing, before the easting
  bool IsOrthometric = false;    ///< heights above a geoid
  CStringW GeoidGrid;            ///< file of the geoid; empty when unknown or missing
  double SemiMajorAxis = 0.0;    ///< of the ellipsoid, metres
};

/// A line of the geoid lookup file.
struct tagKVGeoidGrid {
  CStringW VerticalSystem;  ///< its key: the name by which the system is looked up
  CStringW File;
  bool Exists = false;
};

/// The geodetic data in use.
struct tagKVGeodeticData {
  CStringW DataRoot;  ///< with the system's own separators
  CStringW GdalVersion;
  CStringW ProjVersion;
  std::vector<tagKVGeoidGrid> Grids;
};
