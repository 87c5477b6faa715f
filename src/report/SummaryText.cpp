#include <fmt/format.h>

#include <algorithm>

#include "mission/Summary.h"
#include "platform/FileNames.h"
#include "report/PosReport.h"

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
  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

void PrintBounds(const Bounds& bounds, Page& page) {
  if (bounds.IsEmpty()) return;
  page.Line("  latitude {:.7f} to {:.7f}, longitude {:.7f} to {:.7f}, height {:.2f} to {:.2f} m", bounds.south,
            bounds.north, bounds.west, bounds.east, bounds.lowest, bounds.highest);
}

void PrintSpan(const TimeSpan& span, Page& page) {
  if (span.first) page.Line("  {} to {} UTC", TimeText(*span.first), TimeText(*span.last));
}

void PrintTrajectory(const Summary& summary, Page& page) {
  if (!summary.inputs.trajectory) return;
  const Trajectory& trajectory = summary.trajectory;
  page.Line("Trajectory  {}", Utf8(*summary.inputs.trajectory));
  page.Line("  {} of {} are usable fixes; the first is of {} ({})", trajectory.counts.Of(LineKind::Fix),
            Counted(trajectory.counts.lines, "line"), DateText(trajectory.date.date), trajectory.date.source);
  if (const std::string leftOut = LeftOutText(trajectory.counts); !leftOut.empty())
    page.Line("  left out: {}", leftOut);
  page.Line("  {} to {} UTC", TimeText(trajectory.first), TimeText(trajectory.last));
  PrintBounds(trajectory.bounds, page);
  const auto longer = [](const Gap& a, const Gap& b) { return a.to - a.from < b.to - b.from; };
  const auto& gaps = trajectory.gaps;
  if (const auto longest = std::max_element(gaps.begin(), gaps.end(), longer); longest != gaps.end())
    page.Line("  {}, the longest of {:.1f} s", Counted(gaps.size(), "gap"), Seconds(longest->to - longest->from));
}

void PrintPairing(const CameraSummary& camera, Page& page) {
  const Pairing& pairing = camera.pairing;
  page.Line("  camera {} photos: {} in {}, paired by {}, {} without an event", camera.camera,
            camera.folder->photos.size(), Utf8(camera.folder->path), WordFor(pairing.mode), pairing.unused.size());
  if (pairing.largest)
    page.Line("    time difference to the events: median {:.3f} s, largest {:.3f} s", *pairing.median,
              *pairing.largest);
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
}

void PrintStations(const StationSummary& stations, Page& page) {
  page.Line("  stations: {} of two exposures, {} of one", stations.paired, stations.single);
  if (stations.largest)
    page.Line("    time difference inside them: median {:.4f} s, largest {:.4f} s", *stations.median,
              *stations.largest);
}

void PrintCameras(const Summary& summary, Page& page) {
  for (const auto& camera : summary.cameras)
    page.Line("  camera {} events: {} read, {} placed, {} paired, {} dropped", camera.camera, camera.read,
              camera.placed, camera.pairing.paired, camera.dropped);
}

void PrintTimestamps(const Summary& summary, Page& page) {
  const DroneTimestamps& timestamps = *summary.timestamps;
  page.Line("Timestamps  {}", Utf8(*summary.inputs.mrk));
  page.Line("  {} of {} are exposures", timestamps.photoNumbers.size(), Counted(timestamps.lines, "line"));
  PrintSpan(timestamps.span, page);
  PrintCameras(summary, page);
}

void PrintDistances(const char* direction, const std::optional<PositionDifferences::Distances>& distances, Page& page) {
  if (distances) page.Line("  {}: median {:.3f} m, largest {:.3f} m", direction, distances->median, distances->largest);
}

void PrintPositions(const Summary& summary, Page& page) {
  if (!summary.positions) return;
  const PositionDifferences& positions = *summary.positions;
  page.Line("Positions   of the {}, {} compared with the {}",
            positions.used == PositionSource::Timestamps ? "timestamp file" : "post-processed trajectory",
            Counted(positions.compared, "exposure"),
            positions.used == PositionSource::Timestamps ? "post-processed trajectory" : "timestamp file");
  PrintDistances("horizontal", positions.horizontal, page);
  PrintDistances("vertical", positions.vertical, page);
  if (positions.outside > 0) page.Line("  outside the trajectory: {}", Counted(positions.outside, "exposure"));
}

void PrintApplanix(const Summary& summary, Page& page) {
  if (!summary.applanix) return;
  const ApplanixFile& applanix = *summary.applanix;
  page.Line("Applanix    {}", Utf8(*summary.inputs.applanix));
  page.Line("  {}, mapping frame {}", Counted(applanix.samples.size(), "sample"),
            applanix.frame.empty() ? "unknown" : applanix.frame);
  if (!applanix.report.empty()) page.Line("  {}", applanix.report);
  PrintSpan(applanix.span, page);
  PrintBounds(applanix.bounds, page);
}

std::string ExtremeText(const Extreme& extreme) {
  return fmt::format("{} at {}", extreme.value, extreme.time ? TimeText(*extreme.time) : "an unknown time");
}

