#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "georef/EventTypes.h"
#include "platform/FileNames.h"
#include "platform/FolderListing.h"
#include "time/FileTimes.h"

namespace {

using PhotoTimes = std::map<std::wstring, SYSTEMTIME>;

constexpr wchar_t kOneRemoved[] =
    L"There was one Camera Event removed because the matching Image could not be determined.";
constexpr wchar_t kManyRemovedBegin[] = L"There were ";
constexpr wchar_t kManyRemovedEnd[] = L" Camera Events removed because the matching Images could not be determined.";
// Two blanks after the full stop, deliberately. The camera's list folder follows.
constexpr wchar_t kTooFewImages1[] = L"Error populating images.  More Camera 1 events than images in folder: ";
constexpr wchar_t kTooFewImages2[] = L"Error populating images.  More Camera 2 events than images in folder: ";

constexpr std::uint64_t kPairingRangeTicks = kv::kTicksPerSecond;

// On purpose every number but 1 is camera 2.
std::size_t CameraIndex(const tagKVSystemEvent& event) { return event.CameraID == 1 ? 0 : 1; }

/// Paths of photos in one image folder. Always puts a backslash between folder and name, on every system, even if the
/// folder ends with one.
class ImagePaths {
 public:
  explicit ImagePaths(const std::wstring& folder) : path_(folder + L'\\'), nameBegin_(path_.size()) {}

  const std::wstring& Of(std::wstring_view name) {
    path_.resize(nameBegin_);
    return path_ += name;
  }

 private:
  std::wstring path_;
  std::size_t nameBegin_;
};

void SetPhoto(tagKVSystemEvent& event, const std::wstring& path) {
  event.PhotoPath = CStringW(path.data(), static_cast<int>(path.size()));
}

// A photo's time on the events' clock. The way through the calendar truncates it to whole milliseconds.
FILETIME PhotoFileTime(const SYSTEMTIME& time, double offsetSeconds) {
  return kv::FileTimeOrZero(KVUtilities::AddSecondsToSystemTime(time, offsetSeconds));
}

/// The photos of one camera by time. The nearest to an event is a neighbour in time order.
class PhotosInTimeOrder {
 public:
  /// @param times  must outlive this object
  PhotosInTimeOrder(const PhotoTimes& times, double offsetSeconds) {
    photos_.reserve(times.size());
    for (const auto& [name, time] : times) photos_.push_back({kv::Ticks(PhotoFileTime(time, offsetSeconds)), &name});
    // Among photos with equal times only the first by name is ever used.
    std::ranges::stable_sort(photos_, {}, &Photo::ticks);
    const auto sameTime = [](const Photo& a, const Photo& b) { return a.ticks == b.ticks; };
    photos_.erase(std::unique(photos_.begin(), photos_.end(), sameTime), photos_.end());
  }

  /// @return the name of the photo that `FindClosestPhotoWithinRange` would choose within the pairing range, or null
  const std::wstring* ClosestTo(const SYSTEMTIME& eventTime) const {
    const std::uint64_t ticks = kv::Ticks(kv::FileTimeOrZero(eventTime));
    const auto later = std::ranges::lower_bound(photos_, ticks, {}, &Photo::ticks);
    const Photo* after = later == photos_.end() ? nullptr : &*later;
    const Photo* before = later == photos_.begin() ? nullptr : &*std::prev(later);
    const std::uint64_t toAfter = after ? after->ticks - ticks : kNoPhoto;
    const std::uint64_t toBefore = before ? ticks - before->ticks : kNoPhoto;
    if (std::min(toBefore, toAfter) > kPairingRangeTicks) return nullptr;
    const bool takeBefore = toBefore == toAfter ? *before->name < *after->name : toBefore < toAfter;
    return takeBefore ? before->name : after->name;
  }

 private:
  static constexpr std::uint64_t kNoPhoto = std::numeric_limits<std::uint64_t>::max();

  struct Photo {
    std::uint64_t ticks;
    const std::wstring* name;
  };
  std::vector<Photo> photos_;
};

std::wstring RemovalReport(int removed) {
  if (removed == 0) return {};
  return removed == 1 ? kOneRemoved : kManyRemovedBegin + std::to_wstring(removed) + kManyRemovedEnd;
}

/// The photos of one camera, taken one by one in listing order.
class PhotosInNameOrder {
 public:
  explicit PhotosInNameOrder(const std::wstring& listFolder) {
    GetFilesInFolder(listFolder, {L".jpg"}, false, files_);  // a missing folder has no photos
  }

