#include "simulation/Exposures.h"

#include <algorithm>
#include <cmath>

#include <fmt/chrono.h>

#include "simulation/MissionTime.h"
#include "simulation/Receiver.h"

namespace kv::simulation {
namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;

constexpr double kStripMargin = 1.0;  // seconds without exposures at each end of a strip
constexpr double kIntervalSpread = 0.02;
constexpr double kBlurredShare = 0.03;

microseconds FromSeconds(double seconds) { return microseconds(static_cast<std::int64_t>(seconds * 1e6)); }

/// Delays a camera 1 exposure so that neither camera fires within 5 ms of a half second. There a stamp of whole seconds
/// could round either way, and a neighbour's photo would be as close.
microseconds ClearOfHalfSecond(microseconds time) {
  const microseconds fraction = time % 1s;
  const bool unclear = fraction > 495ms - kCamera2Delay && fraction < 505ms;
  return unclear ? time - fraction + 505ms : time;
}

/// Returns the times of camera 1's exposures, at least the interval apart.
std::vector<microseconds> PlanStations(const MissionOptions& options, const FlightPath& path, Random& random) {
  std::vector<microseconds> stations;
  for (const auto& [begin, end] : path.Strips()) {
    const microseconds last = FromSeconds(end - kStripMargin);
    microseconds time = ClearOfHalfSecond(FromSeconds(begin + kStripMargin + random.Uniform(0.0, 1.0)));
    while (time + kCamera2Delay <= last) {
      stations.push_back(time);
      const double pause = options.interval * (1.0 + random.Uniform(0.0, kIntervalSpread));
      time = ClearOfHalfSecond(time + FromSeconds(pause));
    }
  }
  return stations;
}

std::string StampName(UtcTime time) {
  return fmt::format("{:%y%m%d_%H%M%S}.jpg", Calendar(time + 500ms));  // to the nearest second
}

std::string DronePhotoName(UtcTime time, int number) {
  return fmt::format("DJI_{:%Y%m%d%H%M%S}_{:04}_V.JPG", Calendar(time), number);
}

void NamePhotos(std::vector<Exposure>& exposures, const MissionOptions& options) {
  const int digits = exposures.size() < 10'000 ? 4 : 5;  // all of one width, so that names sort by time
  int counts[2] = {};
  for (Exposure& exposure : exposures) {
    const int number = ++counts[exposure.camera - 1];
    exposure.photo = options.names == PhotoNames::Stamp ? StampName(options.start + exposure.time)
                                                        : fmt::format("DSC_{:0{}}.jpg", number, digits);
  }
}

void LosePhoto(Exposure& exposure) {
  exposure.fault = kPhotoMissing;
  exposure.photo.clear();
}

/// @param stations  their number; the last 2 * stations exposures belong to them, the cameras alternating
void LosePhotos(std::vector<Exposure>& exposures, std::size_t stations, Random& random) {
  if (stations < 2) return;
  const std::size_t first = exposures.size() - 2 * stations;
  const std::size_t lost = random.Index(stations);
  const std::size_t otherLost = (lost + 1 + random.Index(stations - 1)) % stations;
  LosePhoto(exposures[first + 2 * lost]);
  LosePhoto(exposures[first + 2 * otherLost + 1]);
}

void BlurPhotos(std::vector<Exposure>& exposures, Random& random) {
  std::vector<Exposure*> sharp;
  for (Exposure& exposure : exposures) {
    if (exposure.fault.empty()) sharp.push_back(&exposure);
  }
  const double share = kBlurredShare * static_cast<double>(sharp.size());
  for (auto left = std::max<std::int64_t>(1, std::llround(share)); left > 0 && !sharp.empty(); --left) {
    std::swap(sharp[random.Index(sharp.size())], sharp.back());
    sharp.back()->blurred = true;
    sharp.pop_back();
  }
}

}  // namespace

std::vector<Exposure> PlanExposures(const MissionOptions& options, const FlightPath& path, Random random) {
  std::vector<Exposure> exposures;
  const microseconds early = ClearOfHalfSecond(FromSeconds(random.Uniform(1.0, kFirstFixSeconds - 1.0)));
  if (options.faults) exposures.push_back({early, 1, 0, {}, false, kBeforeFirstFix});

  const std::vector<microseconds> stations = PlanStations(options, path, random);
  for (std::size_t i = 0; i < stations.size(); ++i) {
    exposures.push_back({stations[i], 1, i + 1, {}, false, {}});
    exposures.push_back({stations[i] + kCamera2Delay, 2, i + 1, {}, false, {}});
  }
  if (!options.photos) return exposures;

  NamePhotos(exposures, options);
  if (options.faults) LosePhotos(exposures, stations.size(), random);
  BlurPhotos(exposures, random);
  return exposures;
}

std::vector<Exposure> PlanDroneExposures(const MissionOptions& options, const FlightPath& path, Random random) {
  constexpr std::size_t kFewest = 4;  // enough to give each exposure one fault at most
  const std::vector<microseconds> times = PlanStations(options, path, random);
  const bool hasFaults = options.faults && times.size() >= kFewest;
  const std::size_t leftOut = hasFaults ? 1 + random.Index(times.size() - 1) : times.size();
  std::vector<Exposure> exposures;
  for (std::size_t i = 0; i < times.size(); ++i) {
    const int number = static_cast<int>(i + 1 + (i >= leftOut));
    const std::string photo = options.photos ? DronePhotoName(options.start + times[i], number) : std::string();
    exposures.push_back({times[i], 1, 0, photo, false, {}, number});
  }
  if (hasFaults) {
    const std::size_t lost = random.Index(times.size());
    LosePhoto(exposures[lost]);
    exposures[(lost + 1 + random.Index(times.size() - 1)) % times.size()].fault = kTimestampMissing;
  }
  if (options.photos) BlurPhotos(exposures, random);
  return exposures;
}

std::size_t CountPhotos(std::span<const Exposure> exposures) {
  const auto count =
      std::count_if(exposures.begin(), exposures.end(), [](const Exposure& e) { return !e.photo.empty(); });
  return static_cast<std::size_t>(count);
}

}  // namespace kv::simulation
