#pragma once

#include <optional>

#include "base/Job.h"
#include "mission/inputs/Trajectory.h"

/// Trajectories of every kind of file.
namespace kv::mission {

/// Reads a receiver log or a post-processed trajectory, recognised by its content, and reports what a surveyor should
/// look at.
/// @throws Failure when it holds no fix, or its date is not known; when it cannot be read; (Stopped)
Trajectory ReadAnyTrajectory(const std::filesystem::path& path, const DateSources& dates, double maxGapSeconds,
                             Job& job);

/// Reads the settings' one or two trajectories. Of two the better one is given: that which is post-processed, else that
/// with more fixed solutions; a GPX track comes last. The other is compared with it.
Trajectory ReadTrajectories(const Settings& settings, const DateSources& dates,
                            std::optional<TrajectoryComparison>& comparison, Job& job);

/// Compares two trajectories at the times of the second one. Distances that receivers do not explain are a doubt, with
/// the likely cause.
TrajectoryComparison CompareTrajectories(const Trajectory& used, const Trajectory& other, Job& job);

}  // namespace kv::mission
