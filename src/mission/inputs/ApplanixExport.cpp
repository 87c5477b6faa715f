#include "mission/inputs/Inputs.h"

#include <fmt/format.h>

#include <cmath>
#include <string>

#include "mission/inputs/PostProcessed.h"
#include "platform/FileNames.h"
#include "readers/ApplanixSamples.h"
#include "readers/LineReader.h"
#include "readers/PosLine.h"
#include "text/Blanks.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

bool IsInRange(const tagKVPosEvent& sample) {
  constexpr double kLargestHeight = 1e5;  // metres
  return HasTime(sample) && std::abs(sample.Latitude) <= kLargestLatitude &&
         std::abs(sample.Longitude) <= kLargestLongitude && std::abs(sample.Height) <= kLargestHeight;
}

/// "WGS84, TM"
std::string FrameOf(const ApplanixReader& reader) {
  std::string frame = Utf8(std::wstring(reader.Datum()));
  const std::string projection = Utf8(std::wstring(reader.Projection()));
  if (!frame.empty() && !projection.empty()) frame += ", ";
  return frame + projection;
}

}  // namespace

bool EndsApplanixHeader(std::string_view line) { return WithoutBlanks(line).starts_with("(time in Sec"); }

ApplanixExport ReadApplanixExport(const std::filesystem::path& path, Instant date, Job& job) {
  RefuseUnlessRegular(path);
  ApplanixExport file;
  ApplanixReader reader(Calendar::Utc);
  LineReader lines(path, CtrlZ::EndsText, job, "reading the Applanix export");
  for (std::string_view line; lines.Next(line);) {
    const bool wasInRows = reader.IsInRows();
    reader.Read(line, file.samples);
    if (wasInRows || !reader.IsInRows()) continue;
    if (!reader.MissingColumns().empty()) break;
    file.isDated = reader.IsDated();
    if (!file.isDated) reader.BeginAt(ToFileTime(date));
  }
  if (const std::wstring missing = reader.MissingColumns(); !missing.empty())
    throw Failure(fmt::format("{}: no sample: the header names no {}", Utf8(path), Utf8(missing)));
  file.unreadable = reader.Skipped();
  if (!file.samples.empty()) file.frame = FrameOf(reader);
  const Subject subject{.file = path};
  if (file.unreadable > 0) job.Add(Found::RowsUnreadable, {{"count", Count(file.unreadable)}}, subject);
  file.outOfRange = std::erase_if(file.samples, [](const tagKVPosEvent& sample) { return !IsInRange(sample); });
  if (file.outOfRange > 0) job.Add(Found::RowsOutOfRange, {{"count", Count(file.outOfRange)}}, subject);
  file.outOfOrder = LeaveOutOutliers(file.samples, job);
  for (const auto& sample : file.samples) {
    file.span.Add(FromFileTime(sample.TimeUTC));
    file.bounds.Add(sample.Latitude, sample.Longitude, sample.Height);
  }
  return file;
}

}  // namespace kv::mission
