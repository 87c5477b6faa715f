#include "mission/inputs/Inputs.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <optional>
#include <string>

#include "photos/PhotoFolder.h"
#include "platform/FileNames.h"
#include "readers/DroneExposure.h"
#include "readers/LineReader.h"
#include "readers/NumberedPhotos.h"
#include "text/Blanks.h"
#include "text/Tokens.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr std::int32_t kLastWeek = 417'993;  // begins in the year 9990; layers have four digits for a year
constexpr double kSecondsOfWeek = 604'800, kLargestHeight = 1e5;

bool IsInRange(const DroneExposure& exposure) {
  return exposure.week >= 0 && exposure.week <= kLastWeek && exposure.secondsOfWeek >= 0 &&
         exposure.secondsOfWeek <= kSecondsOfWeek && std::abs(exposure.latitude) <= 90 &&
         std::abs(exposure.longitude) <= 360 && std::abs(exposure.height) <= kLargestHeight;
}

std::optional<DroneExposure> ExposureIn(std::string_view line) {
  if (line.size() > kLongestBoundedLine) return std::nullopt;
  std::array<std::string_view, kDroneTokens> tokens;
  const auto exposure = ReadDroneExposure(Tokenise(line, kDroneDelimiters, tokens));
  return exposure && IsInRange(*exposure) ? exposure : std::nullopt;
}

/// The photos of a folder by number.
class PhotosByNumber {
 public:
  explicit PhotosByNumber(const std::filesystem::path& folder)
      : photos_(WidePath(Checked(folder))), nameAt_(PhotoNameAt(folder)) {}

  /// @return an empty path when there is none
  CStringW PathOf(std::int32_t number) const {
    std::wstring path = photos_.PathOf(number);
    if (!path.empty()) path[nameAt_ - 1] = PhotoPathSeparator();
    return path.c_str();
  }

 private:
  static const std::filesystem::path& Checked(const std::filesystem::path& folder) {
    if (LibraryMisreads(folder))
      throw Failure(Utf8(folder) + ": a folder of numbered photos cannot have a backslash in its name");
    return folder;
  }

  NumberedPhotos photos_;
  std::size_t nameAt_;
};

}  // namespace

bool IsExposureLine(std::string_view line) { return ExposureIn(line).has_value(); }

TimestampFile ReadTimestampFile(const std::filesystem::path& path, const std::filesystem::path& photoFolder, Job& job) {
  RefuseUnlessRegular(path);
  std::optional<PhotosByNumber> photos;
  if (!photoFolder.empty()) photos.emplace(photoFolder);
  TimestampFile file;
  LineReader reader(path, CtrlZ::EndsText, job, "reading timestamps");
  for (std::string_view line; reader.Next(line);) {
    const auto exposure = ExposureIn(line);
    if (!exposure) {
      if (!WithoutBlanks(line, " \t").empty()) file.skipped.push_back(reader.Number());
      continue;
    }
    tagKVSystemEvent& event = file.events.emplace_back(EventOf(*exposure));
    if (photos) event.PhotoPath = photos->PathOf(exposure->photoNumber);
    file.photoNumbers.push_back(exposure->photoNumber);
    file.span.Add(FromFileTime(event.TimeUTC));
    file.bounds.Add(event.Latitude, event.Longitude, event.Altitude);
  }
  file.lines = reader.Number();
  if (file.events.empty()) throw Failure(fmt::format("{}: no exposure in {}", Utf8(path), Counted(file.lines, "line")));
  job.AddLines(Found::LinesLeftOut, "timestamps", file.skipped,
               {{"reason", "fewer than 14 fields, something else where a number belongs, or a number out of range"}},
               {.file = path});
  return file;
}

}  // namespace kv::mission
