#include "mission/inputs/Trajectories.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include "georef/FixQualities.h"
#include "mission/inputs/GpxFile.h"
#include "mission/inputs/Inputs.h"
#include "mission/inputs/PosFile.h"
#include "mission/inputs/PostProcessed.h"
#include "mission/inputs/SbetFile.h"
#include "platform/FileNames.h"
#include "text/Numbers.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// Shortly before the mission begins, for files that count the seconds of a week they do not name.
std::optional<Instant> BeginOf(const DateSources& dates) {
  if (dates.given) return Instant(*dates.given);
  if (dates.heartbeat) return *dates.heartbeat - std::chrono::hours{12};
  return std::nullopt;
}

[[noreturn]] void FailWithoutDate(const fs::path& path) {
  throw Failure(Utf8(path) + ": nothing tells the week of its times; give its first date with --date YYYY-MM-DD");
}

/// One sigma of an Applanix sample's place.
FixQuality QualityOf(const tagKVPosEvent& sample) {
  const auto number = [](const CStringW& text) {
    return FiniteNumber(std::wstring_view(text.GetString())).value_or(0);
  };
  const double east = number(sample.Token9), north = number(sample.Token10), up = number(sample.Token11);
  FixQuality quality;
  if (east > 0 && north > 0) quality.horizontalSigma = HorizontalSigma(north, east);
  if (up > 0) quality.verticalSigma = static_cast<float>(up);
  return quality;
}

Trajectory ReadApplanix(const fs::path& path, const DateSources& dates, double maxGapSeconds, Job& job) {
  const auto begin = BeginOf(dates);
  const ApplanixExport file = ReadApplanixExport(path, begin.value_or(Instant()), job);
  if (!file.isDated && !begin) FailWithoutDate(path);
  std::vector<RawFix> fixes;
  for (const auto& sample : file.samples) {
    RawFix& fix = fixes.emplace_back();
    fix.TimeUTC = sample.TimeUTC, fix.SystemTimeUTC = sample.SystemTimeUTC, fix.AdjGpsSec = sample.AdjGpsSec;
    fix.Latitude = sample.Latitude, fix.Longitude = sample.Longitude, fix.Altitude = sample.Height;
    fix.quality = QualityOf(sample);
    fix.attitude = {sample.Value1, sample.Value2, sample.Value3};
  }
  const auto hasAttitude = [](const RawFix& fix) {
    return fix.attitude.roll != 0 || fix.attitude.pitch != 0 || fix.attitude.heading != 0;
  };
  const bool isTurned = std::any_of(fixes.begin(), fixes.end(), hasAttitude);  // without such columns all are 0
  return TrajectoryOf(path, std::move(fixes), isTurned, maxGapSeconds, job);
}

Trajectory ReadSbet(const fs::path& path, const DateSources& dates, double maxGapSeconds, Job& job) {
  std::vector<RawFix> fixes;
  const auto begin = BeginOf(dates);
  const SbetFile file = ReadSbetFile(path, begin, fixes, job);
  if (!file.span.first) FailWithoutDate(path);
  return TrajectoryOf(path, std::move(fixes), true, maxGapSeconds, job);
}

FileKind KindOf(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error) ? KindOfFile(path) : FileKind::Trajectory;  // a pipe is read only once
}

constexpr const char* kGpxKind = "GPX track";

/// Which kind gives the better places: post-processing, then a log that tells quality and heights.
int RankOf(const Trajectory& trajectory) {
  const std::string_view kind = trajectory.kind;
  return kind == Trajectory().kind ? 1 : kind == kGpxKind ? 0 : 2;
}

const TrajectoryWords& WordsFor(const Trajectory& trajectory) {
  const TrajectoryWords* const words[] = {&kGpxWords, &kReceiverWords, &kPostProcessedWords};
  return *words[RankOf(trajectory)];
}

/// Only of the trajectory that gives the places: heights of the other decide nothing.
void TellOfHeights(const Trajectory& used, Job& job) {
  if (used.heightsUnknown > 0)
    job.Add(Found::TrackHeightsUnknown, {{"file", Utf8(used.file.filename())}, {"count", Count(used.heightsUnknown)}},
            {.file = used.file});
}

double ShareOfFixed(const Trajectory& trajectory) {
  const auto& all = trajectory.qualities;
  const auto isFixed = [](const FixQuality& fix) { return fix.quality == PositionQuality::Fixed; };
  return all.empty() ? 0 : static_cast<double>(std::count_if(all.begin(), all.end(), isFixed)) / double(all.size());
}

}  // namespace

Trajectory ReadAnyTrajectory(const fs::path& path, const DateSources& dates, double maxGapSeconds, Job& job) {
  struct Way {
    FileKind kind;
    const char* name;
    Trajectory (*read)(const fs::path&, const DateSources&, double, Job&);
  };
  constexpr Way kWays[] = {
      {FileKind::Pos, "POS file",
       [](const fs::path& file, const DateSources&, double gap, Job& to) { return ReadPosTrajectory(file, gap, to); }},
      {FileKind::Applanix, "Applanix export", ReadApplanix},
      {FileKind::Sbet, "SBET file", ReadSbet},
      {FileKind::Gpx, kGpxKind,
       [](const fs::path& file, const DateSources&, double gap, Job& to) { return ReadGpxTrajectory(file, gap, to); }}};
  const FileKind kind = KindOf(path);
  Trajectory trajectory;
  const auto way = std::find_if(std::begin(kWays), std::end(kWays), [&](const Way& one) { return one.kind == kind; });
  trajectory = way == std::end(kWays) ? ReadTrajectoryFile(path, dates, maxGapSeconds, job)
                                      : way->read(path, dates, maxGapSeconds, job);
  if (way != std::end(kWays)) trajectory.kind = way->name;
  trajectory.file = path;
  TellOfTrajectory(trajectory, WordsFor(trajectory), job);
  return trajectory;
}

Trajectory ReadTrajectories(const Settings& settings, const DateSources& dates,
                            std::optional<TrajectoryComparison>& comparison, Job& job) {
  Trajectory first = ReadAnyTrajectory(settings.trajectory, dates, settings.maxGapSeconds, job);
  if (!settings.otherTrajectory.empty()) {
    DateSources known = dates;
    if (!known.heartbeat) known.heartbeat = first.first;
    Trajectory second = ReadAnyTrajectory(settings.otherTrajectory, known, settings.maxGapSeconds, job);
    if (std::pair(RankOf(second), ShareOfFixed(second)) > std::pair(RankOf(first), ShareOfFixed(first)))
      std::swap(first, second);
    job.Add(Found::TrajectoryChosen, {{"used", Utf8(first.file)}, {"other", Utf8(second.file)}});
    comparison = CompareTrajectories(first, second, job);
  }
  TellOfHeights(first, job);
  return first;
}

}  // namespace kv::mission
