#pragma once

#include <vector>

#include "simulation/Exposures.h"
#include "simulation/MissionOptions.h"

namespace kv::simulation {

/// Makes the mission's trouble with photos, triggers and events: gives faults to exposures of stations, and adds extra
/// photos and test shots. The exposures stay in time order.
void TroubleExposures(std::vector<Exposure>& exposures, const MissionOptions& options);

/// Sets what the cameras' clocks show. Exposures without a photo keep the true time.
void SetCameraClocks(std::vector<Exposure>& exposures, const MissionOptions& options);

}  // namespace kv::simulation
