#include "base/Progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/Log.h"

namespace kv::mission {
namespace {

constexpr std::chrono::milliseconds kBetweenDraws{100};
constexpr double kBarWidth = 24;

}  // namespace

Progress::Progress(bool shown, std::string label, std::string unit)
    : shown_(shown), label_(std::move(label)), unit_(std::move(unit)) {}

Progress::~Progress() {
  if (lastDrawn_ != start_) ShowText("\r\x1b[K");
}

void Progress::Draw(std::uint64_t done, std::uint64_t total) {
  const auto now = Clock::now();
  if (now - lastDrawn_ < kBetweenDraws) return;
  lastDrawn_ = now;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  std::string line = fmt::format("\r{} {} {}, {:.0f}/s", label_, count_, unit_, static_cast<double>(count_) / seconds);
  if (done > 0 && total > 0) {
    const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    line += fmt::format(" [{:<{}}] {:.0f} s left", std::string(static_cast<std::size_t>(share * kBarWidth), '#'),
                        static_cast<int>(kBarWidth), seconds / share - seconds);
  }
  ShowText(line + "\x1b[K");
}

}  // namespace kv::mission
