#include "photos/PhotoFolder.h"

#include <algorithm>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "base/Progress.h"
#include "photos/JpegHeader.h"
#include "photos/PhotoTimes.h"
#include "platform/FileNames.h"
#include "text/TextCase.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kNamed = 5;  // photos in a warning

struct Findings {
  std::size_t zoneless = 0;             // photos whose time came without a time zone
  std::vector<std::string> unreadable;  // names
};

std::optional<Instant> TimeOf(const fs::path& photo, const std::wstring& name, Findings& findings) {
  if (const auto stamp = StampTime(name)) return stamp;
  const auto header = ReadJpegHeader(photo);
  if (!header && !OpenNative(photo, "rb")) findings.unreadable.push_back(Utf8(name));
  const auto exif = header ? ExifTimeOriginal(header->exif) : std::nullopt;
  if (!exif) return std::nullopt;
  findings.zoneless += !exif->zoneKnown;
  return exif->time;
}

/// As the files "._NAME" are that a Mac puts beside each one on a card.
bool IsHidden(const fs::path& name) { return Utf8(name).starts_with('.'); }

std::vector<fs::path> NamedAsPhotos(const fs::path& folder) {
  std::vector<fs::path> photos;
  std::error_code error;
  for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    std::error_code unknown;
    if (HasPhotoExtension(entry->path()) && entry->is_regular_file(unknown)) photos.push_back(entry->path().filename());
  }
  if (error) throw Failure(fmt::format("{}: cannot be listed: {}", Utf8(folder), error.message()));
  std::sort(photos.begin(), photos.end());
  return photos;
}

}  // namespace

bool HasPhotoExtension(const fs::path& path) {
  const std::string extension = LowerCase(Utf8(path.extension()));
  return extension == ".jpg" || extension == ".jpeg";
}

std::vector<fs::path> PhotosIn(const fs::path& folder) {
  std::vector<fs::path> photos = NamedAsPhotos(folder);
  std::erase_if(photos, IsHidden);
  return photos;
}

std::size_t PhotoNameAt(const fs::path& folder) { return WidePath(folder).find_last_not_of(L"\\/") + 2; }

PhotoFolder ReadPhotoFolder(const fs::path& path, int camera, Log& log) {
  PhotoFolder folder;
  folder.path = (fs::absolute(path) / "").lexically_normal().parent_path();
  auto names = NamedAsPhotos(path);
  folder.strays = static_cast<std::size_t>(std::count_if(
      names.begin(), names.end(), [](auto& name) { return IsHidden(name) && name.extension() == ".jpg"; }));
  std::erase_if(names, IsHidden);
  Progress progress(log.ShowsProgress(), "reading photo times", "photos");
  Findings findings;
  for (const auto& name : names) {
    ThrowIfInterrupted();
    Photo photo{WidePath(name), {}};
    photo.time = TimeOf(path / name, photo.name, findings);
    folder.timed += photo.time.has_value();
    folder.listed += name.extension() == ".jpg";
    folder.photos.push_back(std::move(photo));
    progress.Step(folder.photos.size(), names.size());
  }
  folder.unreadable = findings.unreadable.size();
  std::sort(folder.photos.begin(), folder.photos.end(), [](auto& a, auto& b) { return a.name < b.name; });
  if (names.empty()) log.Warn("camera {}: no photo in {}", camera, Utf8(path));
  if (folder.listed < names.size())
    log.Warn("camera {}: {} not named .jpg in lower case: only pairing by time finds them", camera,
             Counted(names.size() - folder.listed, "photo"));
  if (folder.unreadable > 0)
    log.Warn(
        "camera {}: {} cannot be opened: {}{}", camera, Counted(folder.unreadable, "photo"),
        fmt::join(findings.unreadable.begin(),
                  findings.unreadable.begin() + static_cast<std::ptrdiff_t>(std::min(kNamed, folder.unreadable)), ", "),
        folder.unreadable > kNamed ? ", ..." : "");
  if (findings.zoneless > 0)
    log.Warn("camera {}: {} without a time zone: the camera's clock is taken for UTC", camera,
             Counted(findings.zoneless, "photo time"));
  return folder;
}

}  // namespace kv::mission
