#include "mission/Pairing.h"

#include <KVUtilities.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "base/Failure.h"
#include "base/Statistics.h"
#include "mission/inputs/EventFile.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

using Events = std::vector<tagKVSystemEvent>;

constexpr double kPairingRange = 1.0;  // seconds, of the library's pairing by time

PairMode ChooseMode(const PhotoFolder& folder) {
  return folder.timed > 0 && folder.timed >= folder.Untimed() ? PairMode::Time : PairMode::Order;
}

void WarnBeforeOrder(int camera, const PhotoFolder& folder, std::size_t events, Log& log) {
  if (events == folder.listed) return;
  const auto leftOver =
      events > folder.listed ? Counted(events - folder.listed, "event") : Counted(folder.listed - events, "photo");
  log.Warn("camera {}: {} but {}: pairing by order leaves over {} at the end and shifts all pairs behind a missing one",
           camera, Counted(events, "event"), Counted(folder.listed, "photo"), leftOver);
}

void WarnBeforeTime(int camera, const PhotoFolder& folder, Log& log) {
  if (folder.Untimed() > 0)
    log.Warn("camera {}: {} without a time cannot be paired", camera, Counted(folder.Untimed(), "photo"));
}

/// Every camera is paired on its own, so that one that runs out of photos does not end the other's pairing.
Events EventsOf(int camera, const Events& events) {
  Events own;
  for (const auto& event : events) {
    if (event.Type == kCameraEvent && CameraOf(event) == camera) own.push_back(event);
  }
  return own;
}

void PairByOrder(int camera, const PhotoFolder& folder, Events& own, Log& log) {
  if (LibraryMisreads(folder.path))
    throw Failure(Utf8(folder.path) + ": a folder of photos paired by order cannot have a backslash in its name");
  if (folder.strays > 0)
    throw Failure(
        fmt::format("{}: {} named .*.jpg, as a Mac puts them beside photos: pairing by order would take them for "
                    "photos; remove them",
                    Utf8(folder.path), Counted(folder.strays, "hidden file")));
  const std::wstring image = WidePath(folder.path), list = image + PhotoPathSeparator();
  std::wstring error;
  if (!KVUtilities::PopulatePhotoPaths(own, list, list, image, image, error))
    log.Warn("camera {}: {}", camera, error.empty() ? "pairing by order failed" : Utf8(error));
}

void PairByTime(const PhotoFolder& folder, double offset, Events& own, const Log& log) {
  std::map<std::wstring, SYSTEMTIME> times;
  for (const auto& photo : folder.photos) {
    if (photo.time) times.emplace(photo.name, ToSystemTime(*photo.time));
  }
  const std::wstring image = WidePath(folder.path), list = image + PhotoPathSeparator();
  std::wstring report;
  KVUtilities::PopulatePhotoPathsUsingTimeStamps(own, list, list, image, image, times, times, offset, offset, report);
  if (!report.empty()) log.Note("{}", Utf8(report));
}

/// Brings the photos found back to the whole sequence. Pairing by time took out events, but kept the order, and of
/// events of the same tick it took out all or none.
void TakeOver(int camera, const PhotoFolder& folder, const Events& own, Events& events) {
  const auto separatorAt = WidePath(folder.path).size();
  auto paired = own.begin();
  for (auto& event : events) {
    if (event.Type != kCameraEvent || CameraOf(event) != camera) continue;
    if (paired == own.end() || paired->MasterTick != event.MasterTick) continue;
    std::wstring path = (paired++)->PhotoPath.GetString();
    if (path.size() > separatorAt) path[separatorAt] = PhotoPathSeparator();
    event.PhotoPath = path.c_str();
  }
}

/// Finds the photo of each pair again and collects what the pairs tell.
class PairStatistics {
 public:
  PairStatistics(const PhotoFolder& folder, double offset)
      : folder_(folder), offset_(offset), uses_(folder.photos.size()), nameAt_(WidePath(folder.path).size() + 1) {}