  bool AtEnd() const { return next_ == files_.size(); }

  /// @return name and extension, including a prefix at the end of the list folder's text
  std::wstring_view TakeNext() {
    const std::wstring& path = files_[next_++];
    return std::wstring_view(path).substr(path.find_last_of(kv::kPathSeparators) + 1);
  }

 private:
  std::vector<std::wstring> files_;
  std::size_t next_ = 0;
};

}  // namespace

std::wstring KVUtilities::FindClosestPhotoWithinRange(SYSTEMTIME eventTime, std::wstring folder,
                                                      std::map<std::wstring, SYSTEMTIME> photoTimes,
                                                      double offsetSeconds, double rangeSeconds,
                                                      std::wstring& error) try {
  error.clear();
  const FILETIME eventFileTime = kv::FileTimeOrZero(eventTime);
  double smallest = std::numeric_limits<double>::infinity();
  const std::wstring* closest = nullptr;
  for (const auto& [name, time] : photoTimes) {
    const double difference = kv::SecondsBetween(PhotoFileTime(time, offsetSeconds), eventFileTime);
    if (difference >= smallest || !(difference <= rangeSeconds)) continue;  // a range of NaN holds nothing
    smallest = difference;
    closest = &name;
  }
  return closest ? ImagePaths(folder).Of(*closest) : std::wstring();
} catch (...) {
  return {};
}

// Pairing by time does not use the list folders.
bool KVUtilities::PopulatePhotoPathsUsingTimeStamps(
    std::vector<tagKVSystemEvent>& events, std::wstring /*camera1ListFolder*/, std::wstring /*camera2ListFolder*/,
    std::wstring camera1ImageFolder, std::wstring camera2ImageFolder,
    std::map<std::wstring, SYSTEMTIME> camera1PhotoTimes, std::map<std::wstring, SYSTEMTIME> camera2PhotoTimes,
    double camera1OffsetSeconds, double camera2OffsetSeconds, std::wstring& error) try {
  error.clear();
  const PhotosInTimeOrder photos[] = {{camera1PhotoTimes, camera1OffsetSeconds},
                                      {camera2PhotoTimes, camera2OffsetSeconds}};
  ImagePaths paths[] = {ImagePaths(camera1ImageFolder), ImagePaths(camera2ImageFolder)};
  for (tagKVSystemEvent& event : events) {
    if (event.Type != kv::kCameraEvent) continue;
    const std::size_t camera = CameraIndex(event);
    const std::wstring* name = photos[camera].ClosestTo(event.SystemTimeUTC);
    // Without a match an event keeps the path it already has, on purpose, and is not removed.
    if (name) SetPhoto(event, paths[camera].Of(*name));
  }
  int removed = 0;
  RemoveCameraSystemEventsWithEmptyImagePaths(events, removed, error);
  error = RemovalReport(removed);
  return true;
} catch (...) {
  return false;
}

bool KVUtilities::PopulatePhotoPaths(std::vector<tagKVSystemEvent>& events, std::wstring camera1ListFolder,
                                     std::wstring camera2ListFolder, std::wstring camera1ImageFolder,
                                     std::wstring camera2ImageFolder, std::wstring& error) try {
  error.clear();
  PhotosInNameOrder photos[] = {PhotosInNameOrder(camera1ListFolder), PhotosInNameOrder(camera2ListFolder)};
  ImagePaths paths[] = {ImagePaths(camera1ImageFolder), ImagePaths(camera2ImageFolder)};
  const std::wstring tooFewImages[] = {kTooFewImages1 + camera1ListFolder, kTooFewImages2 + camera2ListFolder};
  for (tagKVSystemEvent& event : events) {
    if (event.Type != kv::kCameraEvent) continue;
    const std::size_t camera = CameraIndex(event);
    if (photos[camera].AtEnd()) {
      error = tooFewImages[camera];
      return false;
    }
    SetPhoto(event, paths[camera].Of(photos[camera].TakeNext()));
  }
  return true;
} catch (...) {
  return false;
}
