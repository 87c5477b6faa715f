#include "mission/inputs/PostProcessed.h"

#include <cmath>
#include <utility>

namespace kv::mission {
namespace {

constexpr double kWeek = 604'800;  // seconds; no mission is as long

/// @param kept  samples before this one that stay, at the beginning
template <typename Sample>
bool IsOutlier(const std::vector<Sample>& samples, std::size_t kept, std::size_t i) {
  const auto timeOf = [&](std::size_t at) { return samples[at].AdjGpsSec; };
  const double time = timeOf(i);
  if (i + 1 == samples.size()) return kept > 1 && std::abs(time - timeOf(kept - 1)) > kWeek;
  const double next = timeOf(i + 1);
  if (kept > 0) return timeOf(kept - 1) <= next && (time < timeOf(kept - 1) || time > next);
  return i + 2 < samples.size() && next <= timeOf(i + 2) && (time > next || next - time > kWeek);
}

template <typename Sample>
std::size_t TakeOutOutliers(std::vector<Sample>& samples, Log& log) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (IsOutlier(samples, kept, i)) continue;
    if (kept != i) samples[kept] = std::move(samples[i]);
    ++kept;
  }
  const std::size_t count = samples.size() - kept;
  samples.resize(kept);
  if (count > 0)
    log.Warn("post-processed trajectory: {} out of the order of time: left out", Counted(count, "single sample"));
  return count;
}

}  // namespace

std::size_t LeaveOutOutliers(std::vector<tagKVPosEvent>& samples, Log& log) { return TakeOutOutliers(samples, log); }

std::vector<tagKVTrajectoryObs> ObservationsOf(const std::vector<tagKVPosEvent>& samples, Log& log) {
  std::vector<tagKVTrajectoryObs> observations;
  observations.reserve(samples.size());
  for (const auto& sample : samples) {
    if (!HasTime(sample)) continue;
    tagKVTrajectoryObs& observation = observations.emplace_back();
    observation.TimeUTC = sample.TimeUTC, observation.SystemTimeUTC = sample.SystemTimeUTC;
    observation.AdjGpsSec = sample.AdjGpsSec;
    observation.Latitude = sample.Latitude, observation.Longitude = sample.Longitude;
    observation.Altitude = sample.Height;
  }
  const std::size_t untimed = samples.size() - observations.size();
  if (untimed > 0) log.Warn("post-processed trajectory: {} without a valid time: left out", Counted(untimed, "sample"));
  TakeOutOutliers(observations, log);
  return observations;
}

}  // namespace kv::mission
