#include "simulation/EventFile.h"

#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"

namespace kv::simulation {
namespace {

constexpr double kHeartbeatJitter = 3.0;  // microseconds
constexpr std::chrono::hours kLocalMinusUtc{2};

/// Returns what the control unit's clock shows minus UTC.
std::chrono::seconds ClockError(const MissionOptions& options) {
  switch (options.trouble.eventClock) {
    case EventClock::Utc:
      return {};
    case EventClock::Gps:
      return LeapSeconds(options.start);
    case EventClock::Local:
      return kLocalMinusUtc;
  }
  return {};
}

}  // namespace

void WriteEventFile(const std::filesystem::path& path, const MissionOptions& options, const MasterClock& clock,
                    std::span<const Exposure> exposures) {
  Random random(options.seed, Stream::Heartbeats);
  const std::chrono::sys_seconds start = options.start + ClockError(options);
  OutputFile file(path);
  auto exposure = exposures.begin();
  for (std::chrono::seconds second{0}; second <= options.duration; ++second) {
    for (; exposure != exposures.end() && exposure->time < second; ++exposure) {
      if (HasEvent(*exposure)) file.Print("{},{}\r\n", clock.TickAt(exposure->time), exposure->camera);
    }
    const auto jitter = static_cast<std::int64_t>(random.Uniform(-kHeartbeatJitter, kHeartbeatJitter));
    file.Print("{},{:%H%M%S%d%m%y}\r\n", clock.TickAt(second + std::chrono::microseconds(jitter)),
               Calendar(start + second));
  }
  file.Close();
}

}  // namespace kv::simulation
