#include "report/PosReport.h"

#include "platform/FileNames.h"

namespace kv::mission {

std::vector<std::string> PosReportLines(const PosSummary& summary) {
  const PosCounts& counts = summary.counts;
  std::vector<std::string> lines{
      fmt::format("POS         {}", Utf8(summary.file)),
      fmt::format("  {} of {} are samples, {} transformed to {}", counts.Of(PosLineKind::Sample),
                  Counted(counts.lines, "line"), summary.points, summary.system),
      "  " + summary.heights};
  if (const std::string leftOut = LeftOutText(counts); !leftOut.empty()) lines.push_back("  left out: " + leftOut);
  if (summary.endedAtLine)
    lines.push_back(fmt::format("  ended at line {}, which cannot be transformed; {} left out", *summary.endedAtLine,
                                Counted(summary.Lost(), "sample")));
  const Bounds& bounds = summary.bounds;
  if (const TimeSpan& span = summary.span; span.first)
    lines.push_back(fmt::format("  {} to {} UTC", TimeText(*span.first), TimeText(*span.last)));
  if (!bounds.IsEmpty())
    lines.push_back(fmt::format("  x {1:.{0}f} to {2:.{0}f}, y {3:.{0}f} to {4:.{0}f}, z {5:.3f} to {6:.3f}",
                                summary.isGeographic ? 7 : 3, bounds.west, bounds.east, bounds.south, bounds.north,
                                bounds.lowest, bounds.highest));
  return lines;
}

Json JsonOfLines(const PosCounts& counts) {
  Json leftOut = Json::object();
  for (const auto& [kind, words, key] : kLeftOutPosLines) leftOut[key] = counts.Of(kind);
  return {{"lines", counts.lines}, {"samples", counts.Of(PosLineKind::Sample)}, {"leftOut", std::move(leftOut)}};
}

Json JsonOf(const PosSummary& summary) {
  Json json = {{"file", Utf8(summary.file)}};
  json.update(JsonOfLines(summary.counts));
  json.update({{"target", summary.system},
               {"geoidGrid", summary.geoidGrid.empty() ? Json(nullptr) : Json(summary.geoidGrid)},
               {"transformed", summary.points},
               {"endedAtLine", summary.endedAtLine ? Json(*summary.endedAtLine) : Json(nullptr)},
               {"first", JsonOf(summary.span.first)},
               {"last", JsonOf(summary.span.last)},
               {"bounds", JsonOf(summary.bounds)}});
  return json;
}

}  // namespace kv::mission
