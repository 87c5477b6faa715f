#include "field/ApplanixFile.h"

#include <KVUtilities.h>

#include <utility>

#include "Failure.h"
#include "System.h"
#include "field/LineReader.h"

namespace kv::mission {
namespace {

constexpr std::wstring_view kNoDate = L"holds no mission date.";  // end of the library's sentence

std::string TextOf(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

}  // namespace

bool EndsApplanixHeader(std::string_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  return line.starts_with("(time in Sec");
}

ApplanixFile ReadApplanixFile(const std::filesystem::path& path, std::optional<Instant> date, Log& log) {
  ReadBeginning(path, 1);  // a file that cannot be read says why
  ApplanixFile file;
  std::wstring report;
  file.samples = KVUtilities::ScanApplanixPostProcessTrajectoryFile(WidePath(path), report);
  if (file.samples.empty() && report.ends_with(kNoDate)) {
    if (!date) throw Failure(Utf8(path) + ": the header has no date; give it with --date YYYY-MM-DD");
    file.isDated = false;
    file.samples = KVUtilities::ScanApplanixPostProcessTrajectoryFile(ToFileTime(*date), WidePath(path), report);
  }
  if (file.samples.empty())
    throw Failure(fmt::format("{}: no sample{}{}", Utf8(path), report.empty() ? "" : ": ", Utf8(report)));
  file.report = Utf8(report);
  if (!report.empty()) log.Warn("post-processed trajectory: {}", file.report);
  file.frame = fmt::format("{}, {}", TextOf(file.samples[0].Extra1), TextOf(file.samples[0].Extra2));
  for (const auto& sample : file.samples) {
    file.span.Add(FromFileTime(sample.TimeUTC));
    file.bounds.Add(sample.Latitude, sample.Longitude, sample.Height);
  }
  return file;
}

}  // namespace kv::mission
