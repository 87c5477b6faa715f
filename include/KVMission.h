#pragma once
/// @file
/// The careful engine: a whole mission, from files of unknown quality to results that can be trusted.
///
/// `RunMission` reads, checks, places, pairs and grades; the `Mission` that it gives holds every record it read or made
/// and every finding it has to tell. Writers and renderers take that as constant. Several threads may run different
/// missions at once; nothing is set for the whole process but what `KVUtilities` documents. Times are UTC, angles
/// decimal degrees, lengths metres, unless a name says otherwise; texts are UTF-8.

#include "KVRecords.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <ratio>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#if defined(_WIN32) && defined(KVMISSION_BUILD)
#define KVMISSION_API __declspec(dllexport)
#elif defined(_WIN32)
#define KVMISSION_API __declspec(dllimport)
#else
#define KVMISSION_API __attribute__((visibility("default")))
#endif

namespace KVMission {

/// UTC in units of 100 ns, as in a file time.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
using Instant = std::chrono::time_point<std::chrono::system_clock, Ticks>;
using Date = std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<std::int64_t, std::ratio<86400>>>;

/// Earliest and latest of the instants added.
struct TimeSpan {
  std::optional<Instant> first, last;

  void Add(Instant time) {
    if (!first || time < *first) first = time;
    if (!last || time > *last) last = time;
  }
};

/// Extent in degrees and metres; empty until something is added.
struct Bounds {
  static constexpr double kNone = std::numeric_limits<double>::infinity();
  double west = kNone, south = kNone, lowest = kNone;
  double east = -kNone, north = -kNone, highest = -kNone;

  void Add(double latitude, double longitude, double height) {
    Add(Bounds{longitude, latitude, height, longitude, latitude, height});
  }
  void Add(const Bounds& other) {
    west = other.west < west ? other.west : west, east = other.east > east ? other.east : east;
    south = other.south < south ? other.south : south, north = other.north > north ? other.north : north;
    lowest = other.lowest < lowest ? other.lowest : lowest, highest = other.highest > highest ? other.highest : highest;
  }
  bool IsEmpty() const { return west > east; }
};

/// Numbers of lines in a file, from 1.
using LineNumbers = std::vector<std::size_t>;

/// A median and a largest value, if there are any values.
struct Spread {
  double median = 0, largest = 0;
};

enum class Severity {
  Note,     ///< what was done
  Warning,  ///< something was left out, cut or unusual
  Doubt,    ///< results may be wrong
  Failure,  ///< something could not be done
};

/// What a finding is about; parts that do not apply are empty.
struct Subject {
  std::filesystem::path file = {};
  std::size_t line = 0;    ///< from 1; 0 for none
  int camera = 0;          ///< 1 or 2; 0 for none
  std::string photo = {};  ///< name
};

using Value = std::variant<std::int64_t, double, Instant, std::string>;

/// A message of an operation.
struct Finding {
  std::string code;  ///< "trajectory-gap"; never changes its meaning
  Severity severity = Severity::Note;
  Subject subject;
  std::vector<std::pair<std::string, Value>> values;
  std::string text;  ///< one sentence, made from code and values
};

/// Progress of an operation.
struct Progress {
  const char* what;         ///< "reading the trajectory"
  const char* unit;         ///< what is counted, in the plural: "lines"
  std::uint64_t count = 0;  ///< units done
  std::uint64_t done = 0;   ///< share of `total` that is done, in the same unit as it
  std::uint64_t total = 0;  ///< 0 when it is not known
};

/// Follows an operation. Its functions are called in the thread that called the operation.
class Observer {
 public:
  virtual ~Observer() = default;
  virtual void OnFinding(const Finding&) {}
  virtual void OnProgress(const Progress&) {}
  virtual bool ShouldStop() { return false; }  ///< true ends the operation with a `Failure` of `Stopped`
};

/// What ends an operation early.
class KVMISSION_API Failure : public std::runtime_error {
 public:
  enum class Reason {
    Failed,
    WrongUsage,  ///< settings that are invalid or do not go together
    Stopped,     ///< by the observer
  };
  explicit Failure(const std::string& sentence, Reason reason = Reason::Failed)
      : std::runtime_error(sentence), reason_(reason) {}
  Reason Why() const { return reason_; }

 private:
  Reason reason_;
};

enum class PairBy { Auto, Time, Order };

/// Source of the places of a drone's photos.
enum class PositionSource { Timestamps, PostProcessed };

/// What is added to the times of a camera's photos.
struct ClockOffset {
  double seconds = 0;
  bool find = false;  ///< from the times of photos and events; `seconds` has no effect then

