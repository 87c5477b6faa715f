#include "mission/inputs/Inputs.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <optional>
#include <string>

#include "georef/FixQualities.h"
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

/// @param accuracy  filled for an exposure
std::optional<DroneExposure> ExposureIn(std::string_view line, DroneAccuracy& accuracy) {
  if (line.size() > kLongestBoundedLine) return std::nullopt;
  std::array<std::string_view, kAllDroneTokens> room;
  const auto tokens = Tokenise(line, kDroneDelimiters, room);
  const auto exposure = ReadDroneExposure(tokens);
  if (!exposure || !IsInRange(*exposure)) return std::nullopt;
  accuracy = ReadDroneAccuracy(tokens);
  return exposure;
}

PositionQuality QualityOf(std::optional<std::int32_t> flag) {
  switch (flag.value_or(0)) {
    case 16:
      return PositionQuality::Single;
    case 34:
      return PositionQuality::Float;
    case 50:
      return PositionQuality::Fixed;
    default:
      return PositionQuality::None;
  }
}

/// Deviations of 0 are those of a drone that does not know them.
FixQuality QualityOf(const DroneAccuracy& accuracy) {
  FixQuality quality;
  quality.quality = QualityOf(accuracy.flag);
  if (!accuracy.deviations) return quality;
  const auto& [north, east, vertical] = *accuracy.deviations;
  if (north > 0 && east > 0) quality.horizontalSigma = HorizontalSigma(north, east);
  if (vertical > 0) quality.verticalSigma = static_cast<float>(vertical);
  return quality;
}

AntennaOffset OffsetOf(const DroneAccuracy& accuracy) {
  if (!accuracy.offset) return {};
  const auto& [north, east, down] = *accuracy.offset;
  return {north / 1000, east / 1000, down / 1000};
}

void TellOfCoarsePlaces(const TimestampFile& file, Job& job) {
  constexpr float kCoarse = 1;  // metres
  std::size_t coarse = 0, single = 0;
  float largest = 0;
  for (const FixQuality& quality : file.qualities) {
    const bool isSingle = quality.quality == PositionQuality::Single;
    coarse += isSingle || quality.horizontalSigma >= kCoarse || quality.verticalSigma >= kCoarse;
    single += isSingle;
    for (const float sigma : {quality.horizontalSigma, quality.verticalSigma}) largest = std::fmax(largest, sigma);
  }
  if (coarse > 0)
    job.Add(Found::PlacesCoarse, {{"count", Count(coarse)},
                                  {"exposures", Count(file.qualities.size())},
                                  {"single", Count(single)},
                                  {"metres", double{largest}}});
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

bool IsExposureLine(std::string_view line) {
  DroneAccuracy accuracy;
  return ExposureIn(line, accuracy).has_value();
}

TimestampFile ReadTimestampFile(const std::filesystem::path& path, const std::filesystem::path& photoFolder, Job& job) {
  RefuseUnlessRegular(path);
  std::optional<PhotosByNumber> photos;
  if (!photoFolder.empty()) photos.emplace(photoFolder);
  TimestampFile file;
  LineReader reader(path, CtrlZ::EndsText, job, "reading timestamps");
  DroneAccuracy accuracy;
  for (std::string_view line; reader.Next(line);) {
    const auto exposure = ExposureIn(line, accuracy);
    if (!exposure) {
      if (!WithoutBlanks(line, " \t").empty()) file.skipped.push_back(reader.Number());
      continue;
    }
    tagKVSystemEvent& event = file.events.emplace_back(EventOf(*exposure));
    if (photos) event.PhotoPath = photos->PathOf(exposure->photoNumber);
    file.photoNumbers.push_back(exposure->photoNumber);
    file.qualities.push_back(QualityOf(accuracy));
    file.offsets.push_back(OffsetOf(accuracy));
    file.span.Add(FromFileTime(event.TimeUTC));
    file.bounds.Add(event.Latitude, event.Longitude, event.Altitude);
  }
  file.lines = reader.Number();
  if (file.events.empty()) throw Failure(fmt::format("{}: no exposure in {}", Utf8(path), Counted(file.lines, "line")));
  job.AddLines(Found::LinesLeftOut, "timestamps", file.skipped,
               {{"reason", "fewer than 14 fields, something else where a number belongs, or a number out of range"}},
               {.file = path});
  TellOfCoarsePlaces(file, job);
  return file;
}

}  // namespace kv::mission
