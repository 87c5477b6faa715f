#include "mission/inputs/PosFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

#include "mission/inputs/GeoidHeights.h"
#include "mission/inputs/LeftOut.h"
#include "mission/inputs/PostProcessed.h"
#include "mission/inputs/Trajectory.h"
#include "platform/FileNames.h"
#include "readers/PosLine.h"
#include "time/FileTimes.h"
#include "time/Instants.h"
#include "time/TimeConverter.h"

namespace kv::mission {
namespace {

constexpr std::size_t kLinesAtOnce = 1024;

void Note(PosLineKind kind, std::size_t number, PosCounts& counts) {
  const auto index = static_cast<std::size_t>(kind);
  ++counts.lines;
  if (counts.kinds[index]++ == 0) counts.firstLines[index] = number;
}

void AddWeek(std::int32_t week, PosFile& file) {
  file.firstWeek = std::min(file.firstWeek.value_or(week), week);
  file.lastWeek = std::max(file.lastWeek.value_or(week), week);
}

void AddSigmas(std::pair<float, float> sigmas, PosFile& file) {
  const auto [least, greatest] = file.horizontalSigmas.value_or(sigmas);
  file.horizontalSigmas = {std::min(least, sigmas.first), std::max(greatest, sigmas.second)};
}

void AddForm(const std::string& form, PosFile& file) {
  if (std::find(file.forms.begin(), file.forms.end(), form) == file.forms.end()) file.forms.push_back(form);
}

/// Reads lines and calls `take` with each sample.
/// @param take  (const PosLineReader&, line number)
template <typename Take>
void ReadLines(const PosLines& lines, PosFile& file, Take take) {
  PosLineReader reader(lines.form);
  bool wasAssumed = false;
  for (std::string_view rest = lines.text; !rest.empty();) {
    const std::size_t length = rest.find('\n');
    const PosLineKind kind = reader.Read(rest.substr(0, length));
    rest.remove_prefix(length + 1);
    const std::size_t number = lines.before + file.counts.lines + 1;
    Note(kind, number, file.counts);
    if (kind != PosLineKind::Sample) continue;
    if (file.forms.empty() || reader.IsScaleAssumed() != wasAssumed) AddForm(reader.FormText(), file);
    wasAssumed = reader.IsScaleAssumed();
    file.scaleAssumed += wasAssumed;
    const PosNumbers& numbers = reader.Numbers();
    AddWeek(numbers.week, file);
    file.bounds.Add(numbers.latitude, numbers.longitude, numbers.height);
    take(reader, number);
  }
  if (file.counts.Of(PosLineKind::Sample) == 0) return;
  file.datum = lines.form.datum;
  file.heightsAboveGeoid = lines.form.heightsAboveGeoid;
}

/// What a description has besides the counts.
void Describe(const PosLineReader& reader, PosFile& file) {
  double adjGpsSeconds = 0;
  std::int64_t time = 0;
  const PosNumbers& numbers = reader.Numbers();
  TimeConverter::GPSWkSecsToAdjGPSSecs(numbers.week, numbers.secondsOfWeek, adjGpsSeconds);
  TimeConverter::AdjGPSSecsToWindowsFiletime(adjGpsSeconds, time);
  if (time > 0) file.span.Add(FromFileTime(FileTimeFromTicks(static_cast<std::uint64_t>(time))));
  if (const int figure = reader.QualityFigure(); figure > 0) ++file.qualities[figure];
  if (const float sigma = reader.Quality().horizontalSigma; sigma > 0) AddSigmas({sigma, sigma}, file);
}

RawFix FixOf(const PosLineReader& reader, PosClock& clock) {
  tagKVPosEvent timed;
  double adjGpsSeconds = 0;
  const PosNumbers& numbers = reader.Numbers();
  TimeConverter::GPSWkSecsToAdjGPSSecs(numbers.week, numbers.secondsOfWeek, adjGpsSeconds);
  clock.SetTime(adjGpsSeconds, timed);
  RawFix fix;
  fix.TimeUTC = timed.TimeUTC, fix.SystemTimeUTC = timed.SystemTimeUTC, fix.AdjGpsSec = timed.AdjGpsSec;
  fix.Latitude = numbers.latitude, fix.Longitude = numbers.longitude, fix.Altitude = numbers.height;
  fix.quality = reader.Quality();
  return fix;
}

/// "a header without solutions", "a table of places without times"; empty when there are samples
std::string WhyNoSamples(const PosCounts& counts, const PosForm& form) {
  if (counts.Of(PosLineKind::Sample) > 0) return {};
  if (!form.heightUnit.empty()) return "heights in " + form.heightUnit + ", not in metres";
  if (form.isTimeless) return "a table of places without times, such as a list of stations";
  if (counts.Dropped() == 0) return form != PosForm() ? "a header without solutions" : "comments or blank lines alone";
  if (counts.Of(PosLineKind::Baseline) > 0) return "baselines, and the header gives no reference position";
  return "not the columns of a POS file";
}

}  // namespace

bool TakeLines(LineReader& reader, PosHeader& header, std::size_t count, PosLines& lines) {
  constexpr std::size_t kManyBytes = 4 * 1024 * 1024;
  lines.text.clear();
  lines.before = reader.Number();
  lines.form = header.Form();
  bool hasData = false;
  const auto isFull = [&] { return reader.Number() - lines.before == count || lines.text.size() >= kManyBytes; };
  for (std::string_view line; !isFull() && reader.Next(line);) {
    (lines.text += line) += '\n';
    if (BeginsNumber(line)) {
      if (!hasData) header.EndBlock();
      hasData = true;
    } else {
      header.ReadComment(line);
      if (!hasData) lines.form = header.Form();
      if (header.Form() != lines.form) break;  // the lines after it have another form
    }
  }
  return reader.Number() > lines.before;
}

PosPart ReadPosLines(const PosLines& lines, PosDetail wanted, std::vector<tagKVPosEvent> room) {
  PosPart part;
  part.samples = std::move(room);
  PosSampleReader records(Calendar::Utc);
  std::size_t used = 0;
  const auto next = [&]() -> tagKVPosEvent& {
    return used++ < part.samples.size() ? part.samples[used - 1] : part.samples.emplace_back();
  };
  ReadLines(lines, part.file, [&](const PosLineReader& reader, std::size_t number) {
    part.lines.push_back(number);
    if (wanted == PosDetail::Places) records.ReadPlace(reader.Numbers(), next());
    if (wanted == PosDetail::Records) records.Read(reader.Tokens(), reader.Numbers(), next());
  });
  part.samples.resize(used);
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
  for (const auto& form : next.forms) AddForm(form, file);
  if (file.datum.empty()) file.datum = next.datum;
  file.heightsAboveGeoid = file.heightsAboveGeoid || next.heightsAboveGeoid;
  file.scaleAssumed += next.scaleAssumed;
  for (const auto& time : {next.span.first, next.span.last}) {
    if (time) file.span.Add(*time);
  }
  for (const auto& [figure, count] : next.qualities) file.qualities[figure] += count;
  if (next.horizontalSigmas) AddSigmas(*next.horizontalSigmas, file);
  file.bounds.Add(next.bounds);
}

PosFile ReadPosFile(const std::filesystem::path& path, Job& job) {
  PosFile file;
  PosHeader header;
  LineReader reader(path, CtrlZ::EndsText, job, "reading the POS file");
  for (PosLines lines; TakeLines(reader, header, kLinesAtOnce, lines);) {
    PosFile part;
    ReadLines(lines, part, [&](const PosLineReader& line, std::size_t) { Describe(line, part); });
    Append(part, file);
  }
  file.complaint = WhyNoSamples(file.counts, header.Form());
  TellOfPosFile(file, job);
  return file;
}

void TellOfPosFile(const PosFile& file, Job& job) {
  const PosCounts& counts = file.counts;
  for (const auto& [kind, words, key] : kLeftOutPosLines) {
    if (kind == PosLineKind::Comment || kind == PosLineKind::Blank || counts.Of(kind) == 0) continue;
    const std::size_t first = counts.firstLines[static_cast<std::size_t>(kind)];
    job.Add(Found::PosLinesLeftOut,
            {{"count", Count(counts.Of(kind))}, {"reason", words}, {"kind", key}, {"line", Count(first)}},
            {.line = first});
  }
  if (file.scaleAssumed > 0) job.Add(Found::PosTimeSystemAssumed, {{"count", Count(file.scaleAssumed)}});
  if (!file.datum.empty() && file.datum != "WGS84") job.Add(Found::PosDatumOther, {{"datum", file.datum}});
  if (!file.complaint.empty()) job.Add(Found::PosWithoutSamples, {{"reason", file.complaint}});
}

void RefuseWithoutSample(const std::filesystem::path& path, const PosCounts& counts, const PosForm& form) {
  const std::string why = WhyNoSamples(counts, form), leftOut = LeftOutText(counts);
  if (!why.empty())
    throw Failure(fmt::format("{}: no sample in {}: {}{}", Utf8(path), Counted(counts.lines, "line"), why,
                              leftOut.empty() ? "" : fmt::format(" ({})", leftOut)));
}

Trajectory ReadPosTrajectory(const std::filesystem::path& path, double maxGapSeconds, Job& job) {
  PosFile file;
  PosHeader header;
  PosClock clock(Calendar::Utc);
  std::vector<RawFix> fixes;
  std::optional<GeoidHeights> geoid;
  LineReader reader(path, CtrlZ::EndsText, job, "reading the trajectory");
  for (PosLines lines; TakeLines(reader, header, kLinesAtOnce, lines);) {
    const std::size_t before = fixes.size();
    PosFile part;
    ReadLines(lines, part, [&](const PosLineReader& line, std::size_t) { fixes.push_back(FixOf(line, clock)); });
    Append(part, file);
    if (!lines.form.heightsAboveGeoid || fixes.size() == before) continue;
    if (!geoid) geoid.emplace(path, job);
    geoid->Apply(std::span(fixes).subspan(before));
  }
  RefuseWithoutSample(path, file.counts, header.Form());
  TellOfPosFile(file, job);
  return TrajectoryOf(path, std::move(fixes), false, maxGapSeconds, job);
}

}  // namespace kv::mission
