#include "mission/Steps.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "base/Statistics.h"
#include "georef/EventTypes.h"
#include "platform/FileNames.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr double kPairingRange = 1.0;  // seconds; pairing by time looks no further

PairMode ChooseMode(const PhotoFolder& folder) {
  return folder.timed > 0 && folder.timed >= folder.Untimed() ? PairMode::Time : PairMode::Order;
}

/// Adds a finding about the photos of one camera.
void Tell(const FindingKind& kind, int camera, const PhotoFolder& folder, Job& job, Values values) {
  values.insert(values.begin(), {"camera", camera});
  job.Add(kind, std::move(values), {.file = folder.path, .camera = camera});
}

/// Each camera is paired on its own: if one runs out of photos, pairing of the other goes on.
SystemEvents EventsOf(int camera, const SystemEvents& events) {
  SystemEvents own;
  for (const auto& event : events) {
    if (event.Type == kCameraEvent && CameraOf(event) == camera) own.push_back(event);
  }
  return own;
}

void PairByOrder(int camera, const PhotoFolder& folder, SystemEvents& own, Job& job) {
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
    Tell(Found::PairingFailed, camera, folder, job,
         {{"reason", error.empty() ? "pairing by order failed" : Utf8(error)}});
}

void PairByTime(int camera, const PhotoFolder& folder, double offset, SystemEvents& own, Job& job) {
  std::map<std::wstring, SYSTEMTIME> times;
  for (const auto& photo : folder.photos) {
    if (photo.time) times.emplace(photo.name, ToSystemTime(*photo.time));
  }
  const std::wstring image = WidePath(folder.path), list = image + PhotoPathSeparator();
  std::wstring report;
  KVUtilities::PopulatePhotoPathsUsingTimeStamps(own, list, list, image, image, times, times, offset, offset, report);
  if (!report.empty()) Tell(Found::PairingReport, camera, folder, job, {{"report", Utf8(report)}});
}

/// Copies the photos found into the whole sequence. Pairing by time removes events but keeps their order, and removes
/// either all events of one tick or none.
void TakeOver(int camera, const PhotoFolder& folder, const SystemEvents& own, SystemEvents& events) {
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

/// Looks up the photo of each pair and collects statistics.
class PairStatistics {
 public:
  PairStatistics(const PhotoFolder& folder, double offset)
      : folder_(folder), offset_(offset), uses_(folder.photos.size()), nameAt_(WidePath(folder.path).size() + 1) {}

  /// @return photo time, with the offset, minus that of the event; nothing when one of them is unknown
  std::optional<double> Add(const tagKVSystemEvent& event) {
    const std::wstring path = event.PhotoPath.GetString();
    if (path.size() <= nameAt_) return std::nullopt;
    ++paired_;
    const auto byName = [](const Photo& photo, const std::wstring& name) { return photo.name < name; };
    const std::wstring name = path.substr(nameAt_);
    const auto found = std::lower_bound(folder_.photos.begin(), folder_.photos.end(), name, byName);
    if (found == folder_.photos.end() || found->name != name) return std::nullopt;
    ++uses_[static_cast<std::size_t>(found - folder_.photos.begin())];
    if (!found->time || !HasTime(event)) return std::nullopt;
    const double difference = Seconds(*found->time - FromFileTime(event.TimeUTC)) + offset_;
    differences_.push_back(std::abs(difference));
    return difference;
  }

  void Store(Pairing& pairing) {
    pairing.paired = paired_;
    for (std::size_t i = 0; i < uses_.size(); ++i) {
      if (uses_[i] == 0) pairing.unused.push_back(folder_.photos[i].name);
      if (uses_[i] > 1) pairing.shared.push_back(folder_.photos[i].name);
    }
    pairing.differences = SpreadOf(std::move(differences_));
  }

 private:
  const PhotoFolder& folder_;
  double offset_;
  std::size_t paired_ = 0;
  std::vector<int> uses_;
  std::size_t nameAt_;
  std::vector<double> differences_;
};

void TellWhenNothingPaired(int camera, const PhotoFolder& folder, const SystemEvents& own, Job& job) {
  const auto timedEvent = std::find_if(own.begin(), own.end(), HasTime);
  const auto timedPhoto =
      std::find_if(folder.photos.begin(), folder.photos.end(), [](auto& photo) { return photo.time.has_value(); });
  if (timedEvent == own.end() || timedPhoto == folder.photos.end()) return;
  Tell(Found::NothingPaired, camera, folder, job,
       {{"seconds", kPairingRange}, {"event", FromFileTime(timedEvent->TimeUTC)}, {"photo", *timedPhoto->time}});
}

void TellAfter(int camera, const PhotoFolder& folder, const Pairing& pairing, Job& job) {
  if (!pairing.shared.empty())
    Tell(Found::PhotosShared, camera, folder, job,
         {{"count", Count(pairing.shared.size())}, {"photo", Utf8(pairing.shared[0])}});
  if (pairing.mode == PairMode::Order && pairing.differences && pairing.differences->largest > kPairingRange)
    Tell(Found::PairingByOrderTimesDiffer, camera, folder, job, {{"seconds", pairing.differences->largest}});
}

}  // namespace

Pairing PairPhotos(int camera, const PhotoFolder& folder, PairBy wanted, double offset, SystemEvents& events,
                   Differences& differences, Job& job) {
  Pairing pairing;
  pairing.mode = wanted == PairBy::Time    ? PairMode::Time
                 : wanted == PairBy::Order ? PairMode::Order
                                           : ChooseMode(folder);
  const SystemEvents own = EventsOf(camera, events);
  SystemEvents found = own;
  if (pairing.mode == PairMode::Order) {
    if (own.size() != folder.listed)
      Tell(Found::PairingByOrderUneven, camera, folder, job,
           {{"events", Count(own.size())}, {"photos", Count(folder.listed)}});
    PairByOrder(camera, folder, found, job);
  } else {
    if (folder.Untimed() > 0) Tell(Found::PhotosWithoutTime, camera, folder, job, {{"count", Count(folder.Untimed())}});
    PairByTime(camera, folder, offset, found, job);
  }
  TakeOver(camera, folder, found, events);
  PairStatistics statistics(folder, offset);
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (events[i].Type == kCameraEvent && CameraOf(events[i]) == camera) differences[i] = statistics.Add(events[i]);
  }
  statistics.Store(pairing);
  if (pairing.paired == 0 && pairing.mode == PairMode::Time) TellWhenNothingPaired(camera, folder, own, job);
  TellAfter(camera, folder, pairing, job);
  return pairing;
}

}  // namespace kv::mission
