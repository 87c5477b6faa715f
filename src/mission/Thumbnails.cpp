#include "photos/Thumbnail.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "base/InOrder.h"
#include "mission/OutputKinds.h"
#include "mission/Steps.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kUsualBytes = 10'000;

/// Bytes of JPEG: on the page, four characters stand for three of them.
std::size_t RoomFor(const Settings& settings) {
  const bool isWanted = settings.grade && IsWanted(kReportOutput, settings);
  return isWanted ? static_cast<std::size_t>(settings.thumbnailMegabytes * 1e6 * 3 / 4) : 0;
}

/// Photos by what the report says of them, in the order of the exposures.
struct PhotoGroups {
  explicit PhotoGroups(const Mission& mission) {
    for (const Exposure& exposure : mission.exposures) {
      if (exposure.event.PhotoPath.IsEmpty()) continue;
      const fs::path photo = NativePath(exposure.event.PhotoPath.GetString());
      if (!exposure.drop && exposure.blurred.value_or(false)) blurred.push_back(photo);
      if (exposure.drop) dropped.push_back(photo);
    }
  }

  std::vector<fs::path> blurred, dropped;
};

using Jpegs = std::map<fs::path, std::string>;

/// Decodes at most so many photos anew, spread evenly.
void MakeMissing(const std::vector<fs::path>& photos, std::size_t most, const Settings& settings, Jpegs& jpegs,
                 Job& job) {
  std::vector<fs::path> missing;
  std::copy_if(photos.begin(), photos.end(), std::back_inserter(missing),
               [&](auto& photo) { return !jpegs.contains(photo); });
  const std::size_t step = missing.size() / std::max(most, std::size_t{1}) + 1;
  std::size_t asked = 0, taken = 0;
  const auto next = [&]() -> std::optional<fs::path> {
    if (asked >= missing.size()) return std::nullopt;
    return missing[std::exchange(asked, asked + step)];
  };
  MakeInOrder(ThreadsFor(settings.jobs), next, ThumbnailOfFile, [&](std::string jpeg) {
    job.ThrowIfStopped();
    if (!jpeg.empty()) jpegs.emplace(missing[taken], std::move(jpeg));
    taken += step;
    return true;
  });
}

/// Moves as many pictures of a group as fit, spread evenly.
void TakeEvenly(std::vector<Thumbnail> group, std::size_t& room, std::vector<Thumbnail>& taken) {
  for (std::size_t step = 1; step <= group.size(); ++step) {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < group.size(); i += step) bytes += group[i].jpeg.size();
    if (bytes > room) continue;
    room -= bytes;
    for (std::size_t i = 0; i < group.size(); i += step) taken.push_back(std::move(group[i]));
    return;
  }
}

std::vector<Thumbnail> Extracted(const std::vector<fs::path>& photos, Jpegs& jpegs) {
  std::vector<Thumbnail> thumbnails;
  for (const fs::path& photo : photos) {
    if (auto found = jpegs.extract(photo)) thumbnails.push_back({photo, std::move(found.mapped())});
  }
  return thumbnails;
}

}  // namespace

std::size_t ThumbnailStep(std::size_t photos, const Settings& settings) {
  const std::size_t room = RoomFor(settings);
  return room < kUsualBytes ? 0 : photos * kUsualBytes / room + 1;
}

void CompleteThumbnails(Mission& mission, Job& job) {
  std::size_t room = RoomFor(mission.settings);
  Jpegs jpegs;
  for (Thumbnail& thumbnail : mission.thumbnails) jpegs.emplace(std::move(thumbnail.photo), std::move(thumbnail.jpeg));
  mission.thumbnails.clear();
  const PhotoGroups groups(mission);
  for (const auto& photos : {groups.blurred, groups.dropped}) {
    if (room > 0) MakeMissing(photos, room / kUsualBytes, mission.settings, jpegs, job);
    TakeEvenly(Extracted(photos, jpegs), room, mission.thumbnails);
  }
  std::vector<Thumbnail> others;
  for (auto& [photo, jpeg] : jpegs) others.push_back({photo, std::move(jpeg)});
  TakeEvenly(std::move(others), room, mission.thumbnails);
}

}  // namespace kv::mission
