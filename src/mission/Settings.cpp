#include "mission/Settings.h"

#include <algorithm>
#include <cmath>

#include "text/Numbers.h"

namespace kv::mission {
namespace {

using Path = std::filesystem::path;

constexpr double kLargestSeconds = 1e9;  // some 30 years; more is no offset of a clock, and no gap

std::string Read(std::string_view text, std::optional<Path>& value) {
  if (text.empty()) return "a path is missing";
  if (text.find('\0') != std::string_view::npos) return "must be a path, which has no NUL in it";
  value = Path(text);
  return {};
}

std::string Read(std::string_view text, std::optional<std::chrono::sys_days>& value) {
  value = ParseDate(text);
  return value ? "" : "must be a date YYYY-MM-DD";
}

std::string Read(std::string_view text, std::optional<PairChoice>& value) {
  constexpr std::array<std::pair<std::string_view, PairChoice>, 3> choices{
      {{"auto", PairChoice::Auto}, {"time", PairChoice::Time}, {"order", PairChoice::Order}}};
  for (const auto& [name, choice] : choices) {
    if (text == name) value = choice;
  }
  return value ? "" : "must be order, time or auto";
}

std::string Read(std::string_view text, std::optional<PositionSource>& value) {
  if (text == "mrk") value = PositionSource::Timestamps;
  if (text == "pos") value = PositionSource::PostProcessed;
  return value ? "" : "must be mrk or pos";
}

std::string Read(std::string_view text, std::optional<double>& value) {
  value = FiniteNumber(text);
  return value && std::abs(*value) <= kLargestSeconds ? "" : "must be a number of seconds";
}

std::string Read(std::string_view text, std::optional<Share>& value) {
  const auto number = FiniteNumber(text);
  if (!number || *number < 0 || *number > 1) return "must be a number from 0 to 1";
  value = Share{*number};
  return {};
}

std::string Read(std::string_view text, std::optional<std::string>& value) {
  if (text.empty()) return "a coordinate system is missing";
  value = std::string(text);
  return {};
}

/// What some numbers of seconds must be besides.
struct Limit {
  SettingMember member;
  bool (*holds)(double seconds);
  const char* complaint;
};
const std::array<Limit, 2> kLimits{
    {{&Settings::maxGap, [](double seconds) { return seconds > 0; }, "must be positive"},
     {&Settings::tolerance, [](double seconds) { return seconds >= 0; }, "must not be negative"}}};

}  // namespace

std::string SetFromText(const SettingMember& member, std::string_view text, Settings& settings) {
  const std::string complaint = std::visit([&](auto pointer) { return Read(text, settings.*pointer); }, member);
  const auto limit = std::find_if(kLimits.begin(), kLimits.end(), [&](auto& entry) { return entry.member == member; });
  if (!complaint.empty() || limit == kLimits.end() || limit->holds(*FiniteNumber(text))) return complaint;
  return limit->complaint;
}

void FillIn(Settings& settings, const Settings& defaults) {
  for (const auto& key : kSettingKeys) {
    std::visit(
        [&](auto pointer) {
          if (!(settings.*pointer)) settings.*pointer = defaults.*pointer;
        },
        key.member);
  }
}

}  // namespace kv::mission
