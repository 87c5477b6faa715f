#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "georef/EventTypes.h"
#include "platform/FileNames.h"
#include "readers/ByteOrderMark.h"
#include "readers/FieldFile.h"
#include "readers/NumberedPhotos.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"

namespace {

using Tokens = std::span<std::wstring_view>;

// The path follows.
constexpr const wchar_t* kNoFile = L"Error scanning Timestamp file. File does not exist.\n\n";
constexpr const wchar_t* kOneWithoutPhoto = L"There was one Timestamp without a matching Image.";
constexpr const wchar_t* kSomeWithoutPhotos =
    L" Timestamps without matching Images.";  // after "There were" and a number

constexpr std::size_t kFewestTokens = 14;
constexpr std::int32_t kOnlyCamera = 1;

struct Exposures {
  std::vector<tagKVSystemEvent> events;
  std::vector<std::int32_t> photoNumbers;  // of the events
};

// The week stands in brackets.
std::optional<std::int32_t> Week(std::wstring_view token) {
  std::array<wchar_t, kv::kLongestBoundedLine> digits;
  const auto end =
      std::copy_if(token.begin(), token.end(), digits.begin(), [](wchar_t c) { return c != L'[' && c != L']'; });
  return kv::WholeInteger32(std::wstring_view(digits.begin(), end));
}

void ReadExposure(Tokens tokens, Exposures& exposures) {
  if (tokens.size() < kFewestTokens) return;
  const auto number = kv::WholeInteger32(tokens[0]);
  const auto seconds = kv::WholeDouble(tokens[1]);
  const auto week = Week(tokens[2]);
  const auto latitude = kv::WholeDouble(tokens[9]);
  const auto longitude = kv::WholeDouble(tokens[11]);
  const auto height = kv::WholeDouble(tokens[13]);
  if (!number || !seconds || !week || !latitude || !longitude || !height) return;

  exposures.photoNumbers.push_back(*number);
  tagKVSystemEvent& event = exposures.events.emplace_back();
  TimeConverter::GPSWkSecsToAdjGPSSecs(*week, *seconds, event.AdjGpsSec);
  std::int64_t ticks = 0;
  TimeConverter::AdjGPSSecsToWindowsFiletime(event.AdjGpsSec, ticks);
  event.TimeUTC = kv::FileTimeFromTicks(static_cast<std::uint64_t>(ticks));
  event.SystemTimeUTC = kv::SystemTimeOrZero(event.TimeUTC);
  event.Type = kv::kCameraEvent;
  event.CameraID = kOnlyCamera;
  event.Latitude = *latitude;
  event.Longitude = *longitude;
  event.Altitude = *height;
}

Exposures ReadExposures(const std::wstring& path, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  Exposures exposures;
  // Unlike for the mission's other files, a missing one is an error, on purpose: there is no mission without it.
  if (!kv::PathExists(path)) {
    error = kNoFile + path;
    return exposures;
  }
  kv::ByteOrderMark mark(kv::ByteOrderMark::Bytes::OneCharacterEach);
  constexpr kv::Delimiters kDelimiters("\t, ");
  kv::ForEachBoundedLine(path, kDelimiters, [&](std::wstring_view line, Tokens tokens) {
    const std::wstring_view text = mark.Skip(line);
    if (text.size() < line.size()) tokens = kv::Tokenise(text, kDelimiters, tokens);
    ReadExposure(tokens, exposures);
  });
  return exposures;
}

}  // namespace

std::vector<tagKVSystemEvent> KVUtilities::ScanDjiTimestampFileWithoutImages(std::wstring path, std::wstring& error) {
  return ReadExposures(path, error).events;
}

std::vector<tagKVSystemEvent> KVUtilities::ScanDjiTimestampFile(std::wstring path, std::wstring photoFolder,
                                                                std::wstring& error) {
  auto [events, photoNumbers] = ReadExposures(path, error);
  if (!error.empty()) return {};
  const kv::NumberedPhotos photos(photoFolder);
  std::size_t withoutPhoto = 0;
  for (std::size_t i = 0; i < events.size(); ++i) {
    events[i].PhotoPath = photos.PathOf(photoNumbers[i]).c_str();
    if (events[i].PhotoPath.IsEmpty()) ++withoutPhoto;
  }
  if (withoutPhoto == 1) error = kOneWithoutPhoto;
  if (withoutPhoto > 1) error = L"There were " + std::to_wstring(withoutPhoto) + kSomeWithoutPhotos;
  return events;
}
