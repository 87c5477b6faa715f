#pragma once
/// @file
/// What the files of a mission hold.

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "KVMission/Values.h"
#include "KVRecords.h"

namespace KVMission {

/// What a line of a receiver log is.
enum class SentenceKind {
  Fix,
  NoFix,         ///< a position sentence of quality 0
  Incomplete,    ///< a position sentence with a missing or invalid field
  RepeatedTime,  ///< a fix with the time of the fix before: nothing can be interpolated between them
  BadChecksum,
  OtherSentence,
  NotASentence,
  Blank,
};
inline constexpr std::size_t kSentenceKinds = 8;

struct SentenceCounts {
  std::size_t lines = 0;
  std::array<std::size_t, kSentenceKinds> kinds{};
  std::map<std::string, std::size_t, std::less<>> others;   ///< other sentences by type
  std::map<int, std::size_t> qualities;                     ///< fixes by the receiver's quality figure
  std::map<std::string, std::size_t, std::less<>> lacking;  ///< incomplete ones by the first field they lack
  std::size_t truncatedTimes = 0;                           ///< fix times finer than a hundredth of a second
  std::size_t convertedHeights = 0;                         ///< fixes with a height in feet

  std::size_t Of(SentenceKind kind) const { return kinds[static_cast<std::size_t>(kind)]; }
};

/// What lies between two fixes.
struct Gap {
  Instant from, to;
  double latitude, longitude;  ///< where it begins
};

/// Quality of a position, in words that all its sources share.
enum class PositionQuality : std::uint8_t {
  None,  ///< the source does not say
  Single,
  Dgps,
  Float,
  Fixed,
  Estimated,  ///< dead reckoning
  Simulated,
  Mixed,  ///< between two fixes of different quality
};
inline constexpr std::size_t kPositionQualities = 8;

/// What a source says about a fix besides its place.
struct FixQuality {
  static constexpr float kUnknown = std::numeric_limits<float>::quiet_NaN();

  PositionQuality quality = PositionQuality::None;
  std::uint16_t satellites = 0;      ///< 0 when unknown
  float hdop = 0;                    ///< 0 when unknown
  float horizontalSigma = kUnknown;  ///< metres, one sigma along one axis: root of the mean square of north and east
  float verticalSigma = kUnknown;    ///< metres, one sigma
};

/// Orientation of the sensor; degrees.
struct Attitude {
  double roll = 0;     ///< right side down
  double pitch = 0;    ///< nose up
  double heading = 0;  ///< clockwise from true north
};

/// Source of an attitude.
enum class AttitudeQuality : std::uint8_t {
  None,           ///< the attitude is not known
  PostProcessed,  ///< SBET file or Applanix export
  Sensor,         ///< orientation file
  Track,          ///< heading from the direction of motion; roll and pitch unknown, taken to be 0
};
inline constexpr std::size_t kAttitudeQualities = 4;

struct Trajectory {
  std::filesystem::path file;
  const char* kind = "receiver log";  ///< or "POS file", "Applanix export", "SBET file", "GPX track"
  std::vector<tagKVTrajectoryObs> fixes;
  std::vector<FixQuality> qualities;  ///< of the fixes; empty when the source has none
  std::vector<Attitude> attitudes;    ///< at the fixes; empty when the source has none
  std::size_t heightsUnknown = 0;     ///< fixes whose heights may be above the geoid: the source does not say
  SentenceCounts counts;
  std::optional<Date> date;     ///< of the first fix; nothing when no source tells it, and times are times of day
  const char* dateSource = "";  ///< "option", "sentence", "heartbeat" or "file"
  Bounds bounds;
  std::size_t moved = 0;          ///< fixes put back into the order of time
  double largestMoveSeconds = 0;  ///< of these, how late the latest was
  std::vector<Gap> gaps;          ///< in file order
  std::vector<Gap> crossings;     ///< pairs of fixes on both sides of the 180th meridian, in file order
  std::vector<Gap> jumps;         ///< pairs of fixes farther apart than anything flies in their time, in file order
  std::size_t outlying = 0;       ///< fixes between two jumps
  std::size_t stepsBack = 0;      ///< of the time
  Instant first, last;            ///< fix in file order
};

/// Distances between two trajectories.
struct TrajectoryComparison {
  struct Distances {
    double median = 0, most = 0, largest = 0;  ///< metres; 95 % are within `most`
  };

  std::filesystem::path used;   ///< gives the places
  std::filesystem::path other;  ///< is compared with it
  std::size_t compared = 0;     ///< fixes of the other, at most some thousands spread over it
  std::optional<Distances> horizontal, vertical;
  std::optional<double> shiftSeconds;  ///< of the other's times that brings both nearest; nothing when it does not show
};

/// A system event file: what was read and left out.
struct EventFile {
  std::size_t lines = 0;
  LineNumbers skipped;           ///< neither blank nor an event
  LineNumbers faultyHeartbeats;  ///< without a valid date and time
  LineNumbers wildTicks;         ///< with a tick far from those before and after
  LineNumbers offHeartbeats;     ///< with another time than the other heartbeats give to their tick