  void Add(const tagKVSystemEvent& event) {
    const std::wstring path = event.PhotoPath.GetString();
    if (path.size() <= nameAt_) return;
    ++paired_;
    const auto byName = [](const Photo& photo, const std::wstring& name) { return photo.name < name; };
    const std::wstring name = path.substr(nameAt_);
    const auto found = std::lower_bound(folder_.photos.begin(), folder_.photos.end(), name, byName);
    if (found == folder_.photos.end() || found->name != name) return;
    ++uses_[static_cast<std::size_t>(found - folder_.photos.begin())];
    if (!found->time || !HasTime(event)) return;
    differences_.push_back(std::abs(Seconds(*found->time - FromFileTime(event.TimeUTC)) + offset_));
  }

  void Store(Pairing& pairing) {
    pairing.paired = paired_;
    for (std::size_t i = 0; i < uses_.size(); ++i) {
      if (uses_[i] == 0) pairing.unused.push_back(folder_.photos[i].name);
      if (uses_[i] > 1) pairing.shared.push_back(folder_.photos[i].name);
    }
    if (differences_.empty()) return;
    std::sort(differences_.begin(), differences_.end());
    pairing.largest = differences_.back();
    pairing.median = Quantile(differences_, 0.5);
  }

 private:
  const PhotoFolder& folder_;
  double offset_;
  std::size_t paired_ = 0;
  std::vector<int> uses_;
  std::size_t nameAt_;
  std::vector<double> differences_;
};

void WarnWhenNothingPaired(int camera, const PhotoFolder& folder, const Events& own, Log& log) {
  const auto timedEvent = std::find_if(own.begin(), own.end(), HasTime);
  const auto timedPhoto =
      std::find_if(folder.photos.begin(), folder.photos.end(), [](auto& photo) { return photo.time.has_value(); });
  if (timedEvent == own.end() || timedPhoto == folder.photos.end()) return;
  log.Warn(
      "camera {}: no photo is within {} s of an event; the first event is of {}, the photo first by name of {}: "
      "is --cam{}-offset right?",
      camera, kPairingRange, TimeText(FromFileTime(timedEvent->TimeUTC)), TimeText(*timedPhoto->time), camera);
}

void WarnAfter(int camera, const Pairing& pairing, Log& log) {
  if (!pairing.shared.empty())
    log.Warn("camera {}: {} more than one event, first {}", camera,
             pairing.shared.size() == 1 ? "1 photo serves" : fmt::format("{} photos serve", pairing.shared.size()),
             Utf8(pairing.shared[0]));
  if (pairing.mode == PairMode::Order && pairing.largest.value_or(0) > kPairingRange)
    log.Warn("camera {}: paired by order, times of photo and event differ by up to {:.3f} s", camera, *pairing.largest);
}

}  // namespace

Pairing PairPhotos(int camera, const PhotoFolder& folder, std::optional<PairMode> mode, double offset, Events& events,
                   Log& log) {
  Pairing pairing;
  pairing.mode = mode.value_or(ChooseMode(folder));
  const Events own = EventsOf(camera, events);
  Events found = own;
  if (pairing.mode == PairMode::Order) {
    WarnBeforeOrder(camera, folder, own.size(), log);
    PairByOrder(camera, folder, found, log);
  } else {
    WarnBeforeTime(camera, folder, log);
    PairByTime(folder, offset, found, log);
  }
  TakeOver(camera, folder, found, events);
  PairStatistics statistics(folder, offset);
  for (const auto& event : events) {
    if (event.Type == kCameraEvent && CameraOf(event) == camera) statistics.Add(event);
  }
  statistics.Store(pairing);
  if (pairing.paired == 0 && pairing.mode == PairMode::Time) WarnWhenNothingPaired(camera, folder, own, log);
  WarnAfter(camera, pairing, log);
  return pairing;
}

}  // namespace kv::mission
