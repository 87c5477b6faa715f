#include <KVMission.h>
#include <KVUtilities.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string_view>
#include <thread>
#include <utility>

#include "simulation/SimulatedMission.h"
#include "support/TempFolder.h"

/// Runs every public operation beside every other one. What must not happen is seen by the thread sanitizer.
namespace {

namespace fs = std::filesystem;
using Strict = KVUtilities;

/// Records and files for all operations, which none of them changes.
struct Inputs {
  Inputs() {
    kv::simulation::MissionOptions options;
    options.start = std::chrono::sys_days{std::chrono::year{2025} / 6 / 21} + std::chrono::hours{12};
    options.duration = std::chrono::seconds{60};
    options.rate = 1;
    options.interval = 10;
    options.photoWidth = options.photoHeight = 32;
    const auto goOn = [](std::size_t, std::size_t) { return true; };
    WriteMission(sensor, options, goOn);
    options.drone = true;
    WriteMission(drone, options, goOn);
    temp.Write("a.pos", "2200 100.5 48.25 15.5 300 1 2 3 4 5 6 7 8 9 10\n");
    temp.Write("applanix.txt",
               " Date of Mission: 2022-03-12\n Start Time: 23:00:00\n TIME, EASTING, NORTHING, ELLIPSOID HEIGHT, "
               "LATITUDE, LONGITUDE, ELLIPSOID HEIGHT, ROLL, PITCH, HEADING\n (time in Sec)\n"
               " 601218.25 2 3 4 48.25 15.5 5 6 7 8\n");
    std::istringstream lines(temp.Read("m/trajectory.nmea"));
    std::string fixes;
    for (std::string line; std::getline(lines, line);)
      if (line.find("GGA,") != line.npos) fixes += line + '\n';
    temp.Write("fixes.nmea", fixes);
    settings = KVMission::SettingsOf(sensor);
    settings.acceptDoubt = true;
    for (const auto& kind : KVMission::OutputKinds()) {
      if (kind.name != std::string_view("kml")) settings.outputs.push_back(kind.name);  // builds of GDAL may lack it
    }
    mission = KVMission::RunMission(settings, nobody);
    trajectory = mission.trajectory->fixes;
    events = Strict::ScanKVSystemEventFile(Wide("m/events.txt"), error);
    log = Strict::ScanKVLogFile(Wide("m/housekeeping.log"), error);
    samples = Strict::ScanKVPosFile(Wide("a.pos"), utm, error);
    stations = Strict::ComputeExposureStationsFromSystemEvents(events, 0.05, error);
    photos = KVMission::PhotosIn(sensor / "cam1");
    for (const auto& name : photos) times[name.wstring()] = events.back().SystemTimeUTC;
    for (auto& photo : photos) photo = sensor / "cam1" / photo;
    grades = KVMission::GradePhotos(photos, {}, nobody);
    for (const char* name : {"m/trajectory.nmea", "a.pos", "applanix.txt", "m/orientation.txt", "d/flight.MRK"})
      descriptions.push_back(KVMission::DescribeFile(temp.Path() / name, 2, nobody));
  }

  std::wstring Wide(const char* name) const { return temp.Wide(name); }
  /// A new folder.
  fs::path Room() const {
    fs::path room = temp.Path() / ("room" + std::to_string(rooms++));
    fs::create_directory(room);
    return room;
  }
  std::wstring NewFile(const char* name) const { return (Room() / name).wstring(); }
  std::wstring CopyOfPhoto() const {
    const std::wstring copy = NewFile("photo.jpg");
    fs::copy_file(photos.front(), copy);
    return copy;
  }

