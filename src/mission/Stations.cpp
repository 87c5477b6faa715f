#include "mission/Stations.h"

#include <KVUtilities.h>

#include <algorithm>

#include "base/Failure.h"
#include "base/Statistics.h"
#include "mission/Pairing.h"
#include "mission/inputs/EventFile.h"
#include "platform/FileNames.h"

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

void WarnOfStations(const std::vector<tagKVExposureStation>& stations, const StationSummary& summary, Log& log) {
  const auto first = std::find_if(stations.begin(), stations.end(), IsOfOneCamera);
  if (first != stations.end())
    log.Warn("{} of two exposures of the same camera, first at {}: is --tolerance larger than the camera's interval?",
             Counted(summary.sameCamera, "station"), TimeText(FromFileTime(first->TimeUTC)));
  const auto has1 = [](auto& station) { return station.Cam1Event.Type == kCameraEvent; };
  const auto has2 = [](auto& station) { return station.Cam2Event.Type == kCameraEvent; };
  if (summary.paired == 0 && std::any_of(stations.begin(), stations.end(), has1) &&
      std::any_of(stations.begin(), stations.end(), has2))
    log.Warn("no exposures of the two cameras are less than {} s apart: all stations are single; is --tolerance right?",
             summary.tolerance);
}

}  // namespace

std::vector<tagKVExposureStation> FormStations(const std::vector<tagKVSystemEvent>& events, double tolerance,
                                               StationSummary& summary, Log& log) {
  summary.tolerance = tolerance;
  if (events.empty()) return {};  // no fault here: the layer is empty, and the summary tells what was dropped
  std::wstring error;
  auto stations = KVUtilities::ComputeExposureStationsFromSystemEvents(events, tolerance, error);
  if (!error.empty()) throw Failure(Utf8(error));
  std::vector<double> differences;
  for (const auto& station : stations) {
    if (IsPair(station)) differences.push_back(DifferenceIn(station));
    summary.sameCamera += IsOfOneCamera(station);
  }
  summary.paired = differences.size();
  summary.single = stations.size() - summary.paired;
  if (!differences.empty()) {
    std::sort(differences.begin(), differences.end());
    summary.largest = differences.back();
    summary.median = Quantile(differences, 0.5);
  }
  WarnOfStations(stations, summary, log);
  return stations;
}

}  // namespace kv::mission
