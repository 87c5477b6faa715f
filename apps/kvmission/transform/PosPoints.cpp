#include "transform/PosPoints.h"

#include <KVUtilities.h>

#include <fmt/format.h>

#include <algorithm>
#include <future>
#include <iterator>
#include <mutex>
#include <utility>

#include "Failure.h"
#include "InOrder.h"
#include "Interrupt.h"
#include "System.h"
#include "field/LineWriter.h"
#include "transform/TargetSystem.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// A scan of so many takes far longer than its set-up, and its samples take little memory.
constexpr std::size_t kLinesOfPiece = 1 << 14;

/// Some lines of a POS file and a copy of the samples among them.
struct Piece {
  fs::path copy;
  PosFile content;
  std::size_t first = 0;  // number of the first sample, from 0
};

/// Threads take the next lines in turn.
std::vector<Piece> CopySamples(const fs::path& path, const fs::path& scratch, unsigned threads, const Log& log) {
  PosReader reader(path, log);
  std::vector<Piece> pieces;
  std::mutex mutex;  // of both
  const auto work = [&] {
    for (PosLines lines;;) {
      std::unique_lock lock(mutex);
      if (!reader.Take(kLinesOfPiece, lines)) return;
      const std::size_t number = pieces.size();
      pieces.emplace_back();
      lock.unlock();
      Piece piece{scratch / fmt::format("pos{}", number), KeepSamples(lines)};
      LineWriter writer(piece.copy);
      writer.Text() = std::move(lines.text);
      writer.Close();
      lock.lock();
      pieces[number] = std::move(piece);
    }
  };
  std::vector<std::future<void>> workers;
  for (unsigned i = 0; i < threads; ++i) workers.push_back(std::async(work));
  for (auto& worker : workers) worker.get();
  return pieces;
}

/// What the pieces hold together; gives them the numbers of their first samples and drops those without any.
PosCounts Count(std::vector<Piece>& pieces) {
  PosFile whole;
  for (Piece& piece : pieces) {
    piece.first = whole.sampleLines.size();
    whole.Append(piece.content);
  }
  std::erase_if(pieces, [](const Piece& piece) { return piece.content.sampleLines.empty(); });
  return whole.counts;
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

/// The samples of a piece, and how far they got.
struct Scanned {
  PosBlock block;
  std::size_t points = 0;
  std::optional<std::size_t> endedAtLine;
  TimeSpan span;
  Bounds bounds;
  std::wstring error;
};

Scanned Scan(Piece& piece, const tagKVCoordinateSystem& target, const PosUse& use) {
  ThrowIfInterrupted();
  Scanned scanned;
  PosBlock& block = scanned.block;
  block.lines = std::move(piece.content.sampleLines), block.first = piece.first;
  block.samples = KVUtilities::ScanKVPosFile(WidePath(piece.copy), target.Wkt.GetString(), scanned.error);
  std::error_code ignored;
  fs::remove(piece.copy, ignored);  // their sum is as large as the file
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

PosSummary SummaryBefore(const fs::path& path, const tagKVCoordinateSystem& target, const PosCounts& counts) {
  PosSummary summary;
  summary.file = path, summary.counts = counts;
  summary.system = TextOf(target.Name), summary.isGeographic = target.IsGeographic;
  summary.heights = HeightsText(target), summary.geoidGrid = TextOf(target.GeoidGrid);
  if (counts.Of(PosLineKind::Sample) > 0) return summary;
  const std::string leftOut = LeftOutText(counts);
  throw Failure(fmt::format("{}: no sample in {}{}{}", Utf8(path), Counted(counts.lines, "line"),
                            leftOut.empty() ? "" : ": ", leftOut));
}

}  // namespace

PosSummary TransformPos(const fs::path& path, const tagKVCoordinateSystem& target, const fs::path& scratch,
                        unsigned jobs, Log& log, const PosUse& use) {
  const unsigned threads = ThreadsFor(jobs);
  std::vector<Piece> pieces = CopySamples(path, scratch, threads, log);
  PosSummary summary = SummaryBefore(path, target, Count(pieces));
  WarnOfPosLines(summary.counts, log);
  WarnOfEllipsoid(target, log);
  const auto scan = [&](std::size_t number) { return Scan(pieces[number], target, use); };
  MakeInOrder(pieces.size(), threads, scan, [&](Scanned scanned) {
    ThrowIfInterrupted();
    Add(scanned, summary);
    CheckEnd(summary, scanned.error);
    if (scanned.points > 0) use.take(std::move(scanned.block));
    if (summary.endedAtLine) WarnOfEnd(summary, OneLine(scanned.error), log);
    return !summary.endedAtLine;
  });
  return summary;
}

PosPoints TransformPos(const fs::path& path, const tagKVCoordinateSystem& target, const fs::path& scratch,
                       unsigned jobs, Log& log) {
  PosPoints points;
  const auto collect = [&](PosBlock&& block) {
    std::move(block.samples.begin(), block.samples.end(), std::back_inserter(points.samples));
  };
  points.summary = TransformPos(path, target, scratch, jobs, log, {{}, collect});
  return points;
}

}  // namespace kv::mission
