#include "platform/FolderListing.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <tuple>

#include "platform/FileNames.h"

namespace {

namespace fs = std::filesystem;

struct Entry {
  std::wstring name;
  std::wstring sortKey;
  bool isFolder;
  bool isLink;
};

// Upper case by which names are ordered, in every locale: letters of Latin-1, basic Greek and Cyrillic.
wchar_t UpperCase(wchar_t c) {
  struct Range {
    wchar_t first, last;
    int distance;
  };
  static constexpr Range kLowerCase[] = {{L'a', L'z', 32},     {0xE0, 0xF6, 32},      {0xF8, 0xFE, 32},
                                         {0xFF, 0xFF, -0x79},  {0x03B1, 0x03C1, 32},  {0x03C3, 0x03C9, 32},
                                         {0x0430, 0x044F, 32}, {0x0450, 0x045F, 0x50}};
  for (const Range& range : kLowerCase) {
    if (c >= range.first && c <= range.last) return static_cast<wchar_t>(static_cast<int>(c) - range.distance);
  }
  return c;
}

std::wstring SortKey(std::wstring name) {
  std::transform(name.begin(), name.end(), name.begin(), UpperCase);
  return name;
}

bool StartsWith(const std::wstring& name, const std::wstring& prefix) {
  return kv::kFileNamesIgnoreCase ? SortKey(name).starts_with(SortKey(prefix)) : name.starts_with(prefix);
}

bool HasExtension(const std::wstring& name, const std::vector<std::wstring>& extensions) {
  const std::size_t point = name.rfind(L'.');
  const std::wstring extension = point == std::wstring::npos ? L"" : name.substr(point);
  return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

// Entries in name order. Uses the throwing iterator: the other form ends the process when memory runs out.
std::vector<Entry> ReadFolder(const std::wstring& folder, const std::wstring& prefix) {
  std::vector<Entry> entries;
  for (const fs::directory_entry& entry : fs::directory_iterator(kv::NativePath(folder.empty() ? L"." : folder))) {
    std::wstring name = kv::WidePath(entry.path().filename());
    if (!StartsWith(name, prefix)) continue;
    std::error_code gone;  // an entry may vanish between the listing and this query
    std::wstring sortKey = SortKey(name);
    entries.push_back({std::move(name), std::move(sortKey), entry.is_directory(gone), entry.is_symlink(gone)});
  }
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return std::tie(a.sortKey, a.name) < std::tie(b.sortKey, b.name); });
  return entries;
}

}  // namespace

bool GetFilesInFolder(const std::wstring& folder, const std::vector<std::wstring>& extensions, bool recurse,
                      std::vector<std::wstring>& files) try {
  const std::size_t nameBegin = folder.find_last_of(kv::kPathSeparators) + 1;  // npos + 1 is 0
  const std::wstring parent = folder.substr(0, nameBegin);
  for (const auto& [name, sortKey, isFolder, isLink] : ReadFolder(parent, folder.substr(nameBegin))) {
    if (!isFolder) {
      if (HasExtension(name, extensions)) files.push_back(folder + name);
    } else if (recurse && !isLink) {  // a linked folder could lead back here
      GetFilesInFolder(parent + name + L"\\", extensions, recurse, files);
    }
  }
  return true;
} catch (const fs::filesystem_error&) {
  return false;
}
