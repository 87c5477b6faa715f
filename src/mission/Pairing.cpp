#include "mission/Steps.h"

#include <KVUtilities.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Statistics.h"
#include "georef/EventTypes.h"
#include "mission/CameraClocks.h"
#include "photos/PhotoFolder.h"
#include "platform/FileNames.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

/// A camera at work: what it has, and which photo each of its events gets.
struct CameraPairing {
  Camera camera;
  std::vector<std::size_t> events;    // indexes of its camera events
  std::vector<std::wstring> photos;   // by event, if there is a folder; empty for none
  std::vector<PhotoOfEvent> details;  // by event, if there is a folder
  CameraTimes times;
};

PairMode ModeFor(const PhotoFolder& folder, PairBy wanted) {
  if (wanted != PairBy::Auto) return wanted == PairBy::Time ? PairMode::Time : PairMode::Order;
  if (folder.photos.empty()) return PairMode::Time;  // nothing to be in order
  return folder.timed > 0 && folder.timed >= folder.Untimed() ? PairMode::Time : PairMode::Order;
}

/// Adds a finding about the photos of one camera.
void Tell(const FindingKind& kind, const Camera& camera, Job& job, Values values) {
  values.insert(values.begin(), {"camera", camera.number});
  job.Add(kind, std::move(values), {.file = camera.folder->path, .camera = camera.number});
}

/// The camera events, in one pass.
struct CameraEvents {
  explicit CameraEvents(const SystemEvents& events) {
    for (std::size_t i = 0; i < events.size(); ++i) {
      if (events[i].Type != kCameraEvent) continue;
      (CameraOf(events[i]) == 1 ? of1 : of2).push_back(i);
      if (HasTime(events[i])) span.Add(FromFileTime(events[i].TimeUTC));
    }
  }

  std::vector<std::size_t> of1, of2;  // indexes
  TimeSpan span;
};

CameraPairing Begin(int number, const Settings& settings, std::vector<std::size_t> events, Job& job) {
  CameraPairing pairing;
  Camera& camera = pairing.camera;
  camera.number = number;
  camera.read = events.size();
  pairing.events = std::move(events);
  const auto& folder = number == 1 ? settings.camera1 : settings.camera2;
  if (folder.empty()) return pairing;
  pairing.photos.resize(camera.read);
  pairing.details.resize(camera.read);
  camera.offset = number == 1 ? settings.camera1Offset : settings.camera2Offset;
  camera.folder = ReadPhotoFolder(folder, number, job);
  camera.pairing.mode = ModeFor(*camera.folder, settings.pair);
  return pairing;
}

/// The n-th photo by name belongs to the n-th event, as the library pairs them.
void PairByOrder(const SystemEvents& events, CameraPairing& pairing, Job& job) {
  const PhotoFolder& folder = *pairing.camera.folder;
  if (LibraryMisreads(folder.path))
    throw Failure(Utf8(folder.path) + ": a folder of photos paired by order cannot have a backslash in its name");
  if (folder.strays > 0)
    throw Failure(
        fmt::format("{}: {} named .*.jpg, as a Mac puts them beside photos: pairing by order would take them for "
                    "photos; remove them",
                    Utf8(folder.path), Counted(folder.strays, "hidden file")));
  if (pairing.events.size() != folder.listed)
    Tell(Found::PairingByOrderUneven, pairing.camera, job,
         {{"events", Count(pairing.events.size())}, {"photos", Count(folder.listed)}});
  SystemEvents own;
  for (const std::size_t i : pairing.events) own.push_back(events[i]);
  const std::wstring image = WidePath(folder.path), list = image + PhotoPathSeparator();
  std::wstring error;
  if (!KVUtilities::PopulatePhotoPaths(own, list, list, image, image, error))
    Tell(Found::PairingFailed, pairing.camera, job,
         {{"reason", error.empty() ? "pairing by order failed" : Utf8(error)}});
  for (std::size_t i = 0; i < own.size(); ++i) {
    const std::wstring path = own[i].PhotoPath.GetString();
    if (path.size() > image.size()) pairing.photos[i] = path.substr(image.size() + 1);
  }
}

void PairByTime(const std::vector<PhotoMatch>& matches, CameraPairing& pairing) {
  for (std::size_t k = 0; k < matches.size(); ++k) {
    const auto& [event, probability, certain] = matches[k];
    if (!event) continue;
    const std::size_t at = pairing.times.eventAt[*event];
    pairing.photos[at] = pairing.camera.folder->photos[pairing.times.photoAt[k]].name;
    pairing.details[at].probability = probability;
    if (!certain) pairing.camera.pairing.uncertain.push_back({pairing.photos[at], probability});
  }
}

const Photo* PhotoNamed(const std::wstring& name, const PhotoFolder& folder) {
  const auto found =
      std::lower_bound(folder.photos.begin(), folder.photos.end(), name,
                       [](const Photo& photo, const std::wstring& wanted) { return photo.name < wanted; });
  return found == folder.photos.end() || found->name != name ? nullptr : &*found;
}

