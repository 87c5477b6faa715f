#pragma once

#include <KVMission.h>

#include <vector>

#include "base/Job.h"
#include "outputs/MissionLayers.h"

/// KML and GPX, which have layers and fields of their own, and heights above the geoid.
namespace kv::mission {

/// Heights of the geoid above the ellipsoid, metres; empty when the geoid is not known.
struct GeoidSeparations {
  std::vector<double> exposures;  ///< of the mission; 0 for those without a place
  std::vector<double> fixes;      ///< of its trajectory
};

inline constexpr const char* kKmlFile = "mission.kml";
inline constexpr const char* kGpxFile = "mission.gpx";

/// Folders of photos, dropped exposures and the trajectory: docs/formats/kml.md. @throws Failure
void WriteKml(const Mission& mission, const GeoidSeparations& geoid, const OutputPaths& paths, Job& job);

/// Photos as waypoints, and the trajectory as a track: docs/formats/gpx.md. @throws Failure
void WriteGpx(const Mission& mission, const GeoidSeparations& geoid, const OutputPaths& paths, Job& job);

}  // namespace kv::mission
