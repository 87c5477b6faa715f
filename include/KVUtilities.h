#pragma once
/// @file
/// The library's public interface: one class of static operations, grouped by family.
///
/// Operations keep no state between calls and may run in several threads at once on different data. An operation with
/// an error text empties it on entry; after a failure it holds a fixed English sentence, if the operation has one. A
/// text in `error` together with a result of true is a report, not a failure. Some settings hold for the whole process:
/// photo batches switch OpenCV's optimised code on; `ScanKVPosFile`, `TransformPosEvents` and
/// `DescribeCoordinateSystem` set the data folders and options of GDAL and PROJ.

#include "KVPlatform.h"
#include "KVRecords.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

class KVUTILITIES_API KVUtilities {
 public:
  // ---- Conversions ---------------------------------------------------------------------------------------------

  /// Converts between 64-bit ticks and a file time.
  static FILETIME Int64ToFiletime(std::int64_t ticks);
  static std::int64_t FiletimeToInt64(FILETIME time);

  /// Moves a time by seconds, truncated toward zero to whole 100 ns ticks; negative seconds move it back.
  /// Seconds that do not fit 64 bits of ticks add 0x8000000000000000, which makes a valid time one without a calendar
  /// time.
  static FILETIME AddSecondsToFileTime(FILETIME time, double seconds);

  /// Moves a calendar time likewise; the day of week is ignored on input and computed on output.
  /// @return a zero calendar time when the sum lies outside the years 1601-30828; an invalid calendar time counts as
  ///         the zero file time (1601-01-01)
  static SYSTEMTIME AddSecondsToSystemTime(SYSTEMTIME time, double seconds);

  /// Magnitude of the difference in seconds; never negative. Invalid calendar times count as the zero file time.
  static double DeltaSecondsBetweenFileTimes(FILETIME a, FILETIME b);
  static double DeltaSecondsBetweenSystemTimes(SYSTEMTIME a, SYSTEMTIME b);

  /// Reads a compact stamp YYMMDD_HHMMSS by character positions; years 2000-2099, day of week and milliseconds 0.
  /// @return the values of the digits, unchecked; missing or non-numeric pieces are 0; after an exception the fields
  ///         read so far, and "Unknown error occurred converting YYMMDD_HHMMSS string to System Time."
  static SYSTEMTIME GetSystemTimeFromYYMMDD_HHMMSS(std::wstring stamp, std::wstring& error);

  /// Turns "YYYY-MM-DD HH:MM:SS" into "YYMMDD_HHMMSS" by character positions, unchecked; empty for an empty input.
  static std::wstring GetSkyvaneDateTimeFromPrettyDateTime(std::wstring prettyDateTime);

  /// Decimal degrees of an NMEA angle dddmm.mmmm; negative for the hemispheres 'S', 'W', 's', 'w'.
  /// @throws std::invalid_argument ("invalid stod argument") when a part is not a number
  /// @throws std::out_of_range ("stod argument out of range") when a part is too large for a double, or so small that
  ///         it would become 0; ("invalid string position") for a text without "."
  static double NMEA_DMtoDD(std::wstring text, wchar_t hemisphere);

  // ---- Scanners ------------------------------------------------------------------------------------------------
  //
  // A read error in the middle of a file ends the scan without a message; the records read before it are returned.

  /// Reads the fixes of a GNSS trajectory file: every line of at least 12 comma-separated tokens is taken as a fix.
  /// @param path  position sentences; a file that is missing, unreadable or a folder gives no records and no message
  /// @param date  UTC date of the first line; the date moves on when the hour goes from 23 to 0. Pass noon to follow
  ///              every midnight: a time of day of exactly midnight stays on its date at the first such step.
  /// @return      one record per fix in file order. An invalid time of day, such as 25:00:00, gives the zero file time
  ///              (1601-01-01): this fix and the next one bracket every time from 1601 to the next fix, and the
  ///              locating operations use them for all times that no earlier pair of fixes brackets.
  /// @throws      std::invalid_argument when a coordinate or height is not a number, std::out_of_range when it is too
  ///              large for a double or so small that it would become 0; also for other sentences of 12 or more tokens
  ///              among the fixes
  /// @see         docs/formats/trajectory.md
  static std::vector<tagKVTrajectoryObs> ScanKVTrajectoryFile(std::wstring path, FILETIME date, std::wstring& error);

