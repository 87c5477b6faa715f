#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "base/Log.h"
#include "mission/Settings.h"
#include "mission/Summary.h"
#include "mission/inputs/EventFile.h"
#include "mission/inputs/TimestampFile.h"

/// Missions of a drone, whose camera events arrive with a place, and by number with a photo.
namespace kv::mission {

/// Of a post-processed trajectory with nothing to compare, behind its name.
inline constexpr const char* kNoUsableSample = "no usable sample";

/// Completes the inputs of a drone mission: photos beside the timestamp file, which become those of camera 1.
/// @throws Failure for wrong usage when inputs do not go together
void SettleDroneInputs(Settings& settings, Log& log);

/// The exposures as events, with their photos.
/// @param summary  receives timestamps and camera
/// @throws Failure as `ReadDroneTimestamps`; when the photo folder cannot be listed
EventLog ReadDroneEvents(const std::filesystem::path& scratch, Summary& summary, Log& log);

/// Compares the exposures' places with those of a post-processed trajectory at the same GPS time and, when these are
/// wanted, takes them over; exposures outside the trajectory then have no place.
/// @param samples  those without a valid time, and single ones out of the order of time, are left out
/// @return  the trajectory, without observations where the places of the timestamp file stay
/// @throws Failure with the library's sentence; without a usable sample when places are wanted, else that is a warning
Trajectory ApplyPostProcessed(const std::vector<tagKVPosEvent>& samples, std::vector<tagKVSystemEvent>& events,
                              Summary& summary, Log& log);

}  // namespace kv::mission
