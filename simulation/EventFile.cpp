#include "simulation/EventFile.h"

#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"

namespace kv::simulation {
namespace {

constexpr double kHeartbeatJitter = 3.0;  // microseconds

}  // namespace

void WriteEventFile(const std::filesystem::path& path, const MissionOptions& options, const MasterClock& clock,
                    std::span<const Exposure> exposures) {
  Random random(options.seed, Stream::Heartbeats);
  OutputFile file(path);
  auto exposure = exposures.begin();
  for (std::chrono::seconds second{0}; second <= options.duration; ++second) {
    for (; exposure != exposures.end() && exposure->time < second; ++exposure) {
      file.Print("{},{}\r\n", clock.TickAt(exposure->time), exposure->camera);
    }
    const auto jitter = static_cast<std::int64_t>(random.Uniform(-kHeartbeatJitter, kHeartbeatJitter));
    file.Print("{},{:%H%M%S%d%m%y}\r\n", clock.TickAt(second + std::chrono::microseconds(jitter)),
               Calendar(options.start + second));
  }
  file.Close();
}

}  // namespace kv::simulation
