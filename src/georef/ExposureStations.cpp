#include <vector>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "georef/EventTypes.h"
#include "georef/StationForming.h"

namespace {

constexpr const wchar_t* kNoEvents = L"Compute Exposure Stations Failed:  System Events are empty.";
constexpr const wchar_t* kUnexpectedError = L"Compute Exposure Stations Failed:  Unexpected error occurred.";

}  // namespace

std::vector<tagKVExposureStation> KVUtilities::ComputeExposureStationsFromSystemEvents(
    std::vector<tagKVSystemEvent> events, double toleranceSeconds, std::wstring& error) {
  error.clear();
  std::vector<tagKVExposureStation> stations;
  try {
    if (events.empty()) kv::Report(error, kNoEvents);
    std::vector<tagKVSystemEvent*> exposures;
    exposures.reserve(events.size());
    for (tagKVSystemEvent& event : events) {
      if (event.Type == kv::kCameraEvent) exposures.push_back(&event);
    }
    kv::FormStations<tagKVSystemEvent>(exposures, toleranceSeconds, stations);
  } catch (...) {
    kv::Report(error, kUnexpectedError);
  }
  return stations;
}
