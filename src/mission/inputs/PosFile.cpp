#include "mission/inputs/PosFile.h"

#include <algorithm>
#include <array>

#include "mission/inputs/LeftOut.h"
#include "readers/PosLine.h"
#include "readers/PosSamples.h"
#include "text/Tokens.h"

namespace kv::mission {
namespace {

void Note(PosLineKind kind, std::size_t number, PosCounts& counts) {
  const auto index = static_cast<std::size_t>(kind);
  ++counts.lines;
  if (counts.kinds[index]++ == 0) counts.firstLines[index] = number;
}

void AddWeek(std::int32_t week, PosFile& file) {
  file.firstWeek = std::min(file.firstWeek.value_or(week), week);
  file.lastWeek = std::max(file.lastWeek.value_or(week), week);
}

}  // namespace

bool TakeLines(LineReader& reader, std::size_t count, PosLines& lines) {
  constexpr std::size_t kManyBytes = 4 * 1024 * 1024;
  lines.text.clear();
  lines.before = reader.Number();
  const auto isFull = [&] { return reader.Number() - lines.before == count || lines.text.size() >= kManyBytes; };
  for (std::string_view line; !isFull() && reader.Next(line);) (lines.text += line) += '\n';
  return reader.Number() > lines.before;
}

PosPart ReadPosLines(const PosLines& lines, bool wantsSamples) {
  PosPart part;
  PosSampleReader reader(Calendar::Utc);
  PosNumbers numbers;
  std::array<std::string_view, kPosTokens> buffer;
  for (std::string_view rest = lines.text; !rest.empty();) {
    const std::size_t length = rest.find('\n');
    const auto tokens = Tokenise(rest.substr(0, length), kPosDelimiters, buffer);
    rest.remove_prefix(length + 1);
    const PosLineKind kind = ClassifyPos(tokens, numbers);
    const std::size_t number = lines.before + part.file.counts.lines + 1;
    Note(kind, number, part.file.counts);
    if (kind != PosLineKind::Sample) continue;
    part.lines.push_back(number);
    AddWeek(numbers.week, part.file);
    part.file.bounds.Add(numbers.latitude, numbers.longitude, numbers.height);
    if (wantsSamples) reader.Read(tokens, numbers, part.samples.emplace_back());
  }
  return part;
}

void Append(const PosFile& next, PosFile& file) {
  PosCounts& counts = file.counts;
  for (std::size_t kind = 0; kind < kPosLineKinds; ++kind) {
    if (counts.kinds[kind] == 0) counts.firstLines[kind] = next.counts.firstLines[kind];
    counts.kinds[kind] += next.counts.kinds[kind];
  }
  counts.lines += next.counts.lines;
  for (const auto& week : {next.firstWeek, next.lastWeek}) {
    if (week) AddWeek(*week, file);
  }
  file.bounds.Add(next.bounds);
}

PosFile ReadPosFile(const std::filesystem::path& path, Job& job) {
  constexpr std::size_t kLinesAtOnce = 1024;
  PosFile file;
  LineReader reader(path, CtrlZ::EndsText, job, "reading the POS file");
  for (PosLines lines; TakeLines(reader, kLinesAtOnce, lines);) Append(ReadPosLines(lines, false).file, file);
  TellOfPosLines(file.counts, job);
  return file;
}

void TellOfPosLines(const PosCounts& counts, Job& job) {
  for (const auto& [kind, words, key] : kLeftOutPosLines) {
    if (kind == PosLineKind::Comment || kind == PosLineKind::Blank || counts.Of(kind) == 0) continue;
    const std::size_t first = counts.firstLines[static_cast<std::size_t>(kind)];
    job.Add(Found::PosLinesLeftOut,
            {{"count", Count(counts.Of(kind))}, {"reason", words}, {"kind", key}, {"line", Count(first)}},
            {.line = first});
  }
}

}  // namespace kv::mission
