#include "run/Settings.h"

#include <cmath>

#include "field/Numbers.h"

namespace kv::mission {
namespace {

using Path = std::filesystem::path;

constexpr double kLargestSeconds = 1e9;  // some 30 years; more is no offset of a clock, and no gap

std::string Read(std::string_view text, std::optional<Path>& value) {
  if (text.empty()) return "a path is missing";
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

std::string Read(std::string_view text, std::optional<double>& value) {
  value = Decimal(text);
  return value && std::abs(*value) <= kLargestSeconds ? "" : "must be a number of seconds";
}

std::string Read(std::string_view text, std::optional<Share>& value) {
  const auto number = Decimal(text);
  if (!number || *number < 0 || *number > 1) return "must be a number from 0 to 1";
  value = Share{*number};
  return {};
}

}  // namespace

std::string SetFromText(const SettingMember& member, std::string_view text, Settings& settings) {
  return std::visit([&](auto pointer) { return Read(text, settings.*pointer); }, member);
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