  /// Reads heartbeats and camera events of a system event file and times the camera events from their tick counts.
  /// @param path  lines of tick count and code, see the format. Heartbeat times pass through the machine's time zone:
  ///              where its clocks skip an hour, a UTC time in that hour moves by the change. Run in UTC to avoid it.
  /// @return  one record per accepted line in file order; a missing file gives none and no message. With fewer than two
  ///          heartbeats, as in a file that is empty, unreadable or a folder, `error` says "Error computing
  ///          Ticks/Second from heartbeat in System Event File." and camera events have zero times.
  /// @throws  std::out_of_range when a heartbeat's date or time is outside the calendar's ranges
  /// @see     docs/formats/system-events.md
  static std::vector<tagKVSystemEvent> ScanKVSystemEventFile(std::wstring path, std::wstring& error);

  /// Reads a housekeeping log; readings of the control unit, orientation sensor and power unit fill the number fields.
  /// @param path   comma-separated lines of severity, date and time, device, readings or text
  /// @param error  receives the log's own error lines, one per line; a report, not a failure
  /// @return       one record per line of at least three tokens in file order; a missing file gives none. A line of
  ///               1024 characters or more ends the scan and keeps what came before.
  /// @see          docs/formats/housekeeping.md
  static std::vector<tagKVLogEvent> ScanKVLogFile(std::wstring path, std::wstring& error);

  /// Reads a POS file and transforms its positions from WGS 84 to a target coordinate system.
  /// @param posFilePath  lines of 15 or more columns: GPS week, seconds of week, latitude and longitude in degrees,
  ///                     height above the ellipsoid in metres, ten more; other lines are skipped
  /// @param targetWkt    WKT1, WKT2 or ESRI's dialect; orthometric heights need a geoid grid
  ///                     A byte order mark makes the first line one of these if it is a sample
  /// @return  one record per accepted line in file order; `X`, `Y`, `Z` in the target's own units and the order of its
  ///          axes, for geographic systems longitude first. A missing file gives none and no message; a system that cannot be
  ///          used gives none and says why; a position that cannot be transformed ends the scan, and what came before
  ///          is returned beside "Error transforming POS point to target SRS." and the reason. None and "Unexpected
  ///          error scanning POS file." after an exception.
  /// @see     docs/formats/pos.md, docs/geodetic-data.md; sets options of GDAL and PROJ for the whole process
  static std::vector<tagKVPosEvent> ScanKVPosFile(std::wstring posFilePath, std::wstring targetWkt,
                                                  std::wstring& error);

  /// Reads the timestamp file of a drone's camera: one located camera event of camera 1 for each exposure.
  /// @param path  lines of photo number, GPS seconds of week, week in brackets, offsets, latitude, longitude, height
  /// @return  one record per accepted line in file order, without photos; a line of 1024 characters or more ends the
  ///          scan. A missing file gives none and "Error scanning Timestamp file. File does not exist.", a blank line
  ///          and the path.
  /// @see     docs/formats/drone-timestamps.md
  static std::vector<tagKVSystemEvent> ScanDjiTimestampFileWithoutImages(std::wstring path, std::wstring& error);

  /// Like `ScanDjiTimestampFileWithoutImages`, but with the numbered photos of a folder.
  /// @param photoFolder  its JPEG and raw photos have numbers in their names; a final separator is optional
  /// @return  the records with the path of their photo, empty for an event without one; `error` then reports how many
  static std::vector<tagKVSystemEvent> ScanDjiTimestampFile(std::wstring path, std::wstring photoFolder,
                                                            std::wstring& error);

  /// Reads the orientation sensor's own log.
  /// @return  one record per line with a date and seven readings, in file order; a missing file gives none and no
  ///          message
  /// @see     docs/formats/orientation.md
  static std::vector<tagKVAosEvent> ScanKVAosFile(std::wstring path, std::wstring& error);

  /// Reads the log of the hardware variant whose lines carry master clock stamps, among heartbeats. Heartbeat times
  /// pass through the machine's time zone, as in `ScanKVSystemEventFile`.
  /// @return  one record per reading; with fewer than two heartbeats they have no times, and `error` says "Error
  ///          computing Ticks/Second from heartbeat in AOS File."
  /// @throws  std::out_of_range when a heartbeat's date or time is outside the calendar's ranges
  static std::vector<tagKVAosEvent> ScanKVAosFileForQX7(std::wstring path, std::wstring& error);