  std::size_t wraps = 0;        ///< of the 32-bit tick counter
  bool heartbeatsAgree = true;  ///< they lie on one line of time over ticks
  bool tickLengthKnown = true;  ///< from the first and the last heartbeat; else no camera event has a time
  bool timesDoubtful = false;   ///< a finding says why
  std::size_t heartbeats = 0;   ///< among the events
  std::size_t heartbeatsPlaced = 0;
  TimeSpan span;                         ///< of the events that have a time
  std::vector<tagKVSystemEvent> events;  ///< in file order; ticks are continuous: each wrap adds 2^32
  /// Of the heartbeats, in file order: their times minus those of the line through the first and the last one, which
  /// gives the exposures their times; seconds. Empty when there is no such line.
  std::vector<double> residuals;

  std::size_t LinesLeftOut() const {
    return skipped.size() + faultyHeartbeats.size() + wildTicks.size() + offHeartbeats.size();
  }
};

/// An extreme reading of a sensor, in its own unit.
struct Extreme {
  double value = 0;
  std::optional<Instant> time;  ///< of the first entry with this value
};
struct ReadingRange {
  const char* key;    ///< "batteryVoltage"
  const char* words;  ///< "battery voltage"
  Extreme lowest, highest;
};

/// The readings of a housekeeping entry.
inline constexpr std::array<double tagKVLogEvent::*, 10> kHousekeepingReadings{
    &tagKVLogEvent::CCUTemp,    &tagKVLogEvent::BatBrdTemp, &tagKVLogEvent::BatTemp,    &tagKVLogEvent::BatVoltage,
    &tagKVLogEvent::BatCurrent, &tagKVLogEvent::BatPercent, &tagKVLogEvent::AOSBrdTemp, &tagKVLogEvent::AOSPitch,
    &tagKVLogEvent::AOSRoll,    &tagKVLogEvent::AOSHeading};
/// Those that an entry has: one bit for each.
using KnownReadings = std::uint16_t;

struct HousekeepingLog {
  std::size_t lines = 0;                   ///< up to `endedAtLine`
  std::size_t skipped = 0;                 ///< lines of fewer than three fields, blank ones apart
  std::size_t faultyDates = 0;             ///< entries without a valid date and time
  std::optional<std::size_t> endedAtLine;  ///< the line that is too long to be read, and ends the log
  std::vector<std::string> errors;         ///< error lines in the file
  std::vector<ReadingRange> readings;      ///< those that the file has
  std::size_t entries = 0, dropped = 0;    ///< read; without a place on the trajectory
  TimeSpan span;                           ///< of the entries that have a time
  std::vector<tagKVLogEvent> events;       ///< entries; in a `Mission` those with a place
  std::vector<KnownReadings> known;        ///< of the events
  std::vector<std::string> errorTexts;     ///< of the events: what an error entry says; empty for others
};

struct OrientationFile {
  bool byMasterClock = false;  ///< readings are stamped by the master clock, else by date
  std::size_t lines = 0;
  LineNumbers skipped;                  ///< neither blank, a reading nor a heartbeat
  LineNumbers faultyHeartbeats;         ///< without a valid date and time
  LineNumbers wildTicks;                ///< readings and heartbeats with a tick far from those beside them
  LineNumbers offHeartbeats;            ///< away from the line of time over ticks that the others form
  std::size_t heartbeats = 0;           ///< that are not left out
  std::size_t untimed = 0;              ///< readings
  TimeSpan span;                        ///< of the readings with a time
  std::vector<ReadingRange> ranges;     ///< board temperature, pitch and roll
  std::vector<tagKVAosEvent> readings;  ///< in file order; a zero `TimeUTC` when the time is not known

  std::size_t LinesLeftOut() const {
    return skipped.size() + faultyHeartbeats.size() + wildTicks.size() + offHeartbeats.size();
  }
};

/// Vector from a drone's antenna to its camera, metres.
struct AntennaOffset {
  double north = 0, east = 0, down = 0;
};

/// A drone's timestamp file.
struct TimestampFile {
  std::size_t lines = 0;
  LineNumbers skipped;                     ///< neither blank nor an exposure
  std::vector<tagKVSystemEvent> events;    ///< one for each exposure
  std::vector<std::int32_t> photoNumbers;  ///< of the events
  std::vector<FixQuality> qualities;       ///< of the events
  std::vector<AntennaOffset> offsets;      ///< of the events; zeros where the line has none
  TimeSpan span;
  Bounds bounds;
};

struct ApplanixExport {
  std::vector<tagKVPosEvent> samples;
  std::size_t unreadable = 0;  ///< rows with too few columns or something else where a number should be
  std::size_t outOfRange = 0;  ///< rows without a time or a place on the Earth
  std::size_t outOfOrder = 0;  ///< single rows out of the order of time
  bool isDated = true;         ///< by its header
  std::string frame;           ///< "WGS84, TM": datum and projection of the mapping frame; empty when unknown
  TimeSpan span;
  Bounds bounds;

