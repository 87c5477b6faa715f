#include "mission/PosPoints.h"

#include <KVUtilities.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "base/Failure.h"
#include "base/InOrder.h"
#include "base/Interrupt.h"
#include "mission/TargetSystem.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// A scan of so many takes far longer than its set-up, and its samples take little memory.
constexpr std::size_t kLinesOfPiece = 1 << 14;

/// The samples among some lines of a POS file.
struct Piece {
  std::string text;
  std::vector<std::size_t> lines;  // number of each sample's line, from 1
  std::size_t first = 0;           // number of the first sample, from 0
};

/// Gives out a POS file in pieces, and counts what they hold.
class Pieces {
 public:
  Pieces(const fs::path& path, const Log& log) : reader_(path, log) {}

  /// Nothing at the end; every piece has a sample.
  std::optional<Piece> Next() {
    for (PosLines lines; reader_.Take(kLinesOfPiece, lines);) {
      PosFile content = KeepSamples(lines);
      const std::size_t first = counts_.Of(PosLineKind::Sample);
      counts_.Append(content.counts);
      if (!content.sampleLines.empty()) return Piece{std::move(lines.text), std::move(content.sampleLines), first};
    }
    return std::nullopt;
  }

  const PosCounts& Counts() const { return counts_; }

 private:
  PosReader reader_;
  PosCounts counts_;
};

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

/// The samples of a piece, and how far they got.
struct Scanned {
  PosBlock block;
  std::size_t points = 0;
  std::optional<std::size_t> endedAtLine;
  TimeSpan span;
  Bounds bounds;
  std::wstring error;
};

Scanned Scan(Piece piece, const tagKVCoordinateSystem& target, const PosUse& use) {
  ThrowIfInterrupted();
  Scanned scanned;
  PosBlock& block = scanned.block;
  block.lines = std::move(piece.lines), block.first = piece.first;
  block.samples = KVUtilities::ScanKVPosText(piece.text, target.Wkt.GetString(), scanned.error);
  scanned.points = block.samples.size();
  if (scanned.points < block.lines.size()) scanned.endedAtLine = block.lines[scanned.points];
  if (target.IsNorthingFirst) PutEastingsOnX(block.samples);
  for (const auto& sample : block.samples) {
    scanned.span.Add(FromFileTime(sample.TimeUTC));
    scanned.bounds.Add(sample.Y, sample.X, sample.Z);
  }
  if (use.prepare) use.prepare(block);
  return scanned;
}

void Add(const Scanned& scanned, PosSummary& summary) {
  summary.points += scanned.points;
  summary.endedAtLine = scanned.endedAtLine;
  if (scanned.span.first) summary.span.Add(*scanned.span.first), summary.span.Add(*scanned.span.last);
  summary.bounds.Add(scanned.bounds);
}

/// @throws Failure when the end is no proper one
void CheckEnd(const PosSummary& summary, const std::wstring& error) {
  if (summary.points == 0 && !error.empty()) throw Failure(fmt::format("{}: {}", Utf8(summary.file), OneLine(error)));
  if (summary.endedAtLine && error.empty()) throw Failure(Utf8(summary.file) + ": the samples could not be read back");
}

PosSummary SummaryBefore(const fs::path& path, const tagKVCoordinateSystem& target) {
  PosSummary summary;
  summary.file = path;
  summary.system = TextOf(target.Name), summary.isGeographic = target.IsGeographic;
  summary.heights = HeightsText(target), summary.geoidGrid = TextOf(target.GeoidGrid);
  return summary;
}

void RefuseWithoutSample(const PosSummary& summary) {
  const PosCounts& counts = summary.counts;
  if (counts.Of(PosLineKind::Sample) > 0) return;
  const std::string leftOut = LeftOutText(counts);
  throw Failure(fmt::format("{}: no sample in {}{}{}", Utf8(summary.file), Counted(counts.lines, "line"),
                            leftOut.empty() ? "" : ": ", leftOut));
}

}  // namespace

PosSummary TransformPos(const fs::path& path, const tagKVCoordinateSystem& target, unsigned jobs, Log& log,
                        const PosUse& use) {
  Pieces pieces(path, log);
  PosSummary summary = SummaryBefore(path, target);
  WarnOfEllipsoid(target, log);
  std::wstring error;
  const auto next = [&] { return pieces.Next(); };
  const auto scan = [&](Piece piece) { return Scan(std::move(piece), target, use); };
  MakeInOrder(ThreadsFor(jobs), next, scan, [&](Scanned scanned) {
    ThrowIfInterrupted();
    Add(scanned, summary);
    error = std::move(scanned.error);
    CheckEnd(summary, error);
    if (scanned.points > 0) use.take(std::move(scanned.block));
    return !summary.endedAtLine;
  });
  while (pieces.Next()) continue;  // what is left is counted
  summary.counts = pieces.Counts();
  ThrowIfInterrupted();
  RefuseWithoutSample(summary);
  WarnOfPosLines(summary.counts, log);
  if (summary.endedAtLine) WarnOfEnd(summary, OneLine(error), log);
  return summary;
}

PosPoints TransformPos(const fs::path& path, const tagKVCoordinateSystem& target, unsigned jobs, Log& log) {
  PosPoints points;
  const auto collect = [&](PosBlock&& block) {
    std::move(block.samples.begin(), block.samples.end(), std::back_inserter(points.samples));
  };
  points.summary = TransformPos(path, target, jobs, log, {{}, collect});
  return points;
}

}  // namespace kv::mission