void PrintRanges(const std::vector<ReadingRange>& ranges, Page& page) {
  for (const auto& range : ranges)
    page.Line("  {}: {}, {}", range.name->words, ExtremeText(range.lowest), ExtremeText(range.highest));
}

void PrintOrientation(const Summary& summary, Page& page) {
  if (!summary.orientation) return;
  const OrientationFile& orientation = *summary.orientation;
  page.Line("Orientation {}", Utf8(*summary.inputs.aos));
  page.Line("  {} stamped by {}, {} without a time; {} left out", Counted(orientation.readings, "reading"),
            orientation.byMasterClock ? "the master clock" : "date", orientation.untimed,
            Counted(orientation.LinesLeftOut(), "line"));
  PrintSpan(orientation.span, page);
  PrintRanges(orientation.ranges, page);
}

void PrintLog(const Summary& summary, Page& page) {
  if (!summary.log) return;
  const LogSummary& log = *summary.log;
  page.Line("Log         {}", Utf8(*summary.inputs.log));
  page.Line("  {} read, {} dropped; {} skipped", log.entries == 1 ? "1 entry" : fmt::format("{} entries", log.entries),
            log.dropped, Counted(log.skipped, "line"));
  PrintSpan(log.span, page);
  PrintRanges(log.readings, page);
  for (std::size_t i = 0; i < std::min(kErrorsNamed, log.errors.size()); ++i) page.Line("  {}", log.errors[i]);
  if (log.errors.size() > kErrorsNamed) page.Line("  and {} more error lines", log.errors.size() - kErrorsNamed);
}

void PrintEvents(const Summary& summary, Page& page) {
  if (summary.timestamps) return PrintTimestamps(summary, page);
  if (!summary.events) return page.Line("Events      none");
  const EventSummary& events = *summary.events;
  page.Line("Events      {}", Utf8(*summary.inputs.events));
  PrintSpan(events.span, page);
  page.Line("  heartbeats: {} read, {} placed; {} left out", events.heartbeats, events.heartbeatsPlaced,
            Counted(events.LinesLeftOut(), "line"));
  PrintCameras(summary, page);
}

void PrintDrops(const Summary& summary, Page& page) {
  if (summary.drops.empty()) return;
  page.Line("Dropped");
  for (std::size_t i = 0; i < std::min(kDropsNamed, summary.drops.size()); ++i) {
    const Drop& drop = summary.drops[i];
    page.Line(
        "  camera {}, {}, {}: {}", drop.camera,
        drop.tick ? fmt::format("tick {:.0f}", *drop.tick) : fmt::format("number {}", drop.photoNumber.value_or(0)),
        drop.time ? TimeText(*drop.time) : "no time", drop.reason);
  }
  if (summary.drops.size() > kDropsNamed)
    page.Line("  and {} more; {} names all", summary.drops.size() - kDropsNamed, kSummaryFile);
}

void PrintLayers(const Summary& summary, Page& page) {
  page.Line("Layers in {}", Utf8(summary.output));
  for (const Layer& layer : summary.layers) page.Line("  {:<18}{}", layer.name, Counted(layer.records, "record"));
  if (const TimeSpan& span = summary.photoSpan; span.first)
    page.Line("  photos from {} to {} UTC", TimeText(*span.first), TimeText(*span.last));
  PrintBounds(summary.photoBounds, page);
  if (!summary.warnings.empty()) page.Line("{}: see {}", Counted(summary.warnings.size(), "warning"), kSummaryFile);
}

}  // namespace

bool Summary::IsComplete() const {
  if (!drops.empty() || (events && (events->LinesLeftOut() > 0 || events->timesDoubtful))) return false;
  if (log && (log->dropped > 0 || log->cutAtLine)) return false;
  if (pos && !pos->IsComplete()) return false;
  if ((timestamps && !timestamps->skipped.empty()) || (applanix && !applanix->IsComplete())) return false;
  if (timestamps && (inputs.pos || inputs.applanix) && !positions) return false;
  if (orientation && (orientation->LinesLeftOut() > 0 || orientation->untimed > 0)) return false;
  return std::all_of(cameras.begin(), cameras.end(), [](const CameraSummary& camera) {
    if (camera.sharpness && !camera.sharpness->ungraded.empty()) return false;
    return camera.folder ? camera.pairing.unused.empty() : camera.read == 0;
  });
}

std::string SummaryText(const Summary& summary) {
  Page page;
  PrintTrajectory(summary, page);
  PrintEvents(summary, page);
  for (const auto& camera : summary.cameras) {
    if (camera.folder) PrintPairing(camera, page);
    if (camera.sharpness) PrintSharpness(*camera.sharpness, page);
  }
  if (summary.stations) PrintStations(*summary.stations, page);
  PrintPositions(summary, page);
  PrintLog(summary, page);
  PrintOrientation(summary, page);
  PrintApplanix(summary, page);
  if (summary.pos) {
    for (const auto& line : PosReportLines(*summary.pos)) page.Line("{}", line);
  }
  PrintDrops(summary, page);
  PrintLayers(summary, page);
  return page.Take();
}

}  // namespace kv::mission
