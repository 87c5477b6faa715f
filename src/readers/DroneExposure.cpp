#include "readers/DroneExposure.h"

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

}  // namespace

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
