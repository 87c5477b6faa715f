#include "mission/PosPoints.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <iterator>
#include <mutex>
#include <optional>
#include <utility>

#include "base/InOrder.h"
#include "mission/OutputFolder.h"
#include "mission/Steps.h"
#include "mission/inputs/GeoidHeights.h"
#include "platform/FileNames.h"
#include "report/PosRows.h"
#include "text/TextCase.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// Transforming a piece takes far longer than setting it up, and its samples take little memory.
constexpr std::size_t kLinesOfPiece = 1 << 14;

/// Sentences of the strict class may contain line ends.
std::string OneLine(const std::wstring& text) {
  std::string sentence = Utf8(text);
  std::replace(sentence.begin(), sentence.end(), '\n', ' ');
  return sentence;
}

std::string TextOf(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

/// Some lines, and the number of samples before them, which comes from the thread of the piece before.
struct Piece {
  PosLines lines;
  const GeoidHeights* geoid = nullptr;  ///< for heights above the geoid
  std::future<std::size_t> before;
  std::promise<std::size_t> after;
};

/// Buffers that are used again: asking the system for this much memory takes longer than filling it.
template <typename Buffer>
class Spare {
 public:
  Buffer Take() {
    const std::lock_guard lock(mutex_);
    if (spare_.empty()) return {};
    Buffer buffer = std::move(spare_.back());
    spare_.pop_back();
    return buffer;
  }
  void Give(Buffer buffer) {
    const std::lock_guard lock(mutex_);
    spare_.push_back(std::move(buffer));
  }

 private:
  std::mutex mutex_;
  std::vector<Buffer> spare_;
};

/// What the pieces of a file are made with, in several threads.
struct Workshop {
  const tagKVCoordinateSystem& target;
  const PosUse& use;
  std::atomic<bool> isEnded = false;  ///< a sample could not be transformed; later ones are only counted
  Spare<std::string> lines = {}, rows = {};
  Spare<std::vector<tagKVPosEvent>> samples = {};
};

/// The samples of a piece, and how far they got.
struct Transformed {
  PosBlock block;
  PosFile file;
  std::size_t points = 0;
  std::optional<std::size_t> endedAtLine;
  TimeSpan span;
  Bounds bounds;
  std::wstring error;
};

Transformed Transform(Piece piece, Workshop& shop) {
  Transformed transformed;
  auto [file, samples, numbers] =
      ReadPosLines(piece.lines, shop.isEnded ? PosDetail::Counts : shop.use.detail, shop.samples.Take());
  shop.lines.Give(std::move(piece.lines.text));
  transformed.file = std::move(file);
  PosBlock& block = transformed.block;
  block.lines = std::move(numbers), block.samples = std::move(samples);
  block.first = piece.before.get();
  piece.after.set_value(block.first + block.lines.size());
  if (block.samples.empty()) return transformed;
  if (piece.geoid) transformed.error = piece.geoid->Apply(block.samples);
  if (transformed.error.empty())
    KVUtilities::TransformPosEvents(block.samples, shop.target.Wkt.GetString(), transformed.points, transformed.error);
  if (transformed.points < block.samples.size()) transformed.endedAtLine = block.lines[transformed.points];
  block.samples.resize(transformed.points);
  for (auto& sample : block.samples) {
    if (shop.target.IsNorthingFirst) std::swap(sample.X, sample.Y);  // the order of the target's axes
    transformed.span.Add(FromFileTime(sample.TimeUTC));
    transformed.bounds.Add(sample.Y, sample.X, sample.Z);
  }
  if (!shop.use.prepare || transformed.points == 0) return transformed;
  block.text = shop.rows.Take();
  shop.use.prepare(block);
  shop.samples.Give(std::move(block.samples));
  return transformed;
}

void Add(const Transformed& transformed, PosPoints& points) {
  points.points += transformed.points;
  points.endedAtLine = transformed.endedAtLine;
  if (transformed.span.first) points.span.Add(*transformed.span.first), points.span.Add(*transformed.span.last);
  points.bounds.Add(transformed.bounds);
}

PosPoints PointsBefore(const fs::path& path, const tagKVCoordinateSystem& target) {
  PosPoints points;
  points.file = path;
  points.system = TextOf(target.Name), points.isGeographic = target.IsGeographic;
  points.wkt = TextOf(target.Wkt), points.projection = TextOf(target.EsriWkt);
  points.heights = HeightsText(target), points.geoidGrid = TextOf(target.GeoidGrid);
  return points;
}

int DecimalsFor(const tagKVCoordinateSystem& target) { return target.IsGeographic ? 10 : 6; }  // 10 um, 1 um

/// Formats the rows of a text in the threads that make the samples.
template <typename Rows, typename Write>
PosUse TextOfSamples(PosDetail detail, std::string header, Rows rows, const tagKVCoordinateSystem& target,
                     Write write) {
  PosUse use{detail, {}, {}};
  use.prepare = [rows, decimals = DecimalsFor(target)](PosBlock& block) { rows(block, decimals, block.text); };
  use.take = [header = std::move(header), write](PosBlock& block) {
    if (block.first == 0) write(header);
    write(block.text);
  };
  return use;
}

template <typename Write>
PosUse CsvOfSamples(const tagKVCoordinateSystem& target, Write write) {
  return TextOfSamples(PosDetail::Records, PosCsvHeader(), PosCsvRows, target, write);
}

/// Writes a file or layer that gets its name once it is complete.
PosPoints TransformInto(const TransformSettings& settings, const tagKVCoordinateSystem& target, Job& job) {
  const fs::path& output = settings.output;
  const std::string extension = LowerCase(Utf8(output.extension()));
  const bool isLayer = extension == ".shp";
  if (!isLayer && extension != ".csv" && extension != ".xyz")
    throw Failure(Utf8(output) + ": the output must end in .shp, .csv or .xyz", Failure::Reason::WrongUsage);
  if (LibraryMisreads(output)) throw Failure(Utf8(output) + ": an output cannot have a backslash in its name");
  const fs::path folder = output.has_parent_path() ? output.parent_path() : ".";
  const std::string name = TextFromPath(isLayer ? output.stem() : output.filename());
  const Results results = isLayer ? Results{{name}, {}} : Results{{}, {name}};
  RefuseResultAsInput(folder, results, settings.pos);
  OutputFolder place(folder, settings.overwrite, results, job);
  PosPoints points;
  if (isLayer) {
    points = ReadPosPoints(settings.pos, target, settings.jobs, job);
    WritePosLayer(name, points, place, job);
    points.samples.clear();
  } else {
    const fs::path staged = place.Staging() / PathFromText(name);
    FilePtr file = OpenNative(staged, "wb");
    const auto check = [&](bool isGood) {
      if (!isGood) FailWriting(staged);
    };
    const auto write = [&](const std::string& text) {
      check(std::fwrite(text.data(), 1, text.size(), file.get()) == text.size());
    };
    check(file != nullptr);
    const PosUse use = extension == ".csv" ? CsvOfSamples(target, write)
                                           : TextOfSamples(PosDetail::Places, "", PosXyzRows, target, write);
    points = TransformPosFile(settings.pos, target, settings.jobs, use, job);
    check(std::fclose(file.release()) == 0);
  }
  place.Commit(job);
  return points;
}

}  // namespace