  /// Reads the text export of a post-processed Applanix trajectory. `X`, `Y`, `Z` are easting, northing and height of
  /// the export's mapping frame, `Value1` to `Value3` roll, pitch and heading in degrees.
  /// @param missionDate  UTC time at which the mission began, or midnight before it, for a file whose header has no
  ///                     date
  /// @return  one record per row in file order; `error` then reports rows that could not be read. None and a sentence
  ///          for a header without a date or without the columns it needs; a missing file gives none and no message.
  /// @see     docs/formats/applanix.md
  static std::vector<tagKVPosEvent> ScanApplanixPostProcessTrajectoryFile(std::wstring path, std::wstring& error);
  static std::vector<tagKVPosEvent> ScanApplanixPostProcessTrajectoryFile(FILETIME missionDate, std::wstring path,
                                                                          std::wstring& error);

  // ---- Georeferencing ------------------------------------------------------------------------------------------

  /// Position at a time, linear between the first two consecutive observations that bracket it (ends included).
  /// @param adjGpsSeconds  seconds on the scale of `AdjGpsSec`
  /// @param latitude, longitude  receive decimal degrees
  /// @param altitude             receives metres above the ellipsoid
  /// @return always true; the location is null (0, 0, 0) when no two observations bracket the time, and NaN when the
  ///         two that bracket it have equal times
  static bool ComputeLocationFromAdjGpsSeconds(double adjGpsSeconds, std::vector<tagKVTrajectoryObs>& trajectory,
                                               double& latitude, double& longitude, double& altitude,
                                               std::wstring& error);
  /// Like `ComputeLocationFromAdjGpsSeconds`, by `TimeUTC` instead of `AdjGpsSec`.
  static bool ComputeLocationFromUTCTime(FILETIME timeUTC, std::vector<tagKVTrajectoryObs> trajectory, double& latitude,
                                         double& longitude, double& altitude, std::wstring& error);

  /// Gives every log event a position: its own, else that of the nearest later event that has one, else that of the
  /// nearest earlier one (but never of the first event), else latitude and longitude 0 with the altitude tried last.
  /// @return false and "Unexpected error computing system event locations." after an exception, with no event changed
  static bool PopulateLogEventLocationsUsingTrajectory(std::vector<tagKVLogEvent>& events,
                                                       std::vector<tagKVTrajectoryObs>& trajectory,
                                                       std::wstring& error);

  /// Gives every event, of any type, the position that `ComputeLocationFromAdjGpsSeconds` finds for its `AdjGpsSec`.
  /// @return false and "Unexpected error computing system event locations." after an exception
  static bool PopulateSystemEventLocationsUsingTrajectory(std::vector<tagKVSystemEvent>& events,
                                                          std::vector<tagKVTrajectoryObs>& trajectory,
                                                          std::wstring& error);

  /// Removes events of any type whose latitude and longitude are both exactly 0; the others keep their order.
  /// @param heartbeatsRemoved, cameraEventsRemoved  receive how many of each; events of other types are not counted
  /// @return true if an event of any type was removed; false is not a failure
  static bool RemoveSystemEventsAtNullLocation(std::vector<tagKVSystemEvent>& events, int& heartbeatsRemoved,
                                               int& cameraEventsRemoved, std::wstring& error);
  /// Removes camera events whose `PhotoPath` is empty, whether or not they have a position; events of other types stay,
  /// and the order is kept. Whether the photo exists is not checked.
  /// @param removed  receives how many
  /// @return true if an event was removed; false is not a failure
  static bool RemoveCameraSystemEventsWithEmptyImagePaths(std::vector<tagKVSystemEvent>& events, int& removed,
                                                          std::wstring& error);
  /// Removes log events whose latitude and longitude are both exactly 0; the others keep their order.
  /// @return true if an event was removed; false is not a failure
  static bool RemoveLogEventsAtNullLocation(std::vector<tagKVLogEvent>& events, std::wstring& error);