  bool operator==(const ClockOffset& other) const { return seconds == other.seconds && find == other.find; }
  bool operator!=(const ClockOffset& other) const { return !(*this == other); }
};

/// Vector from the antenna, or whatever point a trajectory follows, to a camera, along the axes of the sensor; metres.
struct LeverArm {
  double forward = 0, right = 0, down = 0;

  bool operator==(const LeverArm& other) const {
    return forward == other.forward && right == other.right && down == other.down;
  }
  bool operator!=(const LeverArm& other) const { return !(*this == other); }
};

/// Settings of a run. An input with an empty path is looked for in the mission folder.
struct Settings {
  std::filesystem::path mission;          ///< folder; empty when all inputs are named
  std::filesystem::path output;           ///< folder for layers and summary.json; empty to write nothing
  std::filesystem::path trajectory;       ///< receiver log or post-processed trajectory
  std::filesystem::path otherTrajectory;  ///< the other one of these, to be compared
  std::filesystem::path events;           ///< system event file
  std::filesystem::path housekeeping;     ///< housekeeping log
  std::filesystem::path camera1;          ///< folder of photos
  std::filesystem::path camera2;          ///< folder of photos
  std::filesystem::path pos;              ///< POS file
  std::string target;                     ///< coordinate system of its layer: a file, WKT or codes
  std::filesystem::path timestamps;       ///< timestamp file of a drone
  std::filesystem::path photos;           ///< folder of the drone's photos; empty for that of the timestamp file
  std::filesystem::path orientation;      ///< orientation file
  std::filesystem::path applanix;         ///< Applanix export
  PositionSource position = PositionSource::Timestamps;
  bool timestampOffsets = false;  ///< moves the places of the timestamp file by its antenna-to-camera offsets
  std::optional<Date> date;       ///< of the first fix; nothing to take it from the files
  PairBy pair = PairBy::Auto;
  ClockOffset camera1Offset;            ///< checked against the times of photos and events
  ClockOffset camera2Offset;            ///< likewise
  double eventOffsetSeconds = 0;        ///< added to the times of the event file
  double camera1DelayMilliseconds = 0;  ///< from a camera event to its exposure
  double camera2DelayMilliseconds = 0;  ///< likewise
  LeverArm camera1LeverArm;             ///< zeros: the camera is where the trajectory is
  LeverArm camera2LeverArm;             ///< likewise
  bool headingFromTrack = false;   ///< for exposures without another attitude; roll and pitch are then taken to be 0
  double maxGapSeconds = 2;        ///< longest pause between fixes that is not a gap
  double toleranceSeconds = 0.05;  ///< exposures of the two cameras nearer than this form a station
  double blurFactor = 0.25;        ///< share of a camera's median sharpness below which a photo is named
  bool grade = true;               ///< the photos, by sharpness
  unsigned jobs = 0;               ///< threads; 0 for as many as there are processors
  bool overwrite = false;          ///< replaces the results of an earlier run
  bool acceptDoubt = false;        ///< makes the photo layer although results are in doubt
};

/// A setting as text: on a command line, in a mission.toml.
struct SettingKey {
  enum class Type { Path, Text, CalendarDate, Number, NumberOrAuto, Count, Choice, Flag };

  const char* name;         ///< "max-gap"
  const char* placeholder;  ///< "SECONDS"; empty for a flag
  std::string help;
  Type type;
  bool inMissionFile;   ///< mission.toml may have it
  bool isList = false;  ///< may be given twice; mission.toml may have an array
};
KVMISSION_API const std::vector<SettingKey>& SettingKeys();

/// Stores a setting given as text. A flag takes "true" or "false".
/// @throws Failure (WrongUsage) "KEY must be ..."
KVMISSION_API void Set(Settings& settings, const std::string& key, const std::string& text);

/// The settings of a mission folder: the defaults, changed by its mission.toml if it has one.
/// @throws Failure when there is no such folder; (WrongUsage) with the line when the file is not valid
KVMISSION_API Settings SettingsOf(const std::filesystem::path& mission);

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

struct Photo {
  std::wstring name;
  std::optional<Instant> time;  ///< as its name or EXIF data tell
};

/// The photos of one camera.
struct PhotoFolder {
  std::filesystem::path path;  ///< absolute
  std::vector<Photo> photos;   ///< ordered by name
  std::size_t listed = 0;      ///< those that pairing by order sees: the extension is exactly ".jpg"
  std::size_t strays = 0;      ///< hidden files that pairing by order would take for photos
  std::size_t timed = 0;
  std::size_t unreadable = 0;  ///< and so without a time

