#include "readers/DroneExposure.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "georef/EventTypes.h"
#include "text/Numbers.h"
#include "time/FileTimes.h"
#include "time/TimeConverter.h"

namespace kv {
namespace {

constexpr std::int32_t kOnlyCamera = 1;

// The week stands in brackets.
std::optional<std::int32_t> Week(std::string_view token) {
  std::string digits(token);
  std::erase_if(digits, [](char c) { return c == '[' || c == ']'; });
  return WholeInteger32(digits);
}

using Tokens = std::span<const std::string_view>;

/// Three numbers, each `step` tokens after the other.
std::optional<DroneAccuracy::Vector> VectorAt(Tokens tokens, std::size_t first, std::size_t step, double largest) {
  if (tokens.size() <= first + 2 * step) return {};
  const auto north = FiniteNumber(tokens[first]), east = FiniteNumber(tokens[first + step]);
  const auto vertical = FiniteNumber(tokens[first + 2 * step]);
  if (!north || !east || !vertical) return {};
  if (std::max({std::abs(*north), std::abs(*east), std::abs(*vertical)}) > largest) return {};
  return DroneAccuracy::Vector{*north, *east, *vertical};
}

}  // namespace

DroneAccuracy ReadDroneAccuracy(Tokens tokens) {
  constexpr double kLargestOffset = 1e5, kLargestDeviation = 1e5;  // millimetres; metres
  const auto is = [&](std::size_t at, std::string_view label) { return at < tokens.size() && tokens[at] == label; };
  DroneAccuracy accuracy;
  if (is(4, "N") && is(6, "E") && is(8, "V")) accuracy.offset = VectorAt(tokens, 3, 2, kLargestOffset);
  if (is(14, "Ellh")) accuracy.deviations = VectorAt(tokens, 15, 1, kLargestDeviation);
  if (is(19, "Q")) accuracy.flag = WholeInteger32(tokens[18]);
  return accuracy;
}

std::optional<DroneExposure> ReadDroneExposure(std::span<const std::string_view> tokens) {
  if (tokens.size() < kDroneTokens) return {};
  const auto number = WholeInteger32(tokens[0]);
  const auto seconds = WholeDouble(tokens[1]);
  const auto week = Week(tokens[2]);
  const auto latitude = WholeDouble(tokens[9]);
  const auto longitude = WholeDouble(tokens[11]);
  const auto height = WholeDouble(tokens[13]);
  if (!number || !seconds || !week || !latitude || !longitude || !height) return {};
  return DroneExposure{*number, *week, *seconds, *latitude, *longitude, *height};
}

tagKVSystemEvent EventOf(const DroneExposure& exposure) {
  tagKVSystemEvent event;
  TimeConverter::GPSWkSecsToAdjGPSSecs(exposure.week, exposure.secondsOfWeek, event.AdjGpsSec);
  std::int64_t ticks = 0;
  TimeConverter::AdjGPSSecsToWindowsFiletime(event.AdjGpsSec, ticks);
  event.TimeUTC = FileTimeFromTicks(static_cast<std::uint64_t>(ticks));
  event.SystemTimeUTC = SystemTimeOrZero(event.TimeUTC);
  event.Type = kCameraEvent;
  event.CameraID = kOnlyCamera;
  event.Latitude = exposure.latitude;
  event.Longitude = exposure.longitude;
  event.Altitude = exposure.height;
  return event;
}

}  // namespace kv