  /// Combines camera events into exposure stations: pairs each with the nearest unpaired one in time if it is nearer
  /// than the tolerance; else it stays single. The cameras are not compared, so a pair may be of one camera. A pair's
  /// station has the mean time, latitude, longitude and altitude of its events; a single event's has that event's.
  /// @param toleranceSeconds  exclusive; its sign is ignored
  /// @return stations in the order of their first camera event. An empty input gives none and "Compute Exposure
  ///         Stations Failed:  System Events are empty."; after an exception the stations formed so far and
  ///         "Compute Exposure Stations Failed:  Unexpected error occurred."
  static std::vector<tagKVExposureStation> ComputeExposureStationsFromSystemEvents(std::vector<tagKVSystemEvent> events,
                                                                                   double toleranceSeconds,
                                                                                   std::wstring& error);

  // ---- Photos --------------------------------------------------------------------------------------------------

  /// The photo nearest in time to an event.
  /// @param eventTime      an invalid calendar time counts as 1601-01-01, here and in `photoTimes`, so an event and a
  ///                       photo without valid times match
  /// @param photoTimes     time of each photo, by file name
  /// @param offsetSeconds  added to every photo's time; the sum is truncated to whole milliseconds
  /// @param rangeSeconds   largest difference that counts, inclusive
  /// @return folder, one backslash and the photo's name; among equally near photos the first by name; empty when
  ///         no photo is near enough
  static std::wstring FindClosestPhotoWithinRange(SYSTEMTIME eventTime, std::wstring folder,
                                                  std::map<std::wstring, SYSTEMTIME> photoTimes, double offsetSeconds,
                                                  double rangeSeconds, std::wstring& error);

  /// Pairs every camera event with the photo nearest in time, at most one second away, and removes camera events that
  /// remain without a photo; `error` then reports how many. A camera event that already has a path keeps it if no photo
  /// matches. Invalid calendar times count as in `FindClosestPhotoWithinRange`. The list folders are not read.
  /// @param camera1OffsetSeconds  added to the times of camera 1's photos; likewise for camera 2
  /// @return true; false with an empty `error` after an exception, with some events paired
  static bool PopulatePhotoPathsUsingTimeStamps(std::vector<tagKVSystemEvent>& events, std::wstring camera1ListFolder,
                                                std::wstring camera2ListFolder, std::wstring camera1ImageFolder,
                                                std::wstring camera2ImageFolder,
                                                std::map<std::wstring, SYSTEMTIME> camera1PhotoTimes,
                                                std::map<std::wstring, SYSTEMTIME> camera2PhotoTimes,
                                                double camera1OffsetSeconds, double camera2OffsetSeconds,
                                                std::wstring& error);

  /// Pairs the n-th event of a camera with the n-th ".jpg" of its list folder, by name; surplus photos are ignored. The
  /// extension must be exactly that: ".JPG" and ".jpeg" are not listed.
  /// @param camera1ListFolder   ends with a separator; without one its last part is a prefix of the names listed
  /// @param camera1ImageFolder  start of each path; a backslash and the name follow
  /// @return false when a camera has more events than photos; `error` names the camera and its list folder, and the
  ///         events before it keep their photos
  static bool PopulatePhotoPaths(std::vector<tagKVSystemEvent>& events, std::wstring camera1ListFolder,
                                 std::wstring camera2ListFolder, std::wstring camera1ImageFolder,
                                 std::wstring camera2ImageFolder, std::wstring& error);

  /// Sharpness of a picture: the variance of the Laplacian of its grey values; larger is sharper.
  /// @return 0.0 with a sentence that ends in the path when the file does not exist or cannot be decoded; 0.0 without
  ///         one for a blank picture
  static double ComputeImageSharpnessFactor(std::wstring path, std::wstring& error);

  /// Grades the photo of every camera event into `Sharpness`. A picture that fails gets 0.0, as a blank one does, and
  /// `error` holds only the message about the last camera event's picture.
  /// @return false and "Unexpected error computing Photo Sharpness Factors." after an exception
  static bool PopulatePhotoSharpnessFactors(std::vector<tagKVSystemEvent>& events, std::wstring& error);