/// Stores the photos in the events, and what there is to tell of the pairs.
void Finish(CameraPairing& pairing, SystemEvents& events) {
  Camera& camera = pairing.camera;
  const PhotoFolder& folder = *camera.folder;
  const std::wstring path = WidePath(folder.path) + PhotoPathSeparator();
  std::vector<int> uses(folder.photos.size());
  std::vector<double> differences;
  for (std::size_t i = 0; i < pairing.photos.size(); ++i) {
    if (pairing.photos[i].empty()) continue;
    tagKVSystemEvent& event = events[pairing.events[i]];
    event.PhotoPath = (path + pairing.photos[i]).c_str();
    ++camera.pairing.paired;
    const Photo* photo = PhotoNamed(pairing.photos[i], folder);
    if (!photo) continue;
    ++uses[static_cast<std::size_t>(photo - folder.photos.data())];
    if (!photo->time || !HasTime(event)) continue;
    const double difference = Seconds(*photo->time - FromFileTime(event.TimeUTC)) + camera.offset.seconds;
    pairing.details[i].differenceSeconds = difference;
    differences.push_back(std::abs(difference));
  }
  for (std::size_t i = 0; i < uses.size(); ++i) {
    if (uses[i] == 0) camera.pairing.unused.push_back(folder.photos[i].name);
    if (uses[i] > 1) camera.pairing.shared.push_back(folder.photos[i].name);
  }
  camera.pairing.differences = SpreadOf(std::move(differences));
}

void TellOfPairs(const CameraPairing& pairing, Job& job) {
  const Camera& camera = pairing.camera;
  if (!camera.pairing.shared.empty())
    Tell(Found::PhotosShared, camera, job,
         {{"count", Count(camera.pairing.shared.size())}, {"photo", Utf8(camera.pairing.shared[0])}});
  if (camera.pairing.mode == PairMode::Order && camera.pairing.differences &&
      camera.pairing.differences->largest > kPairingRange)
    Tell(Found::PairingByOrderTimesDiffer, camera, job, {{"seconds", camera.pairing.differences->largest}});
  if (camera.pairing.mode == PairMode::Time && camera.folder->Untimed() > 0)
    Tell(Found::PhotosWithoutTime, camera, job, {{"count", Count(camera.folder->Untimed())}});
}

/// The event of each photo of the folder, after pairing by order.
std::vector<std::optional<std::size_t>> EventsOfPhotos(const CameraPairing& pairing) {
  const PhotoFolder& folder = *pairing.camera.folder;
  std::vector<std::optional<std::size_t>> events(folder.photos.size());
  for (std::size_t i = 0; i < pairing.photos.size(); ++i) {
    const Photo* photo = pairing.photos[i].empty() ? nullptr : PhotoNamed(pairing.photos[i], folder);
    if (photo) events[static_cast<std::size_t>(photo - folder.photos.data())] = i;
  }
  return events;
}

void Pair(CameraPairing& pairing, const ClockJudge& judge, bool acceptDoubt, SystemEvents& events, Job& job) {
  if (pairing.camera.pairing.mode == PairMode::Order) {
    PairByOrder(events, pairing, job);
    judge.CheckOrder(EventsOfPhotos(pairing), pairing.camera, job);
  } else {
    PairByTime(judge.Pairs(acceptDoubt, pairing.camera, job), pairing);
  }
  Finish(pairing, events);
  TellOfPairs(pairing, job);
}

}  // namespace

std::vector<Camera> PairCameras(const Settings& settings, SystemEvents& events, PhotosOfEvents& photos, Job& job) {
  CameraEvents found(events);
  const Instant origin = std::chrono::floor<std::chrono::seconds>(found.span.first.value_or(Instant()));
  std::vector<CameraPairing> pairings;
  for (const int number : {1, 2}) {
    CameraPairing pairing = Begin(number, settings, std::move(number == 1 ? found.of1 : found.of2), job);
    if (pairing.camera.read > 0 || pairing.camera.folder) pairings.push_back(std::move(pairing));
  }
  std::vector<ClockJudge> judges;
  for (CameraPairing& pairing : pairings) {
    if (pairing.camera.folder) pairing.times = TimesOf(pairing.events, events, *pairing.camera.folder, origin);
    judges.emplace_back(pairing.times);
  }
  CompareCameras(judges, settings, origin, job);
  photos.assign(events.size(), {});
  std::vector<Camera> cameras;
  for (std::size_t c = 0; c < pairings.size(); ++c) {
    CameraPairing& pairing = pairings[c];
    if (pairing.camera.folder) Pair(pairing, judges[c], settings.acceptDoubt, events, job);
    for (std::size_t i = 0; i < pairing.details.size(); ++i) photos[pairing.events[i]] = pairing.details[i];
    cameras.push_back(std::move(pairing.camera));
  }
  return cameras;
}

}  // namespace kv::mission
