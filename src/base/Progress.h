#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kv::mission {

/// A bar on standard error with count, rate and time left; silent unless it is to be shown. The line is cleared at the
/// end.
class Progress {
 public:
  /// @param unit  what is counted, in the plural
  Progress(bool shown, std::string label, std::string unit);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Counts one more; cheap enough for every line of a log.
  /// @param done, total  share of the whole, in any one unit; a total of 0 means that it is not known
  void Step(std::uint64_t done, std::uint64_t total) {
    if ((++count_ & kMask) == 0 && shown_) Draw(done, total);
  }

  /// The same for few and slow steps that are counted elsewhere.
  void Show(std::uint64_t count, std::uint64_t total) {
    count_ = count;
    if (shown_) Draw(count, total);
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::uint64_t kMask = 0x3F;  // the clock is read once in 64 steps

  void Draw(std::uint64_t done, std::uint64_t total);

  bool shown_;
  std::string label_;
  std::string unit_;
  std::uint64_t count_ = 0;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastDrawn_ = start_;
};

}  // namespace kv::mission