PosPoints TransformPosFile(const fs::path& path, const tagKVCoordinateSystem& target, unsigned jobs, const PosUse& use,
                           Job& job) {
  LineReader reader(path, CtrlZ::EndsText, job, "reading the POS file");
  PosPoints points = PointsBefore(path, target);
  TellOfEllipsoid(target, job);
  PosFile file;
  PosHeader header;
  std::optional<GeoidHeights> geoid;
  std::wstring error;
  Workshop shop{.target = target, .use = use};
  std::promise<std::size_t> none;
  none.set_value(0);
  std::future<std::size_t> samplesBefore = none.get_future();
  const auto next = [&]() -> std::optional<Piece> {
    Piece piece;
    piece.lines.text = shop.lines.Take();
    if (!TakeLines(reader, header, kLinesOfPiece, piece.lines)) return std::nullopt;
    if (piece.lines.form.heightsAboveGeoid && !geoid) geoid.emplace(path, job);
    if (piece.lines.form.heightsAboveGeoid) piece.geoid = &*geoid;
    piece.before = std::exchange(samplesBefore, piece.after.get_future());
    return piece;
  };
  const auto make = [&](Piece piece) { return Transform(std::move(piece), shop); };
  MakeInOrder(ThreadsFor(jobs), next, make, [&](Transformed transformed) {
    job.ThrowIfStopped();
    Append(transformed.file, file);
    if (shop.isEnded || transformed.block.lines.empty()) return true;
    Add(transformed, points);
    error = std::move(transformed.error);
    if (points.points == 0 && !error.empty()) throw Failure(fmt::format("{}: {}", Utf8(path), OneLine(error)));
    if (transformed.points > 0) use.take(transformed.block);
    if (transformed.points > 0 && use.prepare) shop.rows.Give(std::move(transformed.block.text));
    shop.isEnded = points.endedAtLine.has_value();
    return true;
  });
  points.counts = file.counts;
  job.ThrowIfStopped();
  RefuseWithoutSample(path, file.counts, header.Form());
  TellOfPosFile(file, job);
  if (points.endedAtLine)
    job.Add(Found::PosEndsEarly,
            {{"line", Count(*points.endedAtLine)},
             {"reason", OneLine(error)},
             {"points", Count(points.points)},
             {"lost", Count(points.Lost())}},
            {.file = path, .line = *points.endedAtLine});
  return points;
}

PosPoints ReadPosPoints(const fs::path& path, const tagKVCoordinateSystem& target, unsigned jobs, Job& job) {
  std::vector<tagKVPosEvent> samples;
  const auto collect = [&](PosBlock& block) {
    std::move(block.samples.begin(), block.samples.end(), std::back_inserter(samples));
  };
  PosPoints points = TransformPosFile(path, target, jobs, {PosDetail::Records, {}, collect}, job);
  points.samples = std::move(samples);
  return points;
}

}  // namespace kv::mission

KVMission::PosPoints KVMission::TransformPos(const TransformSettings& settings,
                                             const std::function<void(const std::string&)>& write, Observer& observer) {
  using namespace kv::mission;
  Job job(observer);
  const auto target = ReadTargetSystem(settings.target);
  if (!settings.output.empty()) return TransformInto(settings, target, job);
  return TransformPosFile(settings.pos, target, settings.jobs, CsvOfSamples(target, write), job);
}

KVMission::PosPoints KVMission::ReadPos(const TransformSettings& settings, Observer& observer) {
  using namespace kv::mission;
  Job job(observer);
  return ReadPosPoints(settings.pos, ReadTargetSystem(settings.target), settings.jobs, job);
}