  std::size_t Untimed() const { return photos.size() - timed - unreadable; }  ///< read, but without a time
};

enum class PairMode { Time, Order, Number };

/// What the times of a camera's photos and events tell about its clock.
enum class ClockState {
  Unchecked,  ///< too few times
  Certain,
  PartlyCertain,  ///< for some stretches of photos
  Ambiguous,      ///< several offsets fit about as well
  NoMatch,        ///< the photos fit none of the events
};

/// Photos in a row that were stamped by the clock as it was set once.
struct ClockStretch {
  std::wstring firstPhoto, lastPhoto;
  double offsetSeconds = 0;  ///< to be added to the photos' times, in the middle of the events
  double sigmaSeconds = 0;   ///< one sigma of the offset
  double driftPpm = 0;       ///< by which the clock is fast
};

struct ClockCheck {
  ClockState state = ClockState::Unchecked;
  std::vector<ClockStretch> stretches;  ///< certain ones, in the order of the photos
  std::vector<double> candidates;       ///< offsets that fit about as well, seconds
  std::size_t moved = 0;                ///< photos that the offset in use pairs otherwise than the certain clock
};

/// How the photos of one camera found their exposures.
struct Pairing {
  struct Uncertain {
    std::wstring photo;
    double probability;  ///< that the pair is right
  };

  PairMode mode = PairMode::Time;
  std::size_t paired = 0;             ///< exposures with a photo
  std::vector<std::wstring> unused;   ///< photos without an exposure
  std::vector<std::wstring> shared;   ///< photos that serve two exposures or more
  std::vector<Uncertain> uncertain;   ///< pairs by time that are not certain
  std::optional<Spread> differences;  ///< magnitude of photo time, with the offset, minus exposure time; seconds
};

/// The sharpness of one camera's photos.
struct SharpnessSummary {
  struct Distribution {
    double lowest, lowerQuartile, median, upperQuartile, highest;
  };
  struct Blurred {
    std::wstring photo;
    double sharpness;
  };
  struct Ungraded {
    std::wstring photo;
    std::string reason;
  };

