#pragma once

#include <chrono>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "simulation/FlightPath.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

struct Exposure {
  std::chrono::microseconds time{};  ///< since the start of the mission
  int camera = 1;                    ///< 1 or 2
  std::size_t station = 0;           ///< from 1, shared by two exposures fired together; 0 for an exposure on its own
  std::string photo;                 ///< file name; empty when there is no photo
  bool blurred = false;
  std::string_view fault;                  ///< one of the texts below, or empty
  int number = 0;                          ///< of a drone's photo, from 1
  std::chrono::microseconds clockError{};  ///< what the camera's clock showed minus the true time
};

/// Camera 2 fires this long after camera 1.
inline constexpr std::chrono::microseconds kCamera2Delay{20'000};

inline constexpr std::string_view kBeforeFirstFix = "before the first fix";
inline constexpr std::string_view kPhotoMissing = "photo missing";
inline constexpr std::string_view kTimestampMissing = "timestamp missing";
inline constexpr std::string_view kNoPhotoTaken = "no photo taken";
inline constexpr std::string_view kEventMissing = "event missing";
inline constexpr std::string_view kExtraPhoto = "extra photo";
inline constexpr std::string_view kTestShot = "test shot";

/// True for an exposure with a line in the event file.
inline bool HasEvent(const Exposure& e) {
  return e.fault != kEventMissing && e.fault != kExtraPhoto && e.fault != kTestShot;
}

/// True unless the photo was lost or never taken. Applies to missions with photos.
inline bool HasPhoto(const Exposure& e) { return e.fault != kPhotoMissing && e.fault != kNoPhotoTaken; }

/// Plans the exposures of both cameras, in time order. The cameras fire on strips only. With faults, camera 1 also
/// fires once before the receiver's first fix, and each camera loses one photo. The mission's trouble with photos comes on
/// top.
std::vector<Exposure> PlanExposures(const MissionOptions& options, const FlightPath& path, Random random);

/// Plans the exposures of a drone's only camera, on strips too. With faults, one exposure loses its photo, another its
/// timestamp, and one photo number is skipped.
std::vector<Exposure> PlanDroneExposures(const MissionOptions& options, const FlightPath& path, Random random);

/// Counts the exposures that have a photo.
std::size_t CountPhotos(std::span<const Exposure> exposures);

}  // namespace kv::simulation