  const TempFolder temp;
  const fs::path sensor = temp.Path() / "m", drone = temp.Path() / "d";
  const std::wstring utm = L"EPSG:32633";
  mutable std::atomic<int> rooms = 0;
  std::wstring error;
  KVMission::Observer nobody;
  KVMission::Settings settings;
  KVMission::Mission mission;
  std::vector<tagKVTrajectoryObs> trajectory;
  std::vector<tagKVSystemEvent> events;
  std::vector<tagKVLogEvent> log;
  std::vector<tagKVPosEvent> samples;
  std::vector<tagKVExposureStation> stations;
  std::vector<fs::path> photos;
  std::map<std::wstring, SYSTEMTIME> times;
  std::vector<KVMission::Grade> grades;
  std::vector<KVMission::FileDescription> descriptions;
};

using Action = std::function<void(const Inputs&, std::wstring& error, KVMission::Observer&)>;
struct Operation {
  const char* name;
  Action run;
};

const Operation kStrict[] = {
    {"times",
     [](auto& in, auto& error, auto&) {
       const auto time = in.events.front().SystemTimeUTC;
       Strict::FiletimeToInt64(Strict::AddSecondsToFileTime(Strict::Int64ToFiletime(1), 2));
       Strict::DeltaSecondsBetweenSystemTimes(Strict::AddSecondsToSystemTime(time, 2), time);
       Strict::DeltaSecondsBetweenFileTimes(in.trajectory[0].TimeUTC, in.trajectory[1].TimeUTC);
       Strict::GetSystemTimeFromYYMMDD_HHMMSS(L"231222_123501", error);
       Strict::GetSkyvaneDateTimeFromPrettyDateTime(L"2023-12-22 12:35:01");
       Strict::NMEA_DMtoDD(L"4807.05", L'N');
     }},
    {"ScanKVTrajectoryFile",
     [](auto& in, auto& error, auto&) {
       Strict::ScanKVTrajectoryFile(in.Wide("fixes.nmea"), in.trajectory[0].TimeUTC, error);
     }},
    {"ScanKVSystemEventFile",
     [](auto& in, auto& error, auto&) { Strict::ScanKVSystemEventFile(in.Wide("m/events.txt"), error); }},
    {"ScanKVLogFile",
     [](auto& in, auto& error, auto&) { Strict::ScanKVLogFile(in.Wide("m/housekeeping.log"), error); }},
    {"ScanKVPosFile", [](auto& in, auto& error, auto&) { Strict::ScanKVPosFile(in.Wide("a.pos"), in.utm, error); }},
    {"ScanDjiTimestampFile",
     [](auto& in, auto& error, auto&) {
       Strict::ScanDjiTimestampFileWithoutImages(in.Wide("d/flight.MRK"), error);
       Strict::ScanDjiTimestampFile(in.Wide("d/flight.MRK"), in.Wide("d"), error);
     }},
    {"ScanKVAosFile",
     [](auto& in, auto& error, auto&) {
       Strict::ScanKVAosFile(in.Wide("m/orientation.txt"), error);
       Strict::ScanKVAosFileForQX7(in.Wide("m/orientation.txt"), error);
     }},
    {"ScanApplanixPostProcessTrajectoryFile",
     [](auto& in, auto& error, auto&) {
       Strict::ScanApplanixPostProcessTrajectoryFile(in.Wide("applanix.txt"), error);
       Strict::ScanApplanixPostProcessTrajectoryFile(in.trajectory[0].TimeUTC, in.Wide("applanix.txt"), error);
     }},
    {"locations",
     [](auto& in, auto& error, auto&) {
       auto trajectory = in.trajectory;
       auto events = in.events;
       auto log = in.log;
       double latitude, longitude, altitude;
       Strict::ComputeLocationFromAdjGpsSeconds(events[0].AdjGpsSec, trajectory, latitude, longitude, altitude, error);
       Strict::ComputeLocationFromUTCTime(events[0].TimeUTC, trajectory, latitude, longitude, altitude, error);
       Strict::PopulateLogEventLocationsUsingTrajectory(log, trajectory, error);
       Strict::PopulateSystemEventLocationsUsingTrajectory(events, trajectory, error);
       int heartbeats, exposures;
       Strict::RemoveSystemEventsAtNullLocation(events, heartbeats, exposures, error);
       Strict::RemoveCameraSystemEventsWithEmptyImagePaths(events, exposures, error);
       Strict::RemoveLogEventsAtNullLocation(log, error);
       Strict::ComputeExposureStationsFromSystemEvents(in.events, 0.05, error);
     }},
    {"PopulatePhotoPaths",
     [](auto& in, auto& error, auto&) {
       const std::wstring cam1 = in.Wide("m/cam1") + L"/", cam2 = in.Wide("m/cam2") + L"/";
       auto events = in.events, timed = in.events;
       Strict::PopulatePhotoPaths(events, cam1, cam2, cam1, cam2, error);
       Strict::PopulatePhotoPathsUsingTimeStamps(timed, cam1, cam2, cam1, cam2, in.times, in.times, 0, 0, error);
       Strict::FindClosestPhotoWithinRange(in.events[0].SystemTimeUTC, cam1, in.times, 0, 1, error);
     }},
    {"PopulatePhotoSharpnessFactors",
     [](auto& in, auto& error, auto&) {
       std::vector<tagKVSystemEvent> events(1);
       events[0].Type = 2;
       events[0].PhotoPath = in.photos[0].wstring().c_str();
       Strict::PopulatePhotoSharpnessFactors(events, error);
       Strict::ComputeImageSharpnessFactor(in.photos[0].wstring(), error);
     }},
    {"RotateCameraImages",
     [](auto& in, auto& error, auto&) {
       std::vector<tagKVSystemEvent> events(1);
       events[0].Type = 2, events[0].CameraID = 1;
       events[0].PhotoPath = in.CopyOfPhoto().c_str();
       Strict::RotateCameraImages(events, 1, 30, error);
       Strict::RotateImage(events[0].PhotoPath.GetString(), 90, error);
     }},
    {"ExportTrajectoryLineShapefile",
     [](auto& in, auto& error, auto&) {
       Strict::ExportTrajectoryLineShapefile(in.NewFile("a.shp"), in.trajectory, error);
       Strict::ExportTrajectoryPointShapefile(in.NewFile("a.shp"), in.trajectory, error);
       Strict::ExportLogPointShapefile(in.NewFile("a.shp"), in.log, error);
       Strict::ExportPhotoPointShapefile(in.NewFile("a.shp"), in.events, error);
       Strict::ExportExposureStationPointShapefile(in.NewFile("a.shp"), in.stations, error);
       Strict::ExportPosPointShapefile(in.NewFile("a.shp"), in.samples, L"", error);
     }},
    {"TransformPosEvents",
     [](auto& in, auto& error, auto&) {
       auto samples = in.samples;
       std::size_t transformed;
       Strict::TransformPosEvents(samples, L"EPSG:32633+5773", transformed, error);
     }},
    {"DescribeCoordinateSystem",
     [](auto&, auto& error, auto&) { Strict::DescribeCoordinateSystem(L"EPSG:32633+5773", error); }},
    {"DescribeGeodeticData", [](auto&, auto& error, auto&) { Strict::DescribeGeodeticData(error); }},
};

const Operation kEngine[] = {
    {"RunMission",
     [](auto& in, auto&, auto& nobody) {
       KVMission::Settings settings = in.settings;
       settings.output = in.Room();
       settings.jobs = 2;
       KVMission::RunMission(settings, nobody);
     }},
    {"RunMission of a drone",
     [](auto& in, auto&, auto& nobody) { KVMission::RunMission(KVMission::SettingsOf(in.drone), nobody); }},
    {"WriteLayers",
     [](auto& in, auto&, auto& nobody) {
       KVMission::LayersOf(in.mission);
       KVMission::WriteLayers(in.mission, in.Room(), false, nobody);
     }},
    {"summaries",
     [](auto& in, auto&, auto&) {
       KVMission::SummaryText(in.mission);
       KVMission::SummaryJson(in.mission);
       KVMission::ReportHtml(in.mission);
       KVMission::CodeOf(KVMission::DropCode{});
       KVMission::TextOf(KVMission::Drop{});
       KVMission::WordFor(KVMission::Severity::Note);
       KVMission::Visible(KVMission::Utf8(in.sensor) + KVMission::Version());
     }},
    {"ReadTrajectory",
     [](auto& in, auto&, auto& nobody) {
       KVMission::TrajectoryOptions options;
       options.date = std::chrono::sys_days{std::chrono::year{2025} / 6 / 21};
       KVMission::ReadTrajectory(in.sensor / "trajectory.nmea", options, nobody);
     }},
    {"DescribeFile",
     [](auto& in, auto&, auto& nobody) {
       for (const auto& description : in.descriptions) KVMission::DescribeFile(description.file, 2, nobody);
       KVMission::DescribeFile(in.photos[0], 2, nobody);
       KVMission::DescriptionText(in.descriptions[0]);
       KVMission::DescriptionJson(in.descriptions);
     }},
    {"GeodeticData",
     [](auto&, auto&, auto&) {
       KVMission::GeodeticDataText();
       KVMission::GeodeticDataJson();
     }},
    {"TransformPos",
     [](auto& in, auto&, auto& nobody) {
       KVMission::TransformSettings settings;
       settings.pos = in.temp.Path() / "a.pos", settings.target = "EPSG:32633", settings.jobs = 2;
       const auto points = KVMission::TransformPos(
           settings, [](const std::string&) {}, nobody);
       KVMission::PosText(points);
       KVMission::PosJson(points);
       settings.output = in.Room() / "a.shp";
       KVMission::TransformPos(
           settings, [](const std::string&) {}, nobody);
     }},
    {"GradePhotos",
     [](auto& in, auto&, auto& nobody) {
       KVMission::GradePhotos(in.photos, {.jobs = 2}, nobody);
       KVMission::GradesCsv(in.photos, in.grades, true);
       KVMission::GradesJson(in.photos, in.grades);
       KVMission::PhotosIn(KVMission::FindCameraFolder(in.sensor, 1, false, nobody));
     }},
    {"RotatePhoto", [](auto& in, auto&, auto&) { KVMission::RotatePhoto(in.CopyOfPhoto(), 90, in.Room()); }},
    {"GeotagPhotos",
     [](auto& in, auto&, auto& nobody) {
       KVMission::GeotagSettings settings;
       settings.output = in.Room(), settings.jobs = 2;
       KVMission::GeotagPhotos(in.mission, settings, nobody);
     }},
    {"settings",
     [](auto& in, auto&, auto&) {
       KVMission::Settings settings = KVMission::SettingsOf(in.sensor);
       for (const auto& key : KVMission::SettingKeys())
         if (key.type == KVMission::SettingKey::Type::Flag) KVMission::Set(settings, key.name, "true");
       KVMission::OutputKinds();
     }},
};

// Without the sanitizer, which alone sees what goes wrong, each operation runs beside itself and the next one.
#if defined(__SANITIZE_THREAD__)
constexpr std::size_t kBeside = 1000;
#else
constexpr std::size_t kBeside = 2;
#endif

TEST(Concurrency, EveryOperationBesideEveryOther) {
  const Inputs inputs;
  std::vector<const Operation*> all;
  for (const Operation& operation : kStrict) all.push_back(&operation);
  for (const Operation& operation : kEngine) all.push_back(&operation);
  const auto run = [&](const Operation& operation) {
    std::wstring error;
    KVMission::Observer nobody;
    EXPECT_NO_THROW(operation.run(inputs, error, nobody)) << operation.name;
  };
  for (std::size_t first = 0; first < all.size(); ++first) {
    std::atomic<bool> done = false;
    std::thread beside([&] {
      while (!done) run(*all[first]);
    });
    for (std::size_t second = first; second < std::min(first + kBeside, all.size()); ++second) run(*all[second]);
    done = true;
    beside.join();
  }
}

}  // namespace
