#include "photos/PhotoFolder.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <system_error>

#include "photos/JpegHeader.h"
#include "photos/PhotoTimes.h"
#include "platform/FileNames.h"
#include "text/TextCase.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::ptrdiff_t kNamed = 5;  // photos in a finding

struct TimeFaults {
  std::size_t zoneless = 0;             // photos with a time but no time zone
  std::vector<std::string> unreadable;  // names
};

std::optional<Instant> TimeOf(const fs::path& photo, const std::wstring& name, TimeFaults& faults) {
  if (const auto stamp = StampTime(name)) return stamp;
  std::error_code unreadable;
  const auto header = ReadJpegHeader(photo, &unreadable);
  if (unreadable) faults.unreadable.push_back(Utf8(name));
  const auto exif = header ? ExifTimeOriginal(header->exif) : std::nullopt;
  if (!exif) return std::nullopt;
  faults.zoneless += !exif->zoneKnown;
  return exif->time;
}

/// Macs leave a hidden file "._NAME" beside each photo on a card.
bool IsHidden(const fs::path& name) { return Utf8(name).starts_with('.'); }

std::size_t CountPhotos(const fs::path& folder) {
  std::error_code error;
  std::size_t photos = 0;
  for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error))
    photos += HasPhotoExtension(entry->path()) && !IsHidden(entry->path().filename());
  return photos;
}

/// @return names in order, those of hidden files too
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

void Tell(const PhotoFolder& folder, const fs::path& pathAsGiven, const TimeFaults& faults, int camera, Job& job) {
  const Subject subject{.file = folder.path, .camera = camera};
  const auto tell = [&](const FindingKind& kind, std::size_t count, const std::string& names = {}) {
    if (count == 0) return;
    Values values{{"camera", camera}, {"count", Count(count)}};
    if (!names.empty()) values.emplace_back("names", names);
    job.Add(kind, std::move(values), subject);
  };
  if (folder.photos.empty()) {
    const std::string seen = FoldersWithPhotos(pathAsGiven);
    job.Add(Found::PhotoFolderEmpty,
            {{"camera", camera},
             {"folder", Utf8(pathAsGiven)},
             {"seen", seen.empty() ? seen : fmt::format("; photos are in {}: name it with --cam{}", seen, camera)}},
            subject);
  }
  tell(Found::PhotosNotListed, folder.photos.size() - folder.listed);
  const auto& names = faults.unreadable;
  const auto end = names.begin() + std::min(kNamed, std::ssize(names));
  tell(Found::PhotosUnreadable, names.size(),
       fmt::format("{}{}", fmt::join(names.begin(), end, ", "), end == names.end() ? "" : ", ..."));
  tell(Found::PhotoTimesWithoutZone, faults.zoneless);
}

}  // namespace

bool HasPhotoExtension(const fs::path& path) {
  const std::string extension = LowerCase(Utf8(path.extension()));
  return extension == ".jpg" || extension == ".jpeg";
}

std::size_t PhotoNameAt(const fs::path& folder) { return WidePath(folder).find_last_not_of(L"\\/") + 2; }

std::string FoldersWithPhotos(const fs::path& folder) {
  constexpr int kDeepest = 3;
  constexpr std::size_t kMostSeen = 1000;
  std::vector<std::string> found;
  std::error_code error;
  std::size_t seen = 0;
  for (auto entry = fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied, error);
       !error && entry != fs::recursive_directory_iterator() && seen < kMostSeen; entry.increment(error)) {
    std::error_code unknown;
    if (!entry->is_directory(unknown)) continue;
    ++seen;
    if (entry.depth() + 1 >= kDeepest) entry.disable_recursion_pending();
    if (const std::size_t photos = CountPhotos(entry->path()); photos > 0)
      found.push_back(fmt::format("{} ({})", Utf8(entry->path()), Counted(photos, "JPEG")));
  }
  std::sort(found.begin(), found.end());
  const auto end = found.begin() + std::min(kNamed, std::ssize(found));
  return fmt::format("{}{}", fmt::join(found.begin(), end, ", "), end == found.end() ? "" : ", ...");
}

PhotoFolder ReadPhotoFolder(const fs::path& path, int camera, Job& job) {
  PhotoFolder folder;
  folder.path = (fs::absolute(path) / "").lexically_normal().parent_path();
  auto names = NamedAsPhotos(path);
  folder.strays = static_cast<std::size_t>(std::count_if(
      names.begin(), names.end(), [](auto& name) { return IsHidden(name) && name.extension() == ".jpg"; }));
  std::erase_if(names, IsHidden);
  Meter meter(job, "reading photo times", "photos");
  TimeFaults faults;
  for (const auto& name : names) {
    job.ThrowIfStopped();
    Photo photo{WidePath(name), {}};
    photo.time = TimeOf(path / name, photo.name, faults);
    folder.timed += photo.time.has_value();
    folder.listed += name.extension() == ".jpg";
    folder.photos.push_back(std::move(photo));
    meter.Step(folder.photos.size(), names.size());
  }
  folder.unreadable = faults.unreadable.size();
  std::sort(folder.photos.begin(), folder.photos.end(), [](auto& a, auto& b) { return a.name < b.name; });
  Tell(folder, path, faults, camera, job);
  return folder;
}

}  // namespace kv::mission

std::vector<std::filesystem::path> KVMission::PhotosIn(const std::filesystem::path& folder) {
  auto photos = kv::mission::NamedAsPhotos(folder);
  std::erase_if(photos, kv::mission::IsHidden);
  return photos;
}