  std::size_t graded = 0;
  std::optional<Distribution> distribution;  ///< of the photos graded
  double blurFactor = 0;                     ///< of the median
  std::vector<Blurred> blurred;              ///< photos below that, by name
  std::vector<Ungraded> ungraded;            ///< photos that could not be graded, by name
};

struct Camera {
  int number = 0;                                 ///< 1 or 2
  std::size_t read = 0, placed = 0, dropped = 0;  ///< exposures
  std::optional<PhotoFolder> folder;
  ClockOffset offset;               ///< in use
  std::optional<ClockCheck> clock;  ///< when both photos and events have times
  Pairing pairing;
  std::optional<SharpnessSummary> sharpness;  ///< when the photos were graded
};

/// Why an exposure is not in the photo layer.
enum class DropCode {
  FewHeartbeats,      ///< fewer than two
  TickLengthUnknown,  ///< the first and the last heartbeat do not tell it
  BeforeHeartbeats,   ///< the heartbeats do not reach its tick
  WrongHeartbeats,    ///< those next to it are wrong
  NoPlaceInFile,      ///< the timestamp file has none
  InsideGap,          ///< of `seconds`
  AcrossMeridian,     ///< between two fixes across the 180th
  AcrossJump,         ///< between two fixes that are impossibly far apart
  BeforeFirstFix,
  AfterLastFix,
  OffTrajectory,
  NoAttitude,  ///< to turn the lever arm of its camera
  NoPhoto,
  NoPhotoFolder,  ///< for its camera
};
struct Drop {
  DropCode code;
  double seconds = 0;  ///< length of the gap
};

/// A camera event.
struct Exposure {
  tagKVSystemEvent event;                   ///< with place, photo and sharpness; `MasterTick` as it stands in the file
  std::optional<Instant> time;              ///< with the shutter delay
  std::optional<std::int32_t> photoNumber;  ///< of a drone
  std::optional<double> photoDifferenceSeconds;  ///< photo time, with the offset, minus that of the event
  std::optional<double> photoProbability;        ///< that a pair by time is right
  FixQuality quality;                            ///< of its place; between two fixes the larger deviations
  std::optional<Attitude> attitude;              ///< of an exposure with a place
  AttitudeQuality attitudeQuality = AttitudeQuality::None;
  std::optional<Drop> drop;  ///< why it is not in the photo layer
};

/// Exposures of the two cameras that belong together.
struct Stations {
  double toleranceSeconds = 0;
  std::size_t paired = 0, single = 0;
  std::size_t sameCamera = 0;         ///< among those paired
  std::optional<Spread> differences;  ///< of time inside a pair, seconds
  std::vector<tagKVExposureStation> stations;
};

/// Distances between two sets of places of the same exposures.
struct PositionDifferences {
  PositionSource used = PositionSource::Timestamps;  ///< what the photo layer has
  std::size_t compared = 0;
  std::size_t outside = 0;  ///< without a place in the second set
  std::optional<Spread> horizontalMetres, verticalMetres;
};

/// Standard deviations of places, metres.
struct AccuracyRange {
  std::size_t known = 0;  ///< places that have one
  double least = 0, largest = 0;
};

/// How good the places of the photo layer are, as their sources say.
struct PlaceQuality {
  std::array<std::size_t, kPositionQualities> photos{};  ///< by `PositionQuality`
  AccuracyRange horizontal, vertical;
  std::string attitudeSource;                               ///< "SBET file", "orientation file"; empty for none
  std::array<std::size_t, kAttitudeQualities> attitudes{};  ///< photos by `AttitudeQuality`
};

/// What a run read, made and left out. Absent inputs have no value.
struct Mission {
  Settings settings;  ///< with the inputs that were found; `output` is absolute
  std::optional<Trajectory> trajectory;
  std::optional<TrajectoryComparison> trajectoryComparison;  ///< with a second trajectory
  std::optional<EventFile> events;          ///< its `events` are heartbeats alone: camera events are `exposures`
  std::optional<TimestampFile> timestamps;  ///< its `events` are empty: they are `exposures`
  std::vector<Camera> cameras;              ///< those with exposures or photos
  std::vector<Exposure> exposures;          ///< in file order
  std::optional<Stations> stations;
  std::optional<HousekeepingLog> housekeeping;
  std::optional<OrientationFile> orientation;
  std::optional<ApplanixExport> applanix;
  std::optional<PositionDifferences> positions;  ///< of a drone's exposures
  std::optional<PosPoints> pos;
  TimeSpan photoSpan;         ///< of the exposures in the photo layer
  Bounds photoBounds;         ///< of the exposures in the photo layer
  PlaceQuality placeQuality;  ///< of the exposures in the photo layer
  std::vector<Finding> findings;
  /// Nothing was dropped, unmatched, ungraded or without a reliable time, and no line was left out except for short or
  /// undated ones of the housekeeping log and of the receiver log. docs/kvmission/checks.md has each condition.
  bool complete = false;
  /// A finding is a doubt or a failure, so results may be wrong. The photo layer is then made only when the settings
  /// accept that.
  bool doubtful = false;

