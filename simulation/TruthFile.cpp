#include "simulation/TruthFile.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "simulation/LocalFrame.h"
#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"

namespace kv::simulation {
namespace {

// New columns go at the end: files of earlier versions have only the first ten.
constexpr std::string_view kFirstColumns =
    "camera,master_tick,utc,adj_gps_seconds,latitude,longitude,height,photo,blurred,fault";
constexpr std::string_view kLaterColumns = ",station";
constexpr std::size_t kCameraColumn = 0, kPhotoColumn = 7;
constexpr std::chrono::seconds kAdjustment{1'000'000'000};  // standard GPS time minus adjusted

std::string IsoText(UtcTime time) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:06}Z", Calendar(time), Microsecond(time));
}

std::string StationText(const Exposure& exposure) {
  return exposure.station == 0 ? std::string() : fmt::format("{}", exposure.station);
}

std::vector<std::string> Fields(std::string_view line) {
  std::vector<std::string> fields(1);
  for (const char c : line) c == ',' ? void(fields.emplace_back()) : fields.back().push_back(c);
  return fields;
}

bool IsDronePhoto(std::string_view name) { return name.ends_with(".JPG"); }

/// True for a photo's name that cannot lead out of its folder.
bool IsPhotoName(std::string_view name) {
  return (name.ends_with(".jpg") || IsDronePhoto(name)) && name.find_first_of("/\\:") == name.npos;
}

}  // namespace

std::filesystem::path CameraFolder(const std::filesystem::path& mission, int camera) {
  return mission / (camera == 1 ? "cam1" : "cam2");
}

void WriteTruthFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                    const MasterClock& clock, std::span<const Exposure> exposures) {
  const LocalFrame frame(options.latitude, options.longitude);
  const auto tick = [&](const Exposure& exposure) { return options.drone ? 0U : clock.TickAt(exposure.time); };
  OutputFile file(path);
  file.Print("{}{}\n", kFirstColumns, kLaterColumns);
  for (const Exposure& exposure : exposures) {
    const UtcTime utc = options.start + exposure.time;
    const GeodeticPosition place = frame.ToGeodetic(flight.At(ToSeconds(exposure.time)));
    file.Print("{},{},{},{},{:.10f},{:.10f},{:.4f},{},{:d},{},{}\n", exposure.camera, tick(exposure), IsoText(utc),
               SecondsText(GpsTime(utc) - kAdjustment), place.latitude, place.longitude, place.height, exposure.photo,
               exposure.blurred, exposure.fault, StationText(exposure));
  }
  file.Close();
}

void RemoveMissionOfTruthFile(const std::filesystem::path& path) {
  if (!std::filesystem::is_regular_file(path)) return;  // reading a device might never end
  std::ifstream file(path, std::ios::binary);
  std::string line;
  if (!std::getline(file, line) || !line.starts_with(kFirstColumns)) return;
  std::error_code ignored;  // a file that cannot be removed cannot be overwritten, and that is reported
  for (const char* name : {kTrajectoryName, kEventsName, kHousekeepingName, kOrientationName, kTimestampsName})
    std::filesystem::remove(path.parent_path() / name, ignored);
  while (std::getline(file, line)) {
    const std::vector<std::string> fields = Fields(line);
    if (fields.size() <= kPhotoColumn || !IsPhotoName(fields[kPhotoColumn])) continue;
    const std::filesystem::path mission = path.parent_path();
    const int camera = fields[kCameraColumn] == "1" ? 1 : 2;
    const auto folder = IsDronePhoto(fields[kPhotoColumn]) ? mission : CameraFolder(mission, camera);
    std::filesystem::remove(folder / fields[kPhotoColumn], ignored);
    std::filesystem::remove(folder, ignored);  // fails until it is empty; the truth file keeps the mission's
  }
}

}  // namespace kv::simulation
