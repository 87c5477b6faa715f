#include "readers/NumberedPhotos.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <tuple>
#include <vector>

#include "platform/FileNames.h"
#include "platform/FolderListing.h"
#include "readers/PhotoNumber.h"

namespace kv {
namespace {

const std::vector<std::wstring> kExtensions = {L".jpg", L".JPG", L".jpeg", L".JPEG", L".dng", L".DNG"};

constexpr wchar_t kHidden = L'.';                  // macOS writes a file "._NAME" beside each photo on a card
constexpr std::wstring_view kSeparators = L"\\/";  // between folder and name, unlike the colon of a drive

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
    if (const auto found = PhotoNumberIn(name)) photos_.push_back({found->number, found->rank, std::wstring(name)});
  }
  // Stable: equals stay in name order, the order of the list.
  std::stable_sort(photos_.begin(), photos_.end(), [](const Photo& a, const Photo& b) {
    return std::tie(a.number, a.rank) < std::tie(b.number, b.rank);
  });
}

std::wstring NumberedPhotos::PathOf(std::int64_t number) const {
  const auto isBefore = [](const Photo& photo, std::int64_t sought) { return photo.number < sought; };
  // The list may contain pipes and broken links. Checking only candidates usually takes one query per number.
  for (auto photo = std::lower_bound(photos_.begin(), photos_.end(), number, isBefore);
       photo != photos_.end() && photo->number == number; ++photo) {
    std::wstring path = folder_ + L'\\' + photo->name;
    if (IsRegularFile(path)) return path;
  }
  return {};
}

}  // namespace kv
