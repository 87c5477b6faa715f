#include "mission/inputs/PosFile.h"

#include <algorithm>

#include "text/Blanks.h"

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

void AddSample(const PosColumns& columns, std::size_t number, PosFile& file) {
  file.sampleLines.push_back(number);
  AddWeek(columns.week, file);
  file.bounds.Add(columns.latitude, columns.longitude, columns.height);
}

}  // namespace

void PosCounts::Append(const PosCounts& next) {
  for (std::size_t kind = 0; kind < kPosLineKinds; ++kind) {
    if (kinds[kind] == 0) firstLines[kind] = next.firstLines[kind];
    kinds[kind] += next.kinds[kind];
  }
  lines += next.lines;
}

void PosFile::Append(const PosFile& next) {
  counts.Append(next.counts);
  sampleLines.insert(sampleLines.end(), next.sampleLines.begin(), next.sampleLines.end());
  for (const auto& week : {next.firstWeek, next.lastWeek}) {
    if (week) AddWeek(*week, *this);
  }
  bounds.Add(next.bounds);
}

PosReader::PosReader(const std::filesystem::path& path, const Log& messages)
    : reader_(path, CtrlZ::EndsText), progress_(messages.ShowsProgress(), "reading the POS file", "lines") {}

bool PosReader::Take(std::size_t count, PosLines& lines) {
  constexpr std::size_t kManyBytes = 4 * 1024 * 1024;
  lines.text.clear();
  lines.before = given_;
  const auto isFull = [&] { return given_ - lines.before == count || lines.text.size() >= kManyBytes; };
  for (std::string_view line; !isFull() && reader_.Next(line);) {
    lines.text += given_ == 0 ? WithoutByteOrderMark(line) : line;
    lines.text += line.ends_with('\r') ? "\r\n" : "\n";  // the line keeps its CR where the scan takes one away
    ++given_;
    progress_.Step(reader_.BytesRead(), reader_.FileSize());
  }
  return given_ > lines.before;
}

PosFile KeepSamples(PosLines& lines) {
  PosFile file;
  PosColumns columns;
  std::string& text = lines.text;
  std::size_t kept = 0;
  for (std::size_t begin = 0, end; begin < text.size(); begin = end) {
    end = text.find('\n', begin) + 1;
    const std::string_view line(text.data() + begin, end - begin);
    const std::size_t lineEnd = line.ends_with("\r\n") ? 2 : 1;
    const PosLineKind kind = ClassifyPos(line.substr(0, line.size() - lineEnd), columns);
    const std::size_t number = lines.before + file.counts.lines + 1;
    Note(kind, number, file.counts);
    if (kind != PosLineKind::Sample) continue;
    AddSample(columns, number, file);
    if (kept < begin) std::copy(line.begin(), line.end(), text.begin() + static_cast<std::ptrdiff_t>(kept));
    kept += line.size();
  }
  text.resize(kept);
  return file;
}

PosFile ReadPosFile(const std::filesystem::path& path, const Log& messages) {
  constexpr std::size_t kLinesAtOnce = 1024;
  PosFile file;
  PosReader reader(path, messages);
  for (PosLines lines; reader.Take(kLinesAtOnce, lines);) file.Append(KeepSamples(lines));
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
