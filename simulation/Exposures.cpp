#include "simulation/Exposures.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "simulation/MissionTime.h"
#include "simulation/Receiver.h"

namespace kv::simulation {
namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;

constexpr double kStripMargin = 1.0;  // seconds without exposures at both ends of a strip
constexpr double kIntervalSpread = 0.02;
constexpr double kBlurredShare = 0.03;

microseconds FromSeconds(double seconds) { return microseconds(static_cast<std::int64_t>(seconds * 1e6)); }

/// Moves a camera 1 exposure on so that neither camera fires within 5 ms of a half second, where a stamp of whole
/// seconds could be rounded either way and the neighbour's photo would be as near.
microseconds ClearOfHalfSecond(microseconds time) {
  const microseconds fraction = time % 1s;
  const bool unclear = fraction > 495ms - kCamera2Delay && fraction < 505ms;
  return unclear ? time - fraction + 505ms : time;
}

/// Camera 1's exposures; two of them are never nearer than the interval.
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
  const CivilTime c = ToCivil(std::chrono::floor<std::chrono::seconds>(time + 500ms));
  return fmt::format("{:02}{:02}{:02}_{:02}{:02}{:02}.jpg", c.year % 100, c.month, c.day, c.hour, c.minute, c.second);
}

std::string DronePhotoName(UtcTime time, int number) {
  const CivilTime c = ToCivil(time);
  return fmt::format("DJI_{:04}{:02}{:02}{:02}{:02}{:02}_{:04}_V.JPG", c.year, c.month, c.day, c.hour, c.minute,
                     c.second, number);
}

void NamePhotos(std::vector<Exposure>& exposures, const MissionOptions& options) {
  const int digits = exposures.size() < 10'000 ? 4 : 5;  // of equal length, so that names sort in the order of exposure
  int counts[2] = {};
  for (Exposure& exposure : exposures) {
    const int number = ++counts[exposure.camera - 1];
    exposure.photo = options.names == PhotoNames::Stamp ? StampName(options.start + exposure.time)
                                                        : fmt::format("DSC_{:0{}}.jpg", number, digits);
  }
}

/// @param stations  how many there are; the last 2 * stations exposures are theirs, the cameras in turn
void LosePhotos(std::vector<Exposure>& exposures, std::size_t stations, Random& random) {
  if (stations < 2) return;
  const std::size_t first = exposures.size() - 2 * stations;
  const std::size_t lost = random.Index(stations);
  const std::size_t otherLost = (lost + 1 + random.Index(stations - 1)) % stations;
  for (const std::size_t index : {first + 2 * lost, first + 2 * otherLost + 1}) {
    exposures[index].fault = kPhotoMissing;
    exposures[index].photo.clear();
  }
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
  constexpr std::size_t kFewest = 4;  // for one fault each
  const std::vector<microseconds> times = PlanStations(options, path, random);
  const bool hasFaults = options.faults && times.size() >= kFewest;
  const std::size_t leftOut = hasFaults ? 1 + random.Index(times.size() - 1) : times.size();
  std::vector<Exposure> exposures;
  for (std::size_t i = 0; i < times.size(); ++i) {
    const int number = static_cast<int>(i + 1 + (i >= leftOut));
    exposures.push_back({times[i], 1, 0, DronePhotoName(options.start + times[i], number), false, {}, number});
  }
  if (hasFaults) {
    const std::size_t lost = random.Index(times.size());
    exposures[lost].fault = kPhotoMissing;
    exposures[lost].photo.clear();
    exposures[(lost + 1 + random.Index(times.size() - 1)) % times.size()].fault = kTimestampMissing;
  }
  if (options.photos) {
    BlurPhotos(exposures, random);
  } else {
    for (Exposure& exposure : exposures) exposure.photo.clear();
  }
  return exposures;
}

}  // namespace kv::simulation
