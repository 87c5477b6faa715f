#include "readers/NumberedPhotos.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/FileNames.h"
#include "platform/FolderListing.h"
#include "text/Numbers.h"

namespace kv {
namespace {

const std::vector<std::wstring> kExtensions = {L".jpg", L".JPG", L".jpeg", L".JPEG", L".dng", L".DNG"};

constexpr wchar_t kHidden = L'.';                  // a Mac puts a file "._NAME" beside each one on a card
constexpr std::wstring_view kSeparators = L"\\/";  // between folder and name, unlike the colon of a drive

constexpr bool IsSeparator(wchar_t c) { return c == L'_' || c == L'-'; }
constexpr bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
constexpr bool IsLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }

// "100_0067_0012", "_W" of DJI_100_0067_0012_W: sensors mark their photos with separators and letters at the end.
std::pair<std::wstring_view, std::wstring_view> SplitSuffix(std::wstring_view stem) {
  std::size_t end = stem.size();
  for (std::size_t at = end; at > 0;) {
    while (at > 0 && IsLetter(stem[at - 1])) --at;
    if (at == end || at == 0 || !IsSeparator(stem[at - 1])) break;
    end = --at;
  }
  return {stem.substr(0, end), stem.substr(end)};
}

std::optional<std::int64_t> NumberAtEnd(std::wstring_view text) {
  std::size_t begin = text.size();
  while (begin > 0 && IsDigit(text[begin - 1])) --begin;
  if (begin > 0 && !IsSeparator(text[begin - 1])) return {};
  return WholeInteger(text.substr(begin));
}

// Of several photos of one exposure the one without a sensor's mark is best, then the wide or visible-light one; of
// each kind JPEG before raw.
int RankOf(std::wstring_view suffix, std::wstring_view extension) {
  const auto isMark = [&](wchar_t letter) {
    return suffix.size() == 2 && suffix[0] == L'_' && (suffix[1] == letter || suffix[1] == letter - L'A' + L'a');
  };
  const bool isMain = isMark(L'W') || isMark(L'V') || isMark(L'D');
  const bool isRaw = extension == L".dng" || extension == L".DNG";
  return 2 * (suffix.empty() ? 0 : isMain ? 1 : 2) + (isRaw ? 1 : 0);
}

bool IsRegularFile(const std::wstring& path) {
  std::error_code unknown;
  return std::filesystem::is_regular_file(NativePath(path), unknown);
}

}  // namespace

NumberedPhotos::NumberedPhotos(const std::wstring& folder) {
  if (folder.empty()) return;
  folder_ = folder.substr(0, folder.find_last_not_of(kSeparators) + 1);
  std::vector<std::wstring> files;
  const std::wstring prefix = folder_ + L'\\';
  GetFilesInFolder(prefix, kExtensions, false, files);
  for (const std::wstring& file : files) {
    const std::wstring_view name = std::wstring_view(file).substr(prefix.size());
    if (name.starts_with(kHidden)) continue;
    const std::size_t point = name.rfind(L'.');
    const auto [numbered, suffix] = SplitSuffix(name.substr(0, point));
    const auto number = NumberAtEnd(numbered);
    if (!number) continue;
    photos_.push_back({*number, RankOf(suffix, name.substr(point)), std::wstring(name)});
  }
  // Among equals the first by name, which is the order of the list.
  std::stable_sort(photos_.begin(), photos_.end(), [](const Photo& a, const Photo& b) {
    return std::tie(a.number, a.rank) < std::tie(b.number, b.rank);
  });
}

std::wstring NumberedPhotos::PathOf(std::int64_t number) const {
  const auto isBefore = [](const Photo& photo, std::int64_t sought) { return photo.number < sought; };
  // The list has pipes and links that lead nowhere, too. To ask only of what would be taken is mostly once a number.
  for (auto photo = std::lower_bound(photos_.begin(), photos_.end(), number, isBefore);
       photo != photos_.end() && photo->number == number; ++photo) {
    std::wstring path = folder_ + L'\\' + photo->name;
    if (IsRegularFile(path)) return path;
  }
  return {};
}

}  // namespace kv
