#pragma once
/// @file
/// What a run makes of the files.

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "KVMission/Files.h"
#include "KVMission/Findings.h"
#include "KVMission/Settings.h"
#include "KVMission/Values.h"
#include "KVRecords.h"

namespace KVMission {

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
  struct Complaint {
    std::wstring photo;
    std::string reason;
  };

  std::size_t graded = 0;
  std::optional<Distribution> distribution;  ///< of the photos graded
  double blurFactor = 0;                     ///< of the median
  std::vector<Blurred> blurred;              ///< photos below that, by name
  std::vector<Complaint> ungraded;           ///< photos that could not be graded, by name
  std::vector<Complaint> damaged;            ///< photos whose sharpness may be wrong, by name
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
  tagKVSystemEvent event;         ///< with place, photo and sharpness; `MasterTick` as it stands in the file
  std::optional<Instant> time{};  ///< with the shutter delay
  std::optional<std::int32_t> photoNumber{};       ///< of a drone
  std::optional<double> photoDifferenceSeconds{};  ///< photo time, with the offset, minus that of the event
  std::optional<double> photoProbability{};        ///< that a pair by time is right
  std::optional<double> sharpnessRank{};  ///< share of its camera's other graded photos that are less sharp; percent
  std::optional<bool> blurred{};          ///< far below its camera's median sharpness; nothing when not graded
  FixQuality quality{};                   ///< of its place; between two fixes the larger deviations
  std::optional<Attitude> attitude{};     ///< of an exposure with a place
  AttitudeQuality attitudeQuality = AttitudeQuality::None;
  std::optional<Drop> drop{};  ///< why it is not in the photo layer
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

/// A small picture of a photo.
struct Thumbnail {
  std::filesystem::path photo;
  std::string jpeg;  ///< upright, 256 pixels wide or high at most
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
  TimeSpan photoSpan;                 ///< of the exposures in the photo layer
  Bounds photoBounds;                 ///< of the exposures in the photo layer
  PlaceQuality placeQuality;          ///< of the exposures in the photo layer
  std::vector<Thumbnail> thumbnails;  ///< for the report: of blurred and dropped photos, and of others spread evenly
  std::vector<Finding> findings;
  /// Nothing was dropped, unmatched, ungraded, damaged or without a reliable time, and no line was left out except for short or
  /// undated ones of the housekeeping log and of the receiver log. docs/kvmission/checks.md has each condition.
  bool complete = false;
  /// A finding is a doubt or a failure, so results may be wrong. The photo layer is then made only when the settings
  /// accept that.
  bool doubtful = false;

  bool HasPhotoLayer() const { return (events || timestamps) && (!doubtful || settings.acceptDoubt); }
};

}  // namespace KVMission
