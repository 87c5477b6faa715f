#include "mission/inputs/PostProcessed.h"

#include <cmath>
#include <utility>

namespace kv::mission {
namespace {

constexpr double kWeek = 604'800;  // seconds; missions are shorter

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
std::size_t TakeOutOutliers(std::vector<Sample>& samples, Job& job) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (IsOutlier(samples, kept, i)) continue;
    if (kept != i) samples[kept] = std::move(samples[i]);
    ++kept;
  }
  const std::size_t count = samples.size() - kept;
  samples.resize(kept);
  if (count > 0) job.Add(Found::SamplesOutOfOrder, {{"count", Count(count)}});
  return count;
}

}  // namespace

std::size_t LeaveOutOutliers(std::vector<tagKVPosEvent>& samples, Job& job) { return TakeOutOutliers(samples, job); }

std::vector<tagKVTrajectoryObs> FixesOf(const std::vector<tagKVPosEvent>& samples, Job& job) {
  std::vector<tagKVTrajectoryObs> fixes;
  fixes.reserve(samples.size());
  for (const auto& sample : samples) {
    if (!HasTime(sample)) continue;
    tagKVTrajectoryObs& fix = fixes.emplace_back();
    fix.TimeUTC = sample.TimeUTC, fix.SystemTimeUTC = sample.SystemTimeUTC;
    fix.AdjGpsSec = sample.AdjGpsSec;
    fix.Latitude = sample.Latitude, fix.Longitude = sample.Longitude;
    fix.Altitude = sample.Height;
  }
  const std::size_t untimed = samples.size() - fixes.size();
  if (untimed > 0) job.Add(Found::SamplesWithoutTime, {{"count", Count(untimed)}});
  TakeOutOutliers(fixes, job);
  return fixes;
}

}  // namespace kv::mission