  /// Whether there are rows and none was left out.
  bool IsComplete() const { return !samples.empty() && unreadable + outOfRange + outOfOrder == 0; }
};

/// An SBET file.
struct SbetFile {
  std::size_t records = 0;
  std::size_t outOfRange = 0;                ///< records without a time or place on the Earth
  const char* timeScale = "";                ///< "seconds of week", "GPS seconds" or "adjusted GPS seconds"
  double firstSeconds = 0, lastSeconds = 0;  ///< as in the file
  TimeSpan span;                             ///< empty when the week is not known
  Bounds bounds;
};

/// The tracks of a GPX file.
struct GpxFile {
  std::size_t tracks = 0, segments = 0, points = 0;
  std::size_t others = 0;        ///< waypoints and points of routes
  std::size_t withoutPlace = 0;  ///< points left out: without a latitude, longitude or elevation that exists
  std::size_t withoutTime = 0;   ///< points left out
  std::size_t withoutFix = 0;    ///< points left out: marked as without a fix, or as one in two dimensions
  std::size_t geoidHeights = 0;  ///< points used with the geoid's height
  TimeSpan span;
  Bounds bounds;          ///< of the points used; heights as they stand in the file
  std::string complaint;  ///< why no point can be used; empty when some can

  std::size_t Used() const { return points - withoutPlace - withoutTime - withoutFix; }
};

/// What a line of a POS file is.
enum class PosLineKind {
  Sample,
  Baseline,    ///< from a reference position that the header does not give
  OutOfRange,  ///< numbers, but not a time or place that exists
  NotANumber,
  Short,    ///< fewer columns than the header names, or than 15
  Comment,  ///< the first word is not a number: comments and headers
  Blank,
};
inline constexpr std::size_t kPosLineKinds = 7;

struct PosCounts {
  std::size_t lines = 0;
  std::array<std::size_t, kPosLineKinds> kinds{};
  std::array<std::size_t, kPosLineKinds> firstLines{};  ///< number of the first line of each kind

  std::size_t Of(PosLineKind kind) const { return kinds[static_cast<std::size_t>(kind)]; }
  /// Lines left out although they are neither comments nor blank.
  std::size_t Dropped() const {
    return lines - Of(PosLineKind::Sample) - Of(PosLineKind::Comment) - Of(PosLineKind::Blank);
  }
};

/// A POS file before anything is transformed.
struct PosFile {
  PosCounts counts;
  std::vector<std::string> forms;  ///< of the samples: "week and seconds (GPS time), degrees, ellipsoidal heights"
  std::string datum;               ///< that the header names; empty when it names none
  bool heightsAboveGeoid = false;  ///< of some samples
  std::size_t scaleAssumed = 0;    ///< samples with a date and time of day whose time system the header does not name
  std::optional<std::int32_t> firstWeek, lastWeek;  ///< of GPS; least and greatest
  TimeSpan span;
  Bounds bounds;                                            ///< of the samples; heights as they stand in the file
  std::map<int, std::size_t> qualities;                     ///< samples by the file's quality figure
  std::optional<std::pair<float, float>> horizontalSigmas;  ///< least and greatest, metres
  std::string complaint;                                    ///< why there are no samples; empty when there are
};

/// A POS file in a target coordinate system.
struct PosPoints {
  std::filesystem::path file;
  PosCounts counts;
  std::string system;                      ///< name of the target
  std::string wkt;                         ///< definition of the target
  std::string projection;                  ///< content of a .prj
  bool isGeographic = false;               ///< degrees
  std::string heights;                     ///< what they are above, in words
  std::string geoidGrid;                   ///< empty when none is used
  std::size_t points = 0;                  ///< transformed
  std::optional<std::size_t> endedAtLine;  ///< that of the sample that could not be transformed
  TimeSpan span;
  Bounds bounds;                       ///< in the target's coordinates
  std::vector<tagKVPosEvent> samples;  ///< with the easting, or longitude, in `X`; empty when they went elsewhere

  std::size_t Lost() const { return counts.Of(PosLineKind::Sample) - points; }  ///< samples not transformed
  bool IsComplete() const { return counts.Dropped() == 0 && !endedAtLine; }
};

/// Size and times of a JPEG file.
struct PhotoFile {
  int width = 0, height = 0;  ///< pixels; 0 when the file ends before it says so
  std::optional<Instant> timeInName, timeInExif;
  bool timeZoneKnown = false;  ///< of the time in EXIF; else the camera's clock is taken for UTC
};

/// The header of a .shp file, and the number of records from the .shx beside it.
struct ShapefileHeader {
  std::int32_t type = 0;
  std::optional<std::uint64_t> records;  ///< nothing without a .shx
  Bounds bounds;
};

}  // namespace KVMission
