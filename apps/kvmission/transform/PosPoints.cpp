#include "transform/PosPoints.h"

#include <KVUtilities.h>

#include <algorithm>
#include <utility>

#include "Failure.h"
#include "Interrupt.h"
#include "System.h"
#include "field/LineWriter.h"
#include "transform/TargetSystem.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

PosFile CopySamples(const fs::path& path, const fs::path& copy, const Log& log) {
  LineWriter writer(copy);
  PosFile file = ReadPosFile(path, log, [&](std::string_view line) {
    (writer.Text() += line) += '\n';
    writer.LineDone();
  });
  writer.Close();
  return file;
}

/// The library's sentences have line ends in them.
std::string OneLine(const std::wstring& text) {
  std::string sentence = Utf8(text);
  std::replace(sentence.begin(), sentence.end(), '\n', ' ');
  return sentence;
}

std::string TextOf(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

/// The library keeps the order of the target's axes.
void PutEastingsOnX(std::vector<tagKVPosEvent>& samples) {
  for (auto& sample : samples) std::swap(sample.X, sample.Y);
}

void WarnOfEnd(const PosSummary& summary, const std::string& reason, Log& log) {
  log.Warn("POS: line {} cannot be transformed: {} The {} before it are kept, {} left out", *summary.endedAtLine,
           reason, Counted(summary.points, "sample"),
           summary.Lost() == 1 ? "this one is" : fmt::format("this and the {} after it are", summary.Lost() - 1));
}

}  // namespace

PosPoints TransformPos(const fs::path& path, const tagKVCoordinateSystem& target, const fs::path& scratch, Log& log) {
  const fs::path copy = scratch / "pos";
  PosFile file = CopySamples(path, copy, log);
  PosPoints points;
  points.lines = std::move(file.sampleLines);
  PosSummary& summary = points.summary;
  summary.file = path, summary.counts = file.counts;
  summary.system = TextOf(target.Name), summary.isGeographic = target.IsGeographic;
  summary.heights = HeightsText(target), summary.geoidGrid = TextOf(target.GeoidGrid);
  if (points.lines.empty()) {
    const std::string leftOut = LeftOutText(summary.counts);
    throw Failure(fmt::format("{}: no sample in {}{}{}", Utf8(path), Counted(summary.counts.lines, "line"),
                              leftOut.empty() ? "" : ": ", leftOut));
  }
  WarnOfPosLines(summary.counts, log);
  WarnOfEllipsoid(target, log);
  ThrowIfInterrupted();
  std::wstring error;
  points.samples = KVUtilities::ScanKVPosFile(WidePath(copy), target.Wkt.GetString(), error);
  ThrowIfInterrupted();
  summary.points = points.samples.size();
  if (summary.points == 0 && !error.empty()) throw Failure(fmt::format("{}: {}", Utf8(path), OneLine(error)));
  if (error.empty() && summary.Lost() > 0) throw Failure(Utf8(path) + ": the samples could not be read back");
  if (summary.Lost() > 0) {
    summary.endedAtLine = points.lines[summary.points];
    WarnOfEnd(summary, OneLine(error), log);
  }
  if (target.IsNorthingFirst) PutEastingsOnX(points.samples);
  for (const auto& sample : points.samples) {
    summary.span.Add(FromFileTime(sample.TimeUTC));
    summary.bounds.Add(sample.Y, sample.X, sample.Z);
  }
  return points;
}

}  // namespace kv::mission
