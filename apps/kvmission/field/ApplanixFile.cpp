#include "field/ApplanixFile.h"

#include <KVUtilities.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "Failure.h"
#include "System.h"
#include "field/LineReader.h"
#include "field/PosLine.h"

namespace kv::mission {
namespace {

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// "WGS84, TM" of a line "Mapping frame datum: WGS84  ; Mapping frame projection : TM;".
std::string FrameOf(const std::filesystem::path& path) {
  constexpr std::string_view kFrame = "Mapping frame ";
  std::string frame;
  LineReader reader(path);
  for (std::string_view line; reader.NextOfText(line) && !EndsApplanixHeader(line);) {
    if (!Trimmed(line).starts_with(kFrame)) continue;
    for (std::size_t colon; (colon = line.find(':')) != std::string_view::npos;) {
      line.remove_prefix(colon + 1);
      const std::size_t end = std::min(line.find(';'), line.size());
      frame += fmt::format("{}{}", frame.empty() ? "" : ", ", Trimmed(line.substr(0, end)));
      line.remove_prefix(end);
    }
  }
  return frame;
}

bool IsInRange(const tagKVPosEvent& sample) {
  constexpr double kLargestHeight = 1e5;  // metres
  return HasTime(sample) && std::abs(sample.Latitude) <= kLargestLatitude &&
         std::abs(sample.Longitude) <= kLargestLongitude && std::abs(sample.Height) <= kLargestHeight;
}

}  // namespace

bool EndsApplanixHeader(std::string_view line) { return Trimmed(line).starts_with("(time in Sec"); }

ApplanixFile ReadApplanixFile(const std::filesystem::path& path, Instant date, Log& log) {
  RefuseUnlessRegular(path);
  ApplanixFile file;
  file.frame = FrameOf(path);
  std::wstring report;
  file.samples = KVUtilities::ScanApplanixPostProcessTrajectoryFile(WidePath(path), report);
  if (file.samples.empty() && !report.empty()) {
    // With a date the complaint is another one, or none, only where the header lacks a date.
    const std::wstring complaint = std::exchange(report, {});
    file.samples = KVUtilities::ScanApplanixPostProcessTrajectoryFile(ToFileTime(date), WidePath(path), report);
    file.isDated = report == complaint;
  }
  if (file.samples.empty() && !report.empty())
    throw Failure(fmt::format("{}: no sample: {}", Utf8(path), Utf8(report)));
  file.report = Utf8(report);
  if (!report.empty()) log.Warn("post-processed trajectory: {}", file.report);
  file.outOfRange = std::erase_if(file.samples, [](const tagKVPosEvent& sample) { return !IsInRange(sample); });
  if (file.outOfRange > 0)
    log.Warn("post-processed trajectory: {} with a time or place out of range: left out",
             Counted(file.outOfRange, "row"));
  for (const auto& sample : file.samples) {
    file.span.Add(FromFileTime(sample.TimeUTC));
    file.bounds.Add(sample.Latitude, sample.Longitude, sample.Height);
  }
  return file;
}

}  // namespace kv::mission
