#include "field/PosFile.h"

#include <algorithm>

#include "Progress.h"
#include "field/EventLog.h"
#include "field/LineReader.h"

namespace kv::mission {
namespace {

void Note(PosLineKind kind, PosCounts& counts) {
  const auto index = static_cast<std::size_t>(kind);
  if (counts.kinds[index]++ == 0) counts.firstLines[index] = counts.lines;
}

void AddSample(const PosColumns& columns, PosFile& file) {
  file.sampleLines.push_back(file.counts.lines);
  file.firstWeek = std::min(file.firstWeek.value_or(columns.week), columns.week);
  file.lastWeek = std::max(file.lastWeek.value_or(columns.week), columns.week);
  file.bounds.Add(columns.latitude, columns.longitude, columns.height);
}

}  // namespace

PosFile ReadPosFile(const std::filesystem::path& path, const Log& messages,
                    const std::function<void(std::string_view line)>& keep) {
  PosFile file;
  LineReader reader(path);
  Progress progress(messages.ShowsProgress(), "reading the POS file", "lines");
  PosColumns columns;
  for (std::string_view line; reader.NextOfText(line); progress.Step(reader.BytesRead(), reader.FileSize())) {
    if (++file.counts.lines == 1) line = WithoutByteOrderMark(line);
    const PosLineKind kind = ClassifyPos(line, columns);
    Note(kind, file.counts);
    if (kind != PosLineKind::Sample) continue;
    AddSample(columns, file);
    keep(line);
  }
  return file;
}

void WarnOfPosLines(const PosCounts& counts, Log& log) {
  for (const auto& [kind, words, key] : kLeftOutPosLines) {
    if (kind == PosLineKind::Comment || kind == PosLineKind::Blank || counts.Of(kind) == 0) continue;
    log.Warn("POS: {} {}, first line {}: left out", Counted(counts.Of(kind), "line"), words,
             counts.firstLines[static_cast<std::size_t>(kind)]);
  }
}

std::string LeftOutText(const PosCounts& counts) {
  std::string text;
  for (const auto& [kind, words, key] : kLeftOutPosLines) {
    if (counts.Of(kind) > 0) text += fmt::format("{}{} {}", text.empty() ? "" : ", ", counts.Of(kind), words);
  }
  return text;
}

}  // namespace kv::mission
