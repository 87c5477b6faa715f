#include "simulation/ExposureTrouble.h"

#include <algorithm>
#include <cmath>

#include "simulation/MissionTime.h"

namespace kv::simulation {
namespace {

using std::chrono::microseconds;

constexpr microseconds kLastTestShot{-5'000'000};

class Troublemaker {
 public:
  Troublemaker(std::vector<Exposure>& exposures, const MissionOptions& options, int camera)
      : all_(exposures), camera_(camera), random_(options.seed, camera == 1 ? Stream::Trouble1 : Stream::Trouble2) {
    for (std::size_t i = 0; i < all_.size(); ++i) {
      if (all_[i].camera == camera && all_[i].station != 0) stations_.push_back(i);
    }
    for (const std::size_t i : stations_) {
      if (all_[i].fault.empty()) spared_.push_back(i);
    }
  }

  void Spoil(double share, std::string_view fault) {
    for (std::size_t left = Count(share); left > 0 && !spared_.empty(); --left) {
      std::swap(spared_[random_.Index(spared_.size())], spared_.back());
      all_[spared_.back()].fault = fault;
      spared_.pop_back();
    }
  }

  /// Adds photos between exposures, at most one after each.
  void AddExtraPhotos(double share) {
    std::vector<std::size_t> gaps(stations_.empty() ? 0 : stations_.size() - 1);
    for (std::size_t i = 0; i < gaps.size(); ++i) gaps[i] = i;
    for (std::size_t left = Count(share); left > 0 && !gaps.empty(); --left) {
      std::swap(gaps[random_.Index(gaps.size())], gaps.back());
      const microseconds from = all_[stations_[gaps.back()]].time, to = all_[stations_[gaps.back() + 1]].time;
      const double part = random_.Uniform(0.2, 0.8) * static_cast<double>((to - from).count());
      Add(from + microseconds(static_cast<std::int64_t>(part)), kExtraPhoto);
      gaps.pop_back();
    }
  }

  void AddTestShots(int count) {
    microseconds time = kLastTestShot;
    for (; count > 0; --count) {
      time -= microseconds(static_cast<std::int64_t>(random_.Uniform(1.5e6, 6e6)));
      Add(time, kTestShot);
    }
  }

 private:
  std::size_t Count(double share) const {
    return static_cast<std::size_t>(std::llround(share * static_cast<double>(stations_.size())));
  }
  void Add(microseconds time, std::string_view fault) { all_.push_back({time, camera_, 0, {}, false, fault}); }

  std::vector<Exposure>& all_;
  int camera_;
  Random random_;
  std::vector<std::size_t> stations_;  // indexes of the camera's exposures that belong to stations
  std::vector<std::size_t> spared_;    // those of them without a fault
};

}  // namespace

void TroubleExposures(std::vector<Exposure>& exposures, const MissionOptions& options) {
  const Trouble& trouble = options.trouble;
  for (const int camera : {1, 2}) {
    Troublemaker maker(exposures, options, camera);
    maker.Spoil(trouble.lostPhotos, kPhotoMissing);
    maker.Spoil(trouble.failedTriggers, kNoPhotoTaken);
    maker.Spoil(trouble.missedEvents, kEventMissing);
    maker.AddExtraPhotos(trouble.extraPhotos);
    maker.AddTestShots(trouble.testShots);
  }
  std::stable_sort(exposures.begin(), exposures.end(),
                   [](const Exposure& a, const Exposure& b) { return a.time < b.time; });
}

void SetCameraClocks(std::vector<Exposure>& exposures, const MissionOptions& options) {
  for (const int camera : {1, 2}) {
    const CameraClock& clock = options.trouble.clocks[camera - 1].value_or(CameraClock{});
    const auto counts = [camera](const Exposure& e) { return e.camera == camera && HasPhoto(e); };
    const auto photos = static_cast<double>(std::count_if(exposures.begin(), exposures.end(), counts));
    double number = 0.0;
    for (Exposure& exposure : exposures) {
      if (!counts(exposure)) continue;
      const double reset = number++ >= clock.resetAt * photos ? clock.resetBy : 0.0;
      const double error = clock.offset + clock.drift * 1e-6 * ToSeconds(exposure.time) + reset;
      exposure.clockError = microseconds(std::llround(error * 1e6));
    }
  }
}

}  // namespace kv::simulation
