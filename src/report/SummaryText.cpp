#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "base/Findings.h"
#include "georef/Attitudes.h"
#include "georef/FixQualities.h"
#include "mission/OutputKinds.h"
#include "mission/inputs/LeftOut.h"
#include "platform/FileNames.h"
#include "report/Json.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr std::size_t kDropsNamed = 20;
constexpr std::size_t kPhotosNamed = 5;
constexpr std::size_t kErrorsNamed = 10;

/// Lines of text under headings.
class Page {
 public:
  template <typename... Values>
  void Line(fmt::format_string<Values...> format, Values&&... values) {
    text_ += Visible(fmt::format(format, std::forward<Values>(values)...)) + '\n';
  }
  void Append(const std::string& lines) { text_ += lines; }
  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

/// Where to find the full lists.
const char* WholeLists(const Mission& mission) {
  const Settings& settings = mission.settings;
  return settings.output.empty() || !IsWanted("json", settings) ? "the JSON summary" : kSummaryFile;
}

void PrintBounds(const Bounds& bounds, Page& page) {
  if (bounds.IsEmpty()) return;
  page.Line("  latitude {:.7f} to {:.7f}, longitude {:.7f} to {:.7f}, height {:.2f} to {:.2f} m", bounds.south,
            bounds.north, bounds.west, bounds.east, bounds.lowest, bounds.highest);
}

void PrintSpan(const TimeSpan& span, Page& page) {
  if (span.first) page.Line("  {} to {} UTC", TimeText(*span.first), TimeText(*span.last));
}

void PrintTrajectory(const Mission& mission, Page& page) {
  if (!mission.trajectory) return;
  const Trajectory& trajectory = *mission.trajectory;
  const bool isLog = std::string_view(trajectory.kind) == Trajectory().kind;
  page.Line("Trajectory  {}{}", Utf8(trajectory.file.empty() ? mission.settings.trajectory : trajectory.file),
            isLog ? "" : fmt::format(" ({})", trajectory.kind));
  page.Line("  {} of {} are usable fixes; date of the first: {} ({})", trajectory.counts.Of(SentenceKind::Fix),
            Counted(trajectory.counts.lines, "line"), trajectory.date ? DateText(*trajectory.date) : "unknown",
            trajectory.dateSource);
  if (const std::string leftOut = LeftOutText(trajectory.counts); !leftOut.empty())
    page.Line("  left out: {}", leftOut);
  page.Line("  {} to {} UTC", TimeText(trajectory.first), TimeText(trajectory.last));
  PrintBounds(trajectory.bounds, page);
  const auto longer = [](const Gap& a, const Gap& b) { return a.to - a.from < b.to - b.from; };
  const auto& gaps = trajectory.gaps;
  if (const auto longest = std::max_element(gaps.begin(), gaps.end(), longer); longest != gaps.end())
    page.Line("  {}, the longest of {:.1f} s", Counted(gaps.size(), "gap"), Seconds(longest->to - longest->from));
}

void PrintMount(int camera, const Settings& settings, Page& page) {
  const double delay = camera == 1 ? settings.camera1DelayMilliseconds : settings.camera2DelayMilliseconds;
  const LeverArm& arm = camera == 1 ? settings.camera1LeverArm : settings.camera2LeverArm;
  if (delay != 0) page.Line("    exposures {} ms after events", delay);
  if (arm != LeverArm())
    page.Line("    lever arm: {} m forward, {} m right, {} m down", arm.forward, arm.right, arm.down);
}

void PrintComparison(const std::optional<TrajectoryComparison>& comparison, Page& page) {
  if (!comparison) return;
  page.Line("  gives the places; {} compared: {}", Utf8(comparison->other),
            comparison->compared == 0 ? "no time in common" : Counted(comparison->compared, "fix|fixes"));
  const auto print = [&](const char* direction, const std::optional<TrajectoryComparison::Distances>& of) {
    if (of)
      page.Line("    {}: median {:.3f} m, 95 % within {:.3f} m, largest {:.3f} m", direction, of->median, of->most,
                of->largest);
  };
  print("horizontal", comparison->horizontal);
  print("vertical", comparison->vertical);
  if (comparison->shiftSeconds) page.Line("    nearest with its times moved by {:+.3f} s", *comparison->shiftSeconds);
}

void PrintEvents(const Mission& mission, Page& page) {
  if (mission.timestamps) {
    page.Line("Timestamps  {}", Utf8(mission.settings.timestamps));
    page.Line("  {} of {} are exposures", mission.timestamps->photoNumbers.size(),
              Counted(mission.timestamps->lines, "line"));
    PrintSpan(mission.timestamps->span, page);
  } else if (mission.events) {
    page.Line("Events      {}", Utf8(mission.settings.events));
    PrintSpan(mission.events->span, page);
    page.Line("  heartbeats: {} read, {} placed; {} left out", mission.events->heartbeats,
              mission.events->heartbeatsPlaced, Counted(mission.events->LinesLeftOut(), "line"));
  } else {
    return page.Line("Events      none");
  }
  for (const Camera& camera : mission.cameras) {
    page.Line("  camera {} events: {} read, {} placed, {} paired, {} dropped, {} in the layer", camera.number,
              camera.read, camera.placed, camera.pairing.paired, camera.dropped, camera.read - camera.dropped);
    PrintMount(camera.number, mission.settings, page);
  }
}

void PrintClock(const Camera& camera, Page& page) {
  const ClockCheck& clock = *camera.clock;
  page.Line("    clock: {}", WordFor(clock.state));
  for (const ClockStretch& stretch : clock.stretches)
    page.Line("    fits best with {:+.3f} s, drift {:+.0f} ppm, from {} to {}", stretch.offsetSeconds,
              std::round(stretch.driftPpm) + 0.0, Utf8(stretch.firstPhoto), Utf8(stretch.lastPhoto));
}

void PrintPairing(const Camera& camera, Page& page) {
  const Pairing& pairing = camera.pairing;
  page.Line("  camera {} photos: {} in {}, paired by {}, {} without an event", camera.number,
            camera.folder->photos.size(), Utf8(camera.folder->path), WordFor(pairing.mode), pairing.unused.size());
  if (camera.clock) PrintClock(camera, page);
  if (pairing.differences)
    page.Line("    time difference to the events: median {:.3f} s, largest {:.3f} s", pairing.differences->median,
              pairing.differences->largest);
  for (std::size_t i = 0; i < std::min(kPhotosNamed, pairing.unused.size()); ++i)
    page.Line("    without an event: {}", Utf8(pairing.unused[i]));
  if (pairing.unused.size() > kPhotosNamed) page.Line("    and {} more", pairing.unused.size() - kPhotosNamed);
}

void PrintSharpness(const SharpnessSummary& sharpness, Page& page) {
  if (const auto& of = sharpness.distribution)
    page.Line("    sharpness of {}: {:.1f} | {:.1f} | {:.1f} | {:.1f} | {:.1f} (lowest, quartiles, highest)",
              Counted(sharpness.graded, "photo"), of->lowest, of->lowerQuartile, of->median, of->upperQuartile,
              of->highest);
  for (const auto& [photo, factor] : sharpness.blurred)
    page.Line("    far below the median: {} ({:.1f})", Utf8(photo), factor);
  for (const auto& [photo, reason] : sharpness.ungraded) page.Line("    not graded: {} ({})", Utf8(photo), reason);
  for (const auto& [photo, reason] : sharpness.damaged) page.Line("    damaged: {} ({})", Utf8(photo), reason);
}

void PrintStations(const std::optional<Stations>& stations, Page& page) {
  if (!stations) return;
  page.Line("  stations: {} with two exposures, {} with one", stations->paired, stations->single);
  if (stations->differences)
    page.Line("    time difference inside them: median {:.4f} s, largest {:.4f} s", stations->differences->median,
              stations->differences->largest);
}

void PrintDistances(const char* direction, const std::optional<Spread>& distances, Page& page) {
  if (distances) page.Line("  {}: median {:.3f} m, largest {:.3f} m", direction, distances->median, distances->largest);
}

void PrintPositions(const std::optional<PositionDifferences>& positions, Page& page) {
  if (!positions) return;
  const char *used = "timestamp file", *other = "post-processed trajectory";
  if (positions->used == PositionSource::PostProcessed) std::swap(used, other);
  page.Line("Positions   from the {}, {} compared with the {}", used, Counted(positions->compared, "exposure"), other);
  PrintDistances("horizontal", positions->horizontalMetres, page);
  PrintDistances("vertical", positions->verticalMetres, page);
  if (positions->outside > 0) page.Line("  outside the trajectory: {}", Counted(positions->outside, "exposure"));
}

void PrintRanges(const std::vector<ReadingRange>& ranges, Page& page) {
  const auto text = [](const Extreme& extreme) {
    return fmt::format("{} at {}", extreme.value, extreme.time ? TimeText(*extreme.time) : "an unknown time");
  };
  for (const auto& range : ranges) page.Line("  {}: {}, {}", range.words, text(range.lowest), text(range.highest));
}

void PrintHousekeeping(const Mission& mission, Page& page) {
  if (!mission.housekeeping) return;
  const HousekeepingLog& log = *mission.housekeeping;
  page.Line("Housekeeping {}", Utf8(mission.settings.housekeeping));
  page.Line("  {} read, {} dropped; {} skipped", Counted(log.entries, "entry|entries"), log.dropped,
            Counted(log.skipped, "line"));
  PrintSpan(log.span, page);
  PrintRanges(log.readings, page);
  for (std::size_t i = 0; i < std::min(kErrorsNamed, log.errors.size()); ++i) page.Line("  {}", log.errors[i]);
  if (log.errors.size() > kErrorsNamed) page.Line("  and {} more error lines", log.errors.size() - kErrorsNamed);
}

void PrintOrientation(const Mission& mission, Page& page) {
  if (!mission.orientation) return;
  const OrientationFile& orientation = *mission.orientation;
  page.Line("Orientation {}", Utf8(mission.settings.orientation));
  page.Line("  {} stamped by {}, {} without a time; {} left out", Counted(orientation.readings.size(), "reading"),
            orientation.byMasterClock ? "the master clock" : "date", orientation.untimed,
            Counted(orientation.LinesLeftOut(), "line"));
  PrintSpan(orientation.span, page);
  PrintRanges(orientation.ranges, page);
}

void PrintApplanix(const Mission& mission, Page& page) {
  if (!mission.applanix) return;
  const ApplanixExport& applanix = *mission.applanix;
  page.Line("Applanix    {}", Utf8(mission.settings.applanix));
  page.Line("  {}, mapping frame {}", Counted(applanix.samples.size(), "sample"),
            applanix.frame.empty() ? "unknown" : applanix.frame);
  if (applanix.unreadable > 0) page.Line("  {} could not be read", Counted(applanix.unreadable, "row"));
  PrintSpan(applanix.span, page);
  PrintBounds(applanix.bounds, page);
}

void PrintDrops(const Mission& mission, Page& page) {
  std::size_t dropped = 0;
  for (const Exposure& exposure : mission.exposures) {
    if (!exposure.drop) continue;
    if (dropped == 0) page.Line("Dropped");
    if (++dropped > kDropsNamed) continue;
    page.Line("  camera {}, {}, {}: {}", exposure.event.CameraID,
              exposure.photoNumber ? fmt::format("number {}", *exposure.photoNumber)
                                   : fmt::format("tick {:.0f}", exposure.event.MasterTick),
              exposure.time ? TimeText(*exposure.time) : "no time", TextOf(*exposure.drop));
  }
  if (dropped > kDropsNamed) page.Line("  and {} more; {} lists all", dropped - kDropsNamed, WholeLists(mission));
}

void PrintAccuracy(const char* direction, const AccuracyRange& range, Page& page) {
  if (range.known > 0)
    page.Line("    {} {:.3f} to {:.3f} m (one sigma), known for {}", direction, range.least, range.largest,
              range.known);
}

/// "FIXED 120, FLOAT 3"
template <typename Quality, typename Photos>
std::string CountsBy(const Photos& photos) {
  std::string counts;
  for (std::size_t i = 0; i < photos.size(); ++i) {
    if (photos[i] > 0) counts += fmt::format("{}{} {}", counts.empty() ? "" : ", ", WordFor(Quality(i)), photos[i]);
  }
  return counts;
}

void PrintPlaceQuality(const PlaceQuality& places, Page& page) {
  if (const auto counts = CountsBy<PositionQuality>(places.photos); !counts.empty())
    page.Line("  places of photos by quality: {}", counts);
  if (const auto counts = CountsBy<AttitudeQuality>(places.attitudes); !counts.empty())
    page.Line("  attitude of photos: {}{}", counts,
              places.attitudeSource.empty() ? "" : fmt::format(" ({})", places.attitudeSource));
  PrintAccuracy("horizontal", places.horizontal, page);
  PrintAccuracy("vertical", places.vertical, page);
}

void PrintLayers(const Mission& mission, Page& page) {
  const auto& folder = mission.settings.output;
  folder.empty() ? page.Line("Layers, not written") : page.Line("Layers in {}", Utf8(folder));
  for (const Layer& layer : LayersOf(mission)) page.Line("  {:<18}{}", layer.name, Counted(layer.records, "record"));
  if (!folder.empty()) page.Line("  written as {}", fmt::join(WantedOutputs(mission), ", "));
  if (const TimeSpan& span = mission.photoSpan; span.first)
    page.Line("  photos from {} to {} UTC", TimeText(*span.first), TimeText(*span.last));
  PrintBounds(mission.photoBounds, page);
  PrintPlaceQuality(mission.placeQuality, page);
}

void PrintDoubts(const Mission& mission, Page& page) {
  for (const Finding& finding : mission.findings) {
    if (finding.severity >= Severity::Doubt) page.Line("{}: {}", WordFor(finding.severity), finding.text);
  }
}

void PrintWarnings(const Mission& mission, Page& page) {
  const auto& findings = mission.findings;
  const auto warnings = static_cast<std::size_t>(std::count_if(
      findings.begin(), findings.end(), [](const Finding& finding) { return finding.severity == Severity::Warning; }));
  if (warnings > 0) page.Line("{}: see {}", Counted(warnings, "warning"), WholeLists(mission));
}

/// Last, where people look for what to do next.
void PrintReport(const Settings& settings, Page& page) {
  if (!settings.output.empty() && IsWanted(kReportOutput, settings))
    page.Line("Report      {}", Utf8(settings.output / kReportFile));
}

}  // namespace
}  // namespace kv::mission

std::string KVMission::SummaryText(const Mission& mission) {
  using namespace kv::mission;
  Page page;
  PrintDoubts(mission, page);
  PrintTrajectory(mission, page);
  PrintComparison(mission.trajectoryComparison, page);
  PrintEvents(mission, page);
  for (const Camera& camera : mission.cameras) {
    if (camera.folder) PrintPairing(camera, page);
    if (camera.sharpness) PrintSharpness(*camera.sharpness, page);
  }
  PrintStations(mission.stations, page);
  PrintPositions(mission.positions, page);
  PrintHousekeeping(mission, page);
  PrintOrientation(mission, page);
  PrintApplanix(mission, page);
  if (mission.pos) page.Append(PosText(*mission.pos));
  PrintDrops(mission, page);
  PrintLayers(mission, page);
  PrintWarnings(mission, page);
  PrintReport(mission.settings, page);
  return page.Take();
}
