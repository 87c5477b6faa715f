#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

struct Exposure {
  std::chrono::microseconds time{};  ///< since the start of the mission
  int camera = 1;                    ///< 1 or 2
  std::size_t station = 0;           ///< from 1, shared by the two exposures fired together; 0 for one fired alone
  std::string photo;                 ///< file name; empty when there is none
  bool blurred = false;
  std::string_view fault;  ///< what went wrong with it, or empty
  int number = 0;          ///< of a drone's photo, from 1
};

/// Camera 2 fires this much after camera 1.
inline constexpr std::chrono::microseconds kCamera2Delay{20'000};

inline constexpr std::string_view kBeforeFirstFix = "before the first fix";
inline constexpr std::string_view kPhotoMissing = "photo missing";
inline constexpr std::string_view kTimestampMissing = "timestamp missing";

/// All exposures of both cameras in time order. The cameras fire on strips only. With faults, camera 1 fires once while
/// the receiver has no fix yet, and each camera loses one photo.
std::vector<Exposure> PlanExposures(const MissionOptions& options, const FlightPath& path, Random random);

/// Those of a drone's only camera, on strips too. With faults, one loses its photo and another one its timestamp, and
/// one photo number is left out.
std::vector<Exposure> PlanDroneExposures(const MissionOptions& options, const FlightPath& path, Random random);

}  // namespace kv::simulation