  bool HasPhotoLayer() const { return (events || timestamps) && (!doubtful || settings.acceptDoubt); }
};

/// A layer that was, or would be, written.
struct Layer {
  const char* name;
  std::size_t records;
};

/// Turns the inputs of a mission into records, and, where `settings.output` names a folder, into layers and
/// summary.json there.
/// @throws Failure when that cannot be done; the output folder then holds what it held before
KVMISSION_API Mission RunMission(const Settings& settings, Observer& observer);

/// The layers that a mission gives.
KVMISSION_API std::vector<Layer> LayersOf(const Mission& mission);

/// Writes the layers of a mission, and its summary.json, into a folder, which is made when it is not there. They get
/// their names once all are whole.
/// @param overwrite  replaces results that are there
/// @throws Failure when that cannot be done; the folder then holds what it held before
KVMISSION_API void WriteLayers(const Mission& mission, const std::filesystem::path& folder, bool overwrite,
                               Observer& observer);

/// A summary for people: lists are cut short, with a count.
KVMISSION_API std::string SummaryText(const Mission& mission);
/// A summary for programs, as in summary.json.
/// @param folder  of the layers; empty for `settings.output`
KVMISSION_API std::string SummaryJson(const Mission& mission, const std::filesystem::path& folder = {});

/// The sentence of a drop: "no place: inside a gap of 12.0 s".
KVMISSION_API std::string TextOf(const Drop& drop);

struct TrajectoryOptions {
  std::optional<Date> date;  ///< of the first fix; nothing to take it from the dated sentences of the log
  double maxGapSeconds = Settings().maxGapSeconds;
};
/// Reads a receiver log: position sentences that are whole and valid become fixes, everything else is counted.
/// @throws Failure without a usable fix, or when nothing tells the date; when the file cannot be read
KVMISSION_API Trajectory ReadTrajectory(const std::filesystem::path& path, const TrajectoryOptions& options,
                                        Observer& observer);

/// What a file is and holds.
struct FileDescription {
  std::filesystem::path file;
  std::string kind;  ///< "trajectory log (NMEA)"; "unknown"
  std::optional<std::uint64_t> bytes;
  std::variant<std::monostate, Trajectory, EventFile, HousekeepingLog, PosFile, TimestampFile, OrientationFile,
               ApplanixExport, SbetFile, GpxFile, PhotoFile, ShapefileHeader>
      content;
  double maxGapSeconds = 0;  ///< also between heartbeats
  std::vector<Finding> findings;
};
/// Recognises a file by its content and describes it.
/// @throws Failure when the file cannot be read, or is not a regular file
KVMISSION_API FileDescription DescribeFile(const std::filesystem::path& path, double maxGapSeconds, Observer& observer);
KVMISSION_API std::string DescriptionText(const FileDescription& description);  ///< long lists are cut short
KVMISSION_API std::string DescriptionJson(const std::vector<FileDescription>& descriptions);

/// The geodetic data in use, for people and as JSON. @throws Failure
KVMISSION_API std::string GeodeticDataText();
KVMISSION_API std::string GeodeticDataJson();

struct TransformSettings {
  std::filesystem::path pos;
  std::string target;            ///< coordinate system: a file, WKT or codes
  std::filesystem::path output;  ///< ends in .shp, .csv or .xyz; empty to give the CSV to `write`
  unsigned jobs = 0;             ///< threads; 0 for as many as there are processors
  bool overwrite = false;
};
/// Transforms a POS file to a coordinate system, into a file or layer that gets its name once it is whole.
/// @param write  takes the text of the table, piece by piece, when there is no output
/// @return       without samples
/// @throws Failure when no sample can be transformed; when a file cannot be read or written
KVMISSION_API PosPoints TransformPos(const TransformSettings& settings,
                                     const std::function<void(const std::string&)>& write, Observer& observer);
KVMISSION_API std::string PosText(const PosPoints& points);
KVMISSION_API std::string PosJson(const PosPoints& points);

/// What grading one photo gave.
struct Grade {
  double sharpness = 0;   ///< variance of the Laplacian; 0 after a failure
  std::string complaint;  ///< why it could not be graded; empty when it could
};
/// Grades photos, several at a time; the grades do not depend on how many.
/// @param jobs  photos at a time, 0 for as many as there are processors; each holds a decoded picture in memory
/// @return      a grade for each path, in the same order
KVMISSION_API std::vector<Grade> GradePhotos(const std::vector<std::filesystem::path>& photos, unsigned jobs,
                                             Observer& observer);

/// A table of paths and grades for programs; photos that could not be graded are left out of the CSV.
/// @param visible  control characters in paths are shown, for a terminal
KVMISSION_API std::string GradesCsv(const std::vector<std::filesystem::path>& photos, const std::vector<Grade>& grades,
                                    bool visible);
KVMISSION_API std::string GradesJson(const std::vector<std::filesystem::path>& photos,
                                     const std::vector<Grade>& grades);

/// The folder of one camera's photos in a mission: that of the mission.toml, else the one found by name.
/// @throws Failure when there is none, or several
KVMISSION_API std::filesystem::path FindCameraFolder(const std::filesystem::path& mission, int camera,
                                                     Observer& observer);

/// The names of a folder's JPEG photos in order; hidden files are not photos. @throws Failure
KVMISSION_API std::vector<std::filesystem::path> PhotosIn(const std::filesystem::path& folder);

/// Rotates a photo in place. Keeps its metadata, permissions and, where the system allows it, its owner. At every
/// moment the file is either the old photo or the rotated one, complete.
/// @param angleDegrees  positive turns counter-clockwise
/// @param backupFolder  receives the old photo first; empty for no backup
/// @throws Failure when the photo cannot be read, turned or replaced, or is damaged; when the backup holds another
///         photo of the name, which an earlier run then has turned already. The photo is then as it was.
KVMISSION_API void RotatePhoto(const std::filesystem::path& photo, double angleDegrees,
                               const std::filesystem::path& backupFolder);

/// A path as valid UTF-8; bytes that are not text become U+FFFD.
KVMISSION_API std::string Utf8(const std::filesystem::path& path);
/// Text with its control characters written like \u001b, so that a file name cannot control a terminal.
KVMISSION_API std::string Visible(const std::string& text);

KVMISSION_API const char* Version();

}  // namespace KVMission
