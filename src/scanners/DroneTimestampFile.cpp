#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "conversions/EventTypes.h"
#include "conversions/FileTimes.h"
#include "conversions/Numbers.h"
#include "conversions/TimeConverter.h"
#include "platform/FileNames.h"
#include "scanners/FieldFile.h"
#include "scanners/NumberedPhotos.h"

namespace {

using Tokens = std::span<std::wstring_view>;

// The path follows.
constexpr const wchar_t* kNoFile = L"Error scanning Timestamp file. File does not exist.\n\n";
constexpr const wchar_t* kOneWithoutPhoto = L"There was one Timestamp without a matching Image.";
constexpr const wchar_t* kSomeWithoutPhotos =
    L" Timestamps without matching Images.";  // after "There were" and a number

constexpr std::size_t kFewestTokens = 14;
constexpr std::int32_t kOnlyCamera = 1;
constexpr std::wstring_view kByteOrderMark = L"\u00EF\u00BB\u00BF";  // as single bytes are read

struct Exposure {
  std::int32_t photoNumber;
  tagKVSystemEvent event;
};

// The week stands in brackets.
std::optional<std::int32_t> Week(std::wstring_view token) {
  std::wstring digits(token);
  std::erase_if(digits, [](wchar_t c) { return c == L'[' || c == L']'; });
  return kv::WholeInteger32(digits);
}

std::optional<Exposure> ReadExposure(Tokens tokens) {
  if (tokens.size() < kFewestTokens) return {};
  const auto number = kv::WholeInteger32(tokens[0]);
  const auto seconds = kv::WholeDouble(tokens[1]);
  const auto week = Week(tokens[2]);
  const auto latitude = kv::WholeDouble(tokens[9]);
  const auto longitude = kv::WholeDouble(tokens[11]);
  const auto height = kv::WholeDouble(tokens[13]);
  if (!number || !seconds || !week || !latitude || !longitude || !height) return {};

  Exposure exposure{*number, {}};
  tagKVSystemEvent& event = exposure.event;
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
  return exposure;
}

std::vector<Exposure> ReadExposures(const std::wstring& path, std::wstring& error) {
  error.clear();
  TimeConverter::Init();
  std::vector<Exposure> exposures;
  // Unlike for the mission's other files, a missing one is an error, on purpose: there is no mission without it.
  if (!kv::PathExists(path)) {
    error = kNoFile + path;
    return exposures;
  }
  bool isFirst = true;
  kv::ForEachBoundedLine(path, kv::Delimiters("\t, "), [&](std::wstring_view, Tokens tokens) {
    if (isFirst && !tokens.empty() && tokens[0].starts_with(kByteOrderMark)) {
      tokens[0].remove_prefix(kByteOrderMark.size());
    }
    isFirst = false;
    if (auto exposure = ReadExposure(tokens)) exposures.push_back(std::move(*exposure));
  });
  return exposures;
}

}  // namespace

std::vector<tagKVSystemEvent> KVUtilities::ScanDjiTimestampFileWithoutImages(std::wstring path, std::wstring& error) {
  std::vector<tagKVSystemEvent> events;
  for (Exposure& exposure : ReadExposures(path, error)) events.push_back(std::move(exposure.event));
  return events;
}

std::vector<tagKVSystemEvent> KVUtilities::ScanDjiTimestampFile(std::wstring path, std::wstring photoFolder,
                                                                std::wstring& error) {
  std::vector<Exposure> exposures = ReadExposures(path, error);
  if (!error.empty()) return {};
  const kv::NumberedPhotos photos(photoFolder);
  std::vector<tagKVSystemEvent> events;
  std::size_t withoutPhoto = 0;
  for (Exposure& exposure : exposures) {
    exposure.event.PhotoPath = photos.PathOf(exposure.photoNumber).c_str();
    if (exposure.event.PhotoPath.IsEmpty()) ++withoutPhoto;
    events.push_back(std::move(exposure.event));
  }
  if (withoutPhoto == 1) error = kOneWithoutPhoto;
  if (withoutPhoto > 1) error = L"There were " + std::to_wstring(withoutPhoto) + kSomeWithoutPhotos;
  return events;
}