  /// Rotates a picture and enlarges it to hold the rotated content; the corners are black, or transparent if the
  /// picture has alpha. The file is replaced in one step or not at all; a process that is killed may leave a file
  /// ".kvutilities-<number>.tmp" beside it. The new file has no metadata (EXIF, colour profile) and no further pictures,
  /// and what the decoder made of a damaged picture looks sound in it.
  /// @param angleDegrees  positive turns counter-clockwise
  /// @return false with a sentence that ends in the path when the file does not exist or cannot be read or written, or
  ///         when the picture, as it is or turned, has more than 32,766 columns or rows
  static bool RotateImage(std::wstring path, double angleDegrees, std::wstring& error);

  /// Rotates the photos of one camera's events; a photo that fails does not stop the others, and one that two events
  /// share is turned twice.
  /// @return true, even if every photo failed; false and "Unexpected error computing Photo Sharpness Factors." after an exception
  static bool RotateCameraImages(std::vector<tagKVSystemEvent>& events, int cameraNumber, double angleDegrees,
                                 std::wstring& error);

  // ---- Shapefile export ----------------------------------------------------------------------------------------

  /// Write a Shapefile set (.shp, .shx, .dbf, .prj) in WGS 84: longitude and latitude in degrees, height in metres. The
  /// measure of trajectory layers is seconds since the first observation, that of the log layer the event's position in
  /// the input; the others have none. Photos are the camera events; other events are skipped.
  /// @param path  the .shp to write; another extension or none gives the same names. Files of the set are overwritten,
  ///              a .cpg is removed. Point layers end before 2 GiB; the limit watches the file with exactly this name.
  /// @return      false with a sentence when a file cannot be created or written, a point layer reaches its limit, or
  ///              the trajectory of a line is empty; what was written so far stays on disk. A .prj that cannot be
  ///              opened is reported only on standard error.
  /// @see         docs/formats/shapefile.md
  static bool ExportTrajectoryLineShapefile(std::wstring path, std::vector<tagKVTrajectoryObs> trajectory,
                                            std::wstring& error);
  static bool ExportTrajectoryPointShapefile(std::wstring path, std::vector<tagKVTrajectoryObs> trajectory,
                                             std::wstring& error);
  static bool ExportLogPointShapefile(std::wstring path, std::vector<tagKVLogEvent> events, std::wstring& error);
  static bool ExportPhotoPointShapefile(std::wstring path, std::vector<tagKVSystemEvent> events, std::wstring& error);
  static bool ExportExposureStationPointShapefile(std::wstring path, std::vector<tagKVExposureStation> stations,
                                                  std::wstring& error);

  /// Writes the samples of a POS file likewise, in the coordinates `X`, `Y`, `Z` of their target system. Fails when the
  /// .prj cannot be opened.
  /// @param projectionWkt  content of the .prj; most programs understand `tagKVCoordinateSystem::EsriWkt`
  static bool ExportPosPointShapefile(std::wstring path, std::vector<tagKVPosEvent> events, std::wstring projectionWkt,
                                      std::wstring& error);

  // ---- Coordinate systems --------------------------------------------------------------------------------------

  /// Transforms positions from WGS 84 to a target coordinate system, as `ScanKVPosFile` does: fills `X`, `Y` and `Z` of
  /// samples that have a latitude, longitude and height. The order of the samples does not matter, so threads can share
  /// a long list, each with its own samples.
  /// @param targetWkt    as for `ScanKVPosFile`
  /// @param transformed  receives the number of samples transformed, from the first on; the others are untouched
  /// @return true; false when the system cannot be used or a position cannot be transformed, with the
  ///         sentences of `ScanKVPosFile`, or "Unexpected error transforming POS events." after an exception
  static bool TransformPosEvents(std::vector<tagKVPosEvent>& samples, std::wstring targetWkt, std::size_t& transformed,
                                 std::wstring& error);

  /// Describes a coordinate system and gives its WKT in the form for `ScanKVPosFile`.
  /// @param definition  WKT1, WKT2 or ESRI's dialect; or codes of a registry, horizontal first: "EPSG:32633",
  ///                    "EPSG:32633+5773"
  /// @return an empty record and a sentence in `error` when the definition is not a coordinate system or has no
  ///         horizontal part, and when the geodetic data are missing
  static tagKVCoordinateSystem DescribeCoordinateSystem(std::wstring definition, std::wstring& error);

  /// The geodetic data that `ScanKVPosFile` would use on this machine now.
  /// @see docs/geodetic-data.md
  static tagKVGeodeticData DescribeGeodeticData(std::wstring& error);
};
