#include "simulation/Exposures.h"

#include <algorithm>
#include <cmath>
#include <set>

#include <fmt/chrono.h>

#include "simulation/ExposureTrouble.h"
#include "simulation/MissionTime.h"
#include "simulation/Receiver.h"

namespace kv::simulation {
namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;

constexpr double kStripMargin = 1.0;  // seconds without exposures at each end of a strip
constexpr double kIntervalSpread = 0.02, kIrregularSpread = 1.0;
constexpr double kBlurredShare = 0.03;

microseconds FromSeconds(double seconds) { return microseconds(static_cast<std::int64_t>(seconds * 1e6)); }

/// Delays a camera 1 exposure so that neither camera fires within 5 ms of a half second. There a stamp of whole seconds
/// could round either way, and a neighbour's photo would be as close.
microseconds ClearOfHalfSecond(microseconds time) {
  const microseconds fraction = time % 1s;
  const bool unclear = fraction > 495ms - kCamera2Delay && fraction < 505ms;
  return unclear ? time - fraction + 505ms : time;
}

/// Returns when the cameras fire, seconds from the start of the mission.
std::vector<FlightPath::Span> FiringSpans(Triggers triggers, const FlightPath& path) {
  if (triggers != Triggers::Nonstop || path.Strips().empty()) return path.Strips();
  return {{path.Strips().front().begin, path.Strips().back().end}};
}

/// Returns the time of the exposure after one of camera 1.
microseconds NextStation(microseconds time, const MissionOptions& options, Random& random) {
  const Triggers triggers = options.trouble.triggers;
  if (triggers == Triggers::Regular || triggers == Triggers::Nonstop) return time + FromSeconds(options.interval);
  const double spread = triggers == Triggers::Irregular ? kIrregularSpread : kIntervalSpread;
  const double pause = options.interval * (1.0 + random.Uniform(0.0, spread));
  return ClearOfHalfSecond(time + FromSeconds(pause));
}

/// Returns the times of camera 1's exposures, at least the interval apart.
std::vector<microseconds> PlanStations(const MissionOptions& options, const FlightPath& path, Random& random) {
  std::vector<microseconds> stations;
  for (const auto& [begin, end] : FiringSpans(options.trouble.triggers, path)) {
    const microseconds last = FromSeconds(end - kStripMargin);
    microseconds time = ClearOfHalfSecond(FromSeconds(begin + kStripMargin + random.Uniform(0.0, 1.0)));
    while (time + kCamera2Delay <= last) {
      stations.push_back(time);
      time = NextStation(time, options, random);
    }
  }
  return stations;
}

/// @param taken  names of the camera's photos; a name that is among them gets a suffix
std::string StampName(UtcTime time, std::set<std::string>& taken) {
  const std::string stamp = fmt::format("{:%y%m%d_%H%M%S}", Calendar(time + 500ms));  // to the nearest second
  std::string name = stamp + ".jpg";
  for (int copy = 2; !taken.insert(name).second; ++copy) name = fmt::format("{}_{}.jpg", stamp, copy);
  return name;
}

std::string DronePhotoName(UtcTime time, int number) {
  return fmt::format("DJI_{:%Y%m%d%H%M%S}_{:04}_V.JPG", Calendar(time), number);
}

void NamePhotos(std::vector<Exposure>& exposures, const MissionOptions& options) {
  const int digits = exposures.size() < 10'000 ? 4 : 5;  // all of one width, so that names sort by time
  int counts[2] = {};
  std::set<std::string> taken[2];
  for (Exposure& exposure : exposures) {
    if (exposure.fault == kNoPhotoTaken) continue;
    const int number = ++counts[exposure.camera - 1];
    if (!HasPhoto(exposure)) continue;
    const UtcTime shown = options.start + exposure.time + exposure.clockError;
    exposure.photo = options.names == PhotoNames::Stamp ? StampName(shown, taken[exposure.camera - 1])
                                                        : fmt::format("DSC_{:0{}}.jpg", number, digits);
  }
}

/// @param stations  their number; the last 2 * stations exposures belong to them, the cameras alternating
void LosePhotos(std::vector<Exposure>& exposures, std::size_t stations, Random& random) {
  if (stations < 2) return;
  const std::size_t first = exposures.size() - 2 * stations;
  const std::size_t lost = random.Index(stations);
  const std::size_t otherLost = (lost + 1 + random.Index(stations - 1)) % stations;
  exposures[first + 2 * lost].fault = kPhotoMissing;
  exposures[first + 2 * otherLost + 1].fault = kPhotoMissing;
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

  if (options.faults) LosePhotos(exposures, stations.size(), random);
  BlurPhotos(exposures, random);
  TroubleExposures(exposures, options);
  SetCameraClocks(exposures, options);
  NamePhotos(exposures, options);
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
    exposures[lost].fault = kPhotoMissing;
    exposures[lost].photo.clear();
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
