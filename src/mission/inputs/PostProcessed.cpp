#include "mission/inputs/PostProcessed.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "mission/inputs/Trajectory.h"
#include "platform/FileNames.h"

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

void TellOfUntimed(std::size_t count, Job& job) {
  if (count > 0) job.Add(Found::SamplesWithoutTime, {{"count", Count(count)}});
}

}  // namespace

Trajectory TrajectoryOf(const std::filesystem::path& file, std::vector<RawFix>&& fixes, bool hasAttitudes,
                        double maxGapSeconds, Job& job) {
  TellOfUntimed(std::erase_if(fixes, [](const RawFix& fix) { return !HasTime(fix); }), job);
  TakeOutOutliers(fixes, job);
  const auto isRepeated = [](const RawFix& a, const RawFix& b) { return a.AdjGpsSec == b.AdjGpsSec; };
  fixes.erase(std::unique(fixes.begin(), fixes.end(), isRepeated), fixes.end());  // nothing lies between them
  if (fixes.empty()) throw Failure(Utf8(file) + ": no usable sample");
  std::vector<tagKVTrajectoryObs> places(fixes.begin(), fixes.end());
  Trajectory trajectory = InspectedTrajectory(std::move(places), maxGapSeconds);
  for (const RawFix& fix : fixes) {
    trajectory.qualities.push_back(fix.quality);
    if (hasAttitudes) trajectory.attitudes.push_back(fix.attitude);
  }
  trajectory.counts.lines = trajectory.fixes.size();
  trajectory.counts.kinds[static_cast<std::size_t>(SentenceKind::Fix)] = trajectory.fixes.size();
  trajectory.date = std::chrono::floor<std::chrono::days>(trajectory.first), trajectory.dateSource = "file";
  return trajectory;
}

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
  TellOfUntimed(samples.size() - fixes.size(), job);
  TakeOutOutliers(fixes, job);
  return fixes;
}

}  // namespace kv::mission
