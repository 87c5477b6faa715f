#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "platform/FileNames.h"
#include "platform/TextStream.h"
#include "readers/DroneExposure.h"
#include "readers/FieldFile.h"
#include "readers/NumberedPhotos.h"
#include "text/Blanks.h"

namespace {

// The path follows.
constexpr const wchar_t* kNoFile = L"Error scanning Timestamp file. File does not exist.\n\n";
constexpr const wchar_t* kOneWithoutPhoto = L"There was one Timestamp without a matching Image.";
constexpr const wchar_t* kSomeWithoutPhotos =
    L" Timestamps without matching Images.";  // after "There were" and a number

struct Exposures {
  std::vector<tagKVSystemEvent> events;
  std::vector<std::int32_t> photoNumbers;  // of the events
};

Exposures ReadExposures(const std::wstring& path, std::wstring& error) {
  error.clear();
  Exposures exposures;
  // Unlike the mission's other files, a missing one is an error, on purpose: without it there is no mission.
  if (!kv::PathExists(path)) {
    error = kNoFile + path;
    return exposures;
  }
  kv::ByteOrderMark mark;
  std::array<std::string_view, kv::kDroneTokens> tokens;
  kv::TextStream file(path);
  for (std::string_view line; file.ReadLine(line, kv::kLongestBoundedLine);) {
    const auto exposure = kv::ReadDroneExposure(kv::Tokenise(mark.Skip(line), kv::kDroneDelimiters, tokens));
    if (!exposure) continue;
    exposures.photoNumbers.push_back(exposure->photoNumber);
    exposures.events.push_back(kv::EventOf(*exposure));
  }
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
