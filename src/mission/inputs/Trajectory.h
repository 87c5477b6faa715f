#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <limits>
#include <vector>

#include "base/Log.h"
#include "mission/inputs/MissionDate.h"
#include "mission/inputs/NmeaLog.h"

namespace kv::mission {

/// Extent in degrees and metres; empty until something is added.
struct Bounds {
  static constexpr double kNone = std::numeric_limits<double>::infinity();
  double west = kNone, south = kNone, lowest = kNone;
  double east = -kNone, north = -kNone, highest = -kNone;

  void Add(double latitude, double longitude, double altitude);
  void Add(const Bounds& other);
  bool IsEmpty() const { return west > east; }
};

/// What lies between two fixes.
struct Gap {
  Instant from, to;
  double latitude, longitude;  ///< where it begins
};

struct Trajectory {
  std::vector<tagKVTrajectoryObs> observations;
  NmeaCounts counts;
  MissionDate date{};
  Bounds bounds;
  std::vector<Gap> gaps;       ///< in file order
  std::vector<Gap> crossings;  ///< pairs of fixes on both sides of the 180th meridian, in file order
  std::size_t stepsBack = 0;
  Instant first, last;  ///< fix in file order
};

/// Reads the fixes of a receiver's log.
/// @param dates    may be without any date; the log's own sentence is added
/// @param scratch  folder for the copy of the fixes
/// @param maxGap   seconds between fixes from which on it is a gap
/// @throws Failure without a usable fix, or without a date; when a file cannot be read or written
Trajectory ReadTrajectory(const std::filesystem::path& path, DateSources dates, const std::filesystem::path& scratch,
                          double maxGap, Log& log);

/// The same from a checked copy, with the date settled.
/// @param path   of the log, for messages
/// @param fixes  of the copy, one at least
/// @throws Failure when it cannot be read
Trajectory ScanFixes(const std::filesystem::path& path, const std::filesystem::path& copy, const NmeaLog& fixes,
                     MissionDate date, double maxGap);

/// A trajectory of other origin, with its gaps; bounds, times and observations are all it has.
/// @param observations  one at least
Trajectory InspectedTrajectory(std::vector<tagKVTrajectoryObs>&& observations, double maxGap);

/// Words for warnings of a trajectory.
struct TrajectoryWords {
  const char* name;
  const char* fixes;
  const char* outOfOrder;  ///< what times that run back come from
  const char* crossing;    ///< of the 180th meridian
};
inline constexpr TrajectoryWords kReceiverWords{
    "trajectory", "fixes", "pieces out of order, or a gap of more than 12 hours over midnight",
    "the track crosses the 180th meridian: its line there runs around the globe"};
inline constexpr TrajectoryWords kPostProcessedWords{
    "post-processed trajectory", "post-processed trajectory", "its rows are out of order",
    "the post-processed trajectory crosses the 180th meridian: it has no places there"};

/// Says what of a trajectory a surveyor should look at.
void WarnOfTrajectory(const Trajectory& trajectory, const TrajectoryWords& words, Log& log);

}  // namespace kv::mission
