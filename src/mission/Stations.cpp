#include "mission/Steps.h"

#include <KVUtilities.h>

#include <algorithm>
#include <utility>

#include "base/Statistics.h"
#include "georef/EventTypes.h"
#include "georef/StationForming.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

bool IsPair(const tagKVExposureStation& station) {
  return station.Cam1Event.Type == kCameraEvent && station.Cam2Event.Type == kCameraEvent;
}

bool IsOfOneCamera(const tagKVExposureStation& station) {
  return IsPair(station) && CameraOf(station.Cam1Event) == CameraOf(station.Cam2Event);
}

double DifferenceIn(const tagKVExposureStation& pair) {
  return KVUtilities::DeltaSecondsBetweenFileTimes(pair.Cam1Event.TimeUTC, pair.Cam2Event.TimeUTC);
}

void TellOfStations(const Stations& formed, Job& job) {
  const auto& stations = formed.stations;
  const auto first = std::find_if(stations.begin(), stations.end(), IsOfOneCamera);
  if (first != stations.end())
    job.Add(Found::StationsOfOneCamera, {{"count", Count(formed.sameCamera)}, {"time", FromFileTime(first->TimeUTC)}});
  const auto has1 = [](auto& station) { return station.Cam1Event.Type == kCameraEvent; };
  const auto has2 = [](auto& station) { return station.Cam2Event.Type == kCameraEvent; };
  if (formed.paired == 0 && std::any_of(stations.begin(), stations.end(), has1) &&
      std::any_of(stations.begin(), stations.end(), has2))
    job.Add(Found::StationsAllSingle, {{"seconds", formed.toleranceSeconds}});
}

}  // namespace

Stations FormStations(const std::vector<Exposure>& exposures, double toleranceSeconds, Job& job) {
  Stations formed;
  formed.toleranceSeconds = toleranceSeconds;
  std::vector<const tagKVSystemEvent*> events;
  for (const Exposure& exposure : exposures) {
    if (IsPlaced(exposure.event)) events.push_back(&exposure.event);
  }
  kv::FormStations<const tagKVSystemEvent>(events, toleranceSeconds, formed.stations);
  std::vector<double> differences;
  for (const auto& station : formed.stations) {
    if (IsPair(station)) differences.push_back(DifferenceIn(station));
    formed.sameCamera += IsOfOneCamera(station);
  }
  formed.paired = differences.size();
  formed.single = formed.stations.size() - formed.paired;
  formed.differences = SpreadOf(std::move(differences));
  TellOfStations(formed, job);
  return formed;
}

}  // namespace kv::mission
