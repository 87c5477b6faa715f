#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "base/Job.h"

/// Receiver logs, read with care.
/// @see docs/formats/trajectory.md
namespace kv::mission {

/// Sources for the date of the first fix besides the receiver log's own sentences. The user comes first, then sentences
/// that stand among fixes, the heartbeat, and last a sentence from before the first fix.
struct DateSources {
  std::optional<Date> given;         ///< by the user
  std::optional<Instant> heartbeat;  ///< the first of the event file
  bool mustBeDated = true;           ///< else the file is only described
};

/// Reads the fixes of a receiver log.
/// @throws Failure without a usable fix or a date if it must have them; when the file cannot be read; (Stopped)
Trajectory ReadTrajectoryFile(const std::filesystem::path& path, const DateSources& dates, double maxGapSeconds,
                              Job& job);

/// Whether a receiver log has a usable fix. @throws Failure when it cannot be read; (Stopped)
bool HasFix(const std::filesystem::path& path, Job& job);

/// Makes a trajectory of fixes of another origin, with gaps, bounds and times.
/// @param fixes  at least one
Trajectory InspectedTrajectory(std::vector<tagKVTrajectoryObs>&& fixes, double maxGapSeconds);

/// Words for findings about a trajectory.
struct TrajectoryWords {
  const char* name;
  const char* outOfOrder;  ///< why times run back
  const char* crossing;    ///< what crossing the 180th meridian does
};
inline constexpr TrajectoryWords kReceiverWords{"trajectory",
                                                "pieces out of order, or a gap of more than 12 hours over midnight",
                                                "the line there runs around the globe"};
inline constexpr TrajectoryWords kPostProcessedWords{"post-processed trajectory", "rows out of order",
                                                     "it has no places there"};
inline constexpr TrajectoryWords kGpxWords{"trajectory", "segments that overlap, or points out of order",
                                           "the line there runs around the globe"};

/// Reports gaps, steps back in time and whatever else a surveyor should look at.
void TellOfTrajectory(const Trajectory& trajectory, const TrajectoryWords& words, Job& job);

/// Picks the date that puts the time of day closest to the instant: near 00:00:05, 23:59:50 belongs to the previous day.
Date DateNearest(Instant instant, std::chrono::duration<int, std::centi> timeOfDay);

}  // namespace kv::mission
