#include <fmt/format.h>

#include "base/Findings.h"
#include "mission/inputs/LeftOut.h"
#include "report/Json.h"
#include "time/Instants.h"

std::string KVMission::PosText(const PosPoints& points) {
  using namespace kv::mission;
  const PosCounts& counts = points.counts;
  std::string text =
      fmt::format("POS         {}\n  {} of {} are samples, {} transformed to {}\n  {}\n", Visible(Utf8(points.file)),
                  counts.Of(PosLineKind::Sample), Counted(counts.lines, "line"), points.points, Visible(points.system),
                  Visible(points.heights));
  if (const std::string leftOut = LeftOutText(counts); !leftOut.empty())
    text += fmt::format("  left out: {}\n", leftOut);
  if (points.endedAtLine)
    text += fmt::format("  ended at line {}, which cannot be transformed; {} left out\n", *points.endedAtLine,
                        Counted(points.Lost(), "sample"));
  if (const TimeSpan& span = points.span; span.first)
    text += fmt::format("  {} to {} UTC\n", TimeText(*span.first), TimeText(*span.last));
  if (const Bounds& bounds = points.bounds; !bounds.IsEmpty())
    text += fmt::format("  x {1:.{0}f} to {2:.{0}f}, y {3:.{0}f} to {4:.{0}f}, z {5:.3f} to {6:.3f}\n",
                        points.isGeographic ? 7 : 3, bounds.west, bounds.east, bounds.south, bounds.north,
                        bounds.lowest, bounds.highest);
  return text;
}

std::string KVMission::PosJson(const PosPoints& points) { return kv::mission::Written(kv::mission::JsonOf(points)); }
