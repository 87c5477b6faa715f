#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "base/Job.h"

/// Trajectories from post-processing, be they POS files or Applanix exports: which of their samples may be believed.
namespace kv::mission {

/// A fix as a file has it.
struct RawFix : tagKVTrajectoryObs {
  FixQuality quality;
  Attitude attitude;
};

/// Makes a trajectory of fixes: leaves out those without a time and single ones out of the order of time, with findings;
/// finds gaps, bounds and times.
/// @throws Failure when none is left
Trajectory TrajectoryOf(const std::filesystem::path& file, std::vector<RawFix>&& fixes, bool hasAttitudes,
                        double maxGapSeconds, Job& job);

/// Whether a sample is of the time since GPS began; others are of garbled weeks and seconds.
template <typename Sample>
bool HasTime(const Sample& sample) {
  constexpr double kGpsEpoch = -1e9;  // in adjusted seconds
  return sample.AdjGpsSec >= kGpsEpoch;
}

/// Takes out single samples whose time is out of order while those beside them are in order, as one garbled digit makes
/// it, and a last one more than a week away from that before; tells of them.
/// @return how many
std::size_t LeaveOutOutliers(std::vector<tagKVPosEvent>& samples, Job& job);

/// The samples as what events are placed on. Those without a time are left out, and the same outliers, with findings.
std::vector<tagKVTrajectoryObs> FixesOf(const std::vector<tagKVPosEvent>& samples, Job& job);

}  // namespace kv::mission
