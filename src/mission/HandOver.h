#pragma once

#include "base/Job.h"
#include "mission/OutputKinds.h"

/// Results for programs that take photos further.
namespace kv::mission {

/// The outputs for photogrammetry: a file for each camera, "cam1/geo.txt".
const std::vector<OutputRow>& PhotogrammetryRows();

/// Says what those that are wanted cannot hold, and what their angles mean.
void TellOfHandOver(const Mission& mission, Job& job);

/// @throws Failure (WrongUsage) when a target gives the heights that are also asked for
void CheckHeights(const Settings& settings);

}  // namespace kv::mission
