#include "mission/inputs/ApplanixExport.h"

#include <KVUtilities.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Failure.h"
#include "mission/inputs/PostProcessed.h"
#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "readers/PosLine.h"
#include "text/Blanks.h"

namespace kv::mission {
namespace {

/// "WGS84, TM": what the scan found in the header and gave every sample.
std::string FrameOf(const tagKVPosEvent& sample) {
  std::string frame = Utf8(std::wstring(sample.Extra1.GetString()));
  const std::string projection = Utf8(std::wstring(sample.Extra2.GetString()));
  if (!frame.empty() && !projection.empty()) frame += ", ";
  return frame + projection;
}

bool IsInRange(const tagKVPosEvent& sample) {
  constexpr double kLargestHeight = 1e5;  // metres
  return HasTime(sample) && std::abs(sample.Latitude) <= kLargestLatitude &&
         std::abs(sample.Longitude) <= kLargestLongitude && std::abs(sample.Height) <= kLargestHeight;
}

/// The library's other reports are of rows left out.
bool IsFailure(std::wstring_view report) { return report.starts_with(L"Error"); }

}  // namespace

bool EndsApplanixHeader(std::string_view line) { return WithoutBlanks(line).starts_with("(time in Sec"); }

ApplanixFile ReadApplanixFile(const std::filesystem::path& path, Instant date, Log& log) {
  RefuseUnlessRegular(path);
  ApplanixFile file;
  std::wstring report;
  file.samples = KVUtilities::ScanApplanixPostProcessTrajectoryFile(WidePath(path), report);
  if (IsFailure(report)) {
    // With a date the complaint is another one, or none, only where the header lacks a date.
    const std::wstring complaint = std::exchange(report, {});
    file.samples = KVUtilities::ScanApplanixPostProcessTrajectoryFile(ToFileTime(date), WidePath(path), report);
    file.isDated = report == complaint;
  }
  if (IsFailure(report)) throw Failure(fmt::format("{}: no sample: {}", Utf8(path), Utf8(report)));
  if (!file.samples.empty()) file.frame = FrameOf(file.samples.front());
  file.report = Utf8(report);
  if (!report.empty()) log.Warn("post-processed trajectory: {}", file.report);
  file.outOfRange = std::erase_if(file.samples, [](const tagKVPosEvent& sample) { return !IsInRange(sample); });
  if (file.outOfRange > 0)
    log.Warn("post-processed trajectory: {} with a time or place out of range: left out",
             Counted(file.outOfRange, "row"));
  file.outOfOrder = LeaveOutOutliers(file.samples, log);
  for (const auto& sample : file.samples) {
    file.span.Add(FromFileTime(sample.TimeUTC));
    file.bounds.Add(sample.Latitude, sample.Longitude, sample.Height);
  }
  return file;
}

}  // namespace kv::mission
