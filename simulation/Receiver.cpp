#include "simulation/Receiver.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace kv::simulation {
namespace {

constexpr double kCorrelationSeconds = 10.0;
constexpr double kDeviationsInNoise = 3.0;

}  // namespace

struct Receiver::Phase {
  double until;  // seconds from the start of the mission
  int quality;
  std::string_view talker;
  int satellites;
  double hdop;
  double noiseFactor;
};

namespace {

using Phase = Receiver::Phase;

/// How the receiver settles. The last phase begins before take-off and lasts to the end.
constexpr auto kPhases = std::to_array<Phase>({
    {kFirstFixSeconds, 0, "GN", 0, kNoDop, 0.0},
    {9.0, 1, "GP", 7, 1.6, 100.0},
    {13.0, 5, "GN", 14, 0.9, 10.0},
    {std::numeric_limits<double>::infinity(), 4, "GN", 16, 0.7, 1.0},
});
/// What is left once the corrections are lost, by RtkLoss::Quality.
constexpr auto kLostPhases = std::to_array<Phase>({
    {0.0, 5, "GN", 14, 0.9, 20.0},
    {0.0, 2, "GN", 13, 1.0, 100.0},
    {0.0, 1, "GN", 12, 1.1, 400.0},
});
const Phase& LostPhase(const RtkLoss& loss) { return kLostPhases[static_cast<std::size_t>(loss.quality)]; }

static_assert(kPhases[kPhases.size() - 2].until < FlightPath::kParkedSeconds);

}  // namespace

double NoiseFactor(const RtkLoss& loss, double seconds) {
  return loss.Holds(seconds) ? LostPhase(loss).noiseFactor : 1.0;
}

Receiver::Receiver(const MissionOptions& options, const FlightPath& path, Random random)
    : path_(path),
      frame_(options.latitude, options.longitude),
      random_(random),
      noise_(options.noise),
      loss_(options.trouble.rtkLoss),
      memory_(std::exp(-1.0 / (options.rate * kCorrelationSeconds))) {
  for (double& axis : state_) axis = random_.Normal();
}

LocalPosition Receiver::NextError(double limit) {
  const double news = std::sqrt(1.0 - memory_ * memory_);
  for (double& axis : state_) axis = memory_ * axis + news * random_.Normal();
  const double length = std::hypot(state_[0], state_[1], state_[2]);
  const double scale = limit / std::max(kDeviationsInNoise, length);
  return {state_[0] * scale, state_[1] * scale, state_[2] * scale};
}

Fix Receiver::Next(double seconds) {
  const Phase& settled =
      *std::find_if(kPhases.begin(), kPhases.end(), [&](const Phase& candidate) { return seconds < candidate.until; });
  return NextOf(settled.quality == 4 && loss_.Holds(seconds) ? LostPhase(loss_) : settled, seconds);
}

Fix Receiver::NextSettled(double seconds) { return NextOf(kPhases.back(), seconds); }

Fix Receiver::NextOf(const Phase& phase, double seconds) {
  const LocalPosition seen = path_.At(seconds) + NextError(noise_ * phase.noiseFactor);
  return {phase.quality,
          phase.talker,
          phase.satellites,
          phase.hdop,
          frame_.ToGeodetic(seen),
          path_.VelocityAt(seconds),
          noise_ * phase.noiseFactor};
}

}  // namespace kv::simulation
