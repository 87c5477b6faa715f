#include "simulation/TruthFile.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

#include "simulation/Attitude.h"
#include "simulation/LocalFrame.h"
#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"

namespace kv::simulation {
namespace {

// New columns go at the end: files of earlier versions have only the first ten.
constexpr std::string_view kFirstColumns =
    "camera,master_tick,utc,adj_gps_seconds,latitude,longitude,height,photo,blurred,fault";
constexpr std::string_view kLaterColumns = ",station";
constexpr std::string_view kFolderColumn = "folder", kClockColumn = "camera_clock";  // only if needed
constexpr std::string_view kCameraColumns = "roll,pitch,heading,camera_latitude,camera_longitude,camera_height";
constexpr std::size_t kCameraColumn = 0, kPhotoColumn = 7;
constexpr std::chrono::seconds kAdjustment{1'000'000'000};  // standard GPS time minus adjusted

std::string IsoText(UtcTime time) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:06}", Calendar(time), Microsecond(time));
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

/// True for a folder's path that does not lead out of the mission.
bool IsFolderName(std::string_view folder) {
  return !folder.starts_with('/') && folder.find_first_of("\\:") == folder.npos && folder.find("..") == folder.npos;
}

struct Column {
  std::string_view name;
  std::function<std::string(const Exposure&)> text;
};

/// Returns "roll,pitch,heading,latitude,longitude,height" of the camera when it exposes.
std::string CameraText(const Exposure& exposure, const MissionOptions& options, const FlightPath& flight) {
  const CameraMount mount = options.trouble.mounts[exposure.camera - 1].value_or(CameraMount{});
  const double seconds = ToSeconds(exposure.time) + mount.shutterDelay;
  const Attitude attitude = AttitudeAt(flight, seconds);
  const LocalPosition camera = flight.At(seconds) + LeverArmAt(flight, mount, seconds);
  const GeodeticPosition place = LocalFrame(options.latitude, options.longitude).ToGeodetic(camera);
  return fmt::format("{:.4f},{:.4f},{:.4f},{:.10f},{:.10f},{:.4f}", attitude.roll, attitude.pitch,
                     attitude.heading < 0.0 ? attitude.heading + 360.0 : attitude.heading, place.latitude,
                     place.longitude, place.height);
}

/// Returns the columns that the mission's trouble needs.
std::vector<Column> TroubleColumns(const MissionOptions& options, const FlightPath& flight) {
  const Trouble& trouble = options.trouble;
  std::vector<Column> columns;
  if (trouble.swapCameras || trouble.photoFolders != PhotoFolders::Camera)
    columns.push_back({kFolderColumn, [&](const Exposure& e) { return PhotoFolder(options, e.camera); }});
  if (trouble.clocks[0] || trouble.clocks[1]) {
    columns.push_back({kClockColumn, [&](const Exposure& e) {
                         return e.photo.empty() ? std::string() : IsoText(options.start + e.time + e.clockError);
                       }});
  }
  if (trouble.mounts[0] || trouble.mounts[1] || options.tracks.sbet)
    columns.push_back({kCameraColumns, [&](const Exposure& e) { return CameraText(e, options, flight); }});
  return columns;
}

}  // namespace

std::string PhotoFolder(const MissionOptions& options, int camera) {
  if (options.drone) return {};
  const int number = options.trouble.swapCameras ? 3 - camera : camera;
  switch (options.trouble.photoFolders) {
    case PhotoFolders::Camera:
      break;
    case PhotoFolders::Dcim:
      return fmt::format("DCIM{}", number);
    case PhotoFolders::Nested:
      return fmt::format("cam{}/100DSC", number);
  }
  return fmt::format("cam{}", number);
}

void WriteTruthFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                    const MasterClock& clock, std::span<const Exposure> exposures) {
  const LocalFrame frame(options.latitude, options.longitude);
  const auto tick = [&](const Exposure& exposure) {
    return options.drone || !HasEvent(exposure) ? 0U : clock.TickAt(exposure.time);
  };
  const std::vector<Column> columns = TroubleColumns(options, flight);
  OutputFile file(path);
  file.Print("{}{}", kFirstColumns, kLaterColumns);
  for (const Column& column : columns) file.Print(",{}", column.name);
  file.Print("\n");
  for (const Exposure& exposure : exposures) {
    const UtcTime utc = options.start + exposure.time;
    const GeodeticPosition place = frame.ToGeodetic(flight.At(ToSeconds(exposure.time)));
    file.Print("{},{},{}Z,{},{:.10f},{:.10f},{:.4f},{},{:d},{},{}", exposure.camera, tick(exposure), IsoText(utc),
               SecondsText(GpsTime(utc) - kAdjustment), place.latitude, place.longitude, place.height, exposure.photo,
               exposure.blurred, exposure.fault, StationText(exposure));
    for (const Column& column : columns) file.Print(",{}", column.text(exposure));
    file.Print("\n");
  }
  file.Close();
}

void RemoveMissionOfTruthFile(const std::filesystem::path& path) {
  if (!std::filesystem::is_regular_file(path)) return;  // reading a device might never end
  std::ifstream file(path, std::ios::binary);
  std::string line;
  if (!std::getline(file, line) || !line.starts_with(kFirstColumns)) return;
  const std::vector<std::string> header = Fields(line);
  const auto folderColumn =
      static_cast<std::size_t>(std::find(header.begin(), header.end(), kFolderColumn) - header.begin());
  std::error_code ignored;  // a file that cannot be removed cannot be overwritten, and that is reported
  for (const char* name : {kTrajectoryName, kEventsName, kHousekeepingName, kOrientationName, kInstrumentName, kPosName,
                           kSbetName, kGpxName, kTimestampsName})
    std::filesystem::remove(path.parent_path() / name, ignored);
  while (std::getline(file, line)) {
    const std::vector<std::string> fields = Fields(line);
    if (fields.size() <= kPhotoColumn || !IsPhotoName(fields[kPhotoColumn])) continue;
    std::string folder = fields[kCameraColumn] == "1" ? "cam1" : "cam2";
    if (IsDronePhoto(fields[kPhotoColumn])) folder.clear();
    if (folderColumn < fields.size()) folder = fields[folderColumn];
    if (!IsFolderName(folder)) continue;
    const std::filesystem::path mission = path.parent_path();
    std::filesystem::remove(mission / folder / fields[kPhotoColumn], ignored);
    for (std::filesystem::path empty = folder; !empty.empty(); empty = empty.parent_path())
      std::filesystem::remove(mission / empty, ignored);  // fails until it is empty
  }
}

}  // namespace kv::simulation
