#include "mission/inputs/Trajectory.h"

#include <KVUtilities.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>

#include "base/Failure.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

constexpr double kHalfTurn = 180.0;

void Inspect(Trajectory& trajectory, double maxGap) {
  trajectory.first = FromFileTime(trajectory.observations.front().TimeUTC);
  trajectory.last = FromFileTime(trajectory.observations.back().TimeUTC);
  const tagKVTrajectoryObs* last = nullptr;
  for (const auto& fix : trajectory.observations) {
    trajectory.bounds.Add(fix.Latitude, fix.Longitude, fix.Altitude);
    if (last) {
      const Instant from = FromFileTime(last->TimeUTC), to = FromFileTime(fix.TimeUTC);
      if (Seconds(to - from) > maxGap) trajectory.gaps.push_back({from, to, last->Latitude, last->Longitude});
      trajectory.stepsBack += to < from;
      if (std::abs(fix.Longitude - last->Longitude) > kHalfTurn)
        trajectory.crossings.push_back({from, to, last->Latitude, last->Longitude});
    }
    last = &fix;
  }
}

[[noreturn]] void FailWithoutFix(const std::filesystem::path& path, const NmeaCounts& counts) {
  const std::string leftOut = LeftOutText(counts);
  throw Failure(fmt::format("{}: no usable fix in {}{}{}", Utf8(path), Counted(counts.lines, "line"),
                            leftOut.empty() ? "" : ": ", leftOut));
}

}  // namespace

void Bounds::Add(double latitude, double longitude, double altitude) {
  west = std::min(west, longitude), east = std::max(east, longitude);
  south = std::min(south, latitude), north = std::max(north, latitude);
  lowest = std::min(lowest, altitude), highest = std::max(highest, altitude);
}

void Bounds::Add(const Bounds& other) {
  west = std::min(west, other.west), east = std::max(east, other.east);
  south = std::min(south, other.south), north = std::max(north, other.north);
  lowest = std::min(lowest, other.lowest), highest = std::max(highest, other.highest);
}

Trajectory ReadTrajectory(const std::filesystem::path& path, DateSources dates, const std::filesystem::path& scratch,
                          double maxGap, Log& log) {
  const auto copy = scratch / "fixes";
  NmeaLog fixes = CopyFixes(path, copy, log);
  if (!fixes.firstFix) FailWithoutFix(path, fixes.counts);
  dates.sentence = fixes.dated;
  const auto date = ChooseDate(dates, *fixes.firstFix, log);
  if (!date) throw Failure(Utf8(path) + ": nothing tells the date of the fixes; give it with --date YYYY-MM-DD");
  return ScanFixes(path, copy, fixes, *date, maxGap);
}

Trajectory ScanFixes(const std::filesystem::path& path, const std::filesystem::path& copy, const NmeaLog& fixes,
                     MissionDate date, double maxGap) {
  Trajectory trajectory;
  trajectory.counts = fixes.counts;
  trajectory.date = date;
  auto& observations = trajectory.observations;
  std::wstring error;
  try {
    for (std::size_t i = 0; i < fixes.days.size(); ++i) {
      const FILETIME noon = NoonOf(date.date + std::chrono::days{fixes.days[i]});
      auto piece = KVUtilities::ScanKVTrajectoryFile(WidePath(PieceOf(copy, i)), noon, error);
      if (i == 0) std::swap(observations, piece);  // mostly all
      std::move(piece.begin(), piece.end(), std::back_inserter(observations));
    }
  } catch (const std::logic_error& fault) {  // a number that the library does not take
    throw Failure(fmt::format("{}: the fixes cannot be read: {}", Utf8(path), fault.what()));
  }
  if (observations.size() != fixes.counts.Of(LineKind::Fix))
    throw Failure(Utf8(path) + ": the fixes could not be read back");
  Inspect(trajectory, maxGap);
  return trajectory;
}

Trajectory InspectedTrajectory(std::vector<tagKVTrajectoryObs>&& observations, double maxGap) {
  Trajectory trajectory;
  trajectory.observations = std::move(observations);
  Inspect(trajectory, maxGap);
  return trajectory;
}

void WarnOfTrajectory(const Trajectory& trajectory, const TrajectoryWords& words, Log& log) {
  constexpr std::size_t kNamed = 5;
  const auto& gaps = trajectory.gaps;
  for (std::size_t i = 0; i < std::min(kNamed, gaps.size()); ++i) {
    log.Warn("{} gap of {:.1f} s from {} at {:.7f}, {:.7f}", words.name, Seconds(gaps[i].to - gaps[i].from),
             TimeText(gaps[i].from), gaps[i].latitude, gaps[i].longitude);
  }
  if (gaps.size() > kNamed) log.Warn("{}: {} more", words.name, Counted(gaps.size() - kNamed, "gap"));
  if (trajectory.stepsBack > 0)
    log.Warn("the time of the {} runs back {}: {}", words.fixes, Counted(trajectory.stepsBack, "time"),
             words.outOfOrder);
  if (!trajectory.crossings.empty()) log.Warn("{}", words.crossing);
  if (trajectory.counts.truncatedTimes > 0)
    log.Warn("{} finer than a hundredth of a second: cut to hundredths",
             Counted(trajectory.counts.truncatedTimes, "fix time"));
}

}  // namespace kv::mission
