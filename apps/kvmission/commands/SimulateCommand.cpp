#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>

#include "commands/Commands.h"
#include "commands/SimulateTrouble.h"
#include "simulation/MissionTime.h"
#include "simulation/SimulatedMission.h"

namespace kv::command {
namespace {

using KVMission::Failure;
using KVMission::Utf8;
using simulation::Exposure;
using simulation::Firmware;
using simulation::MissionOptions;
using simulation::PhotoNames;

constexpr double kLongestMinutes = 600.0;                   // at 100 kHz the tick counter wraps after 11.9 hours
constexpr int kSmallestPhoto = 16, kLargestPhoto = 20'000;  // pixels

/// The options as typed.
struct Arguments {
  std::filesystem::path folder;
  std::string start = "2025-06-18 09:30:00";
  std::string photoSize = "320x240";
  std::string names = "stamp";
  std::string firmware = "2.1.0";
  std::string seed = "1";
  double minutes = 5.0;
  bool noPhotos = false;
  bool noFaults = false;
  bool overwrite = false;
  bool quiet = false;
  MissionOptions mission;
};

/// Reads WIDTHxHEIGHT. @return false if the text has another form or a size is out of range
bool ParsePhotoSize(std::string_view text, MissionOptions& mission) {
  const char* const end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, mission.photoWidth);
  if (width.ec != std::errc() || width.ptr == end || *width.ptr != 'x') return false;
  const auto height = std::from_chars(width.ptr + 1, end, mission.photoHeight);
  if (height.ec != std::errc() || height.ptr != end) return false;
  const auto [smaller, larger] = std::minmax(mission.photoWidth, mission.photoHeight);
  return smaller >= kSmallestPhoto && larger <= kLargestPhoto;
}

void ReadStart(const Arguments& arguments, MissionOptions& mission) {
  const auto start = simulation::ParseStart(arguments.start);
  if (!start) {
    throw CLI::ValidationError("--start", "not a time YYYY-MM-DD hh:mm:ss of the years 2000-2079: " + arguments.start);
  }
  mission.start = *start;
  const std::chrono::sys_seconds end = mission.start + mission.duration;
  if (simulation::LeapSeconds(mission.start) != simulation::LeapSeconds(end)) {
    throw CLI::ValidationError("--start", "a leap second falls into the mission");
  }
  if (std::chrono::year_month_day(std::chrono::floor<std::chrono::days>(end)).year() >
      std::chrono::year(simulation::kLastYear)) {
    throw CLI::ValidationError("--start", "the mission ends after 2079");
  }
}

void ReadSeed(const Arguments& arguments, MissionOptions& mission) {
  const std::string& text = arguments.seed;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), mission.seed);
  if (error != std::errc() || end != text.data() + text.size())
    throw CLI::ValidationError("--seed", "not a whole number from 0 to 2^64 - 1: " + arguments.seed);
}

MissionOptions ReadOptions(const Arguments& arguments) {
  MissionOptions mission = arguments.mission;
  mission.duration = std::chrono::seconds(std::llround(arguments.minutes * 60.0));
  mission.names = arguments.names == "exif" ? PhotoNames::Exif : PhotoNames::Stamp;
  mission.firmware = arguments.firmware == "2.0.5" ? Firmware::V2_0_5 : Firmware::V2_1_0;
  mission.photos = !arguments.noPhotos;
  mission.faults = !arguments.noFaults;
  ReadSeed(arguments, mission);
  ReadStart(arguments, mission);
  if (!ParsePhotoSize(arguments.photoSize, mission)) {
    throw CLI::ValidationError("--photo-size", fmt::format("not WIDTHxHEIGHT of {} to {} pixels: {}", kSmallestPhoto,
                                                           kLargestPhoto, arguments.photoSize));
  }
  return mission;
}

void CheckFolder(const std::filesystem::path& folder, bool overwrite) {
  if (folder.empty()) throw Failure("a folder for the mission is missing", Failure::Reason::WrongUsage);
  if (!std::filesystem::exists(folder)) return;
  if (!std::filesystem::is_directory(folder))
    throw Failure(Utf8(folder) + ": not a folder", Failure::Reason::WrongUsage);
  if (overwrite || std::filesystem::is_empty(folder)) return;
  throw Failure(Utf8(folder) + " is not empty; --overwrite replaces an earlier mission in it",
                Failure::Reason::WrongUsage);
}

void PrintResult(const std::filesystem::path& folder, const std::vector<Exposure>& exposures) {
  const auto count = [&](auto condition) { return std::count_if(exposures.begin(), exposures.end(), condition); };
  fmt::print("{}: {} exposures, {} photos, {} of them blurred, {} faults\n", KVMission::Visible(Utf8(folder)),
             exposures.size(), simulation::CountPhotos(exposures), count([](const Exposure& e) { return e.blurred; }),
             count([](const Exposure& e) { return !e.fault.empty(); }));
}

void Simulate(const Arguments& arguments) {
  const MissionOptions mission = ReadOptions(arguments);
  const std::filesystem::path& folder = arguments.folder;
  CheckFolder(folder, arguments.overwrite);
  CatchInterrupts();
  Messages messages(arguments.quiet ? Verbosity::Quiet : Verbosity::Normal);
  const auto report = [&messages](std::size_t done, std::size_t of) {
    if (done > 0) messages.OnProgress({"simulating", "photos", done, done, of});
    return !Interrupted();
  };
  const auto exposures = WriteMission(folder, mission, report);
  if (!exposures) throw Failure("interrupted", Failure::Reason::Stopped);
  if (!arguments.quiet) PrintResult(folder, *exposures);
}

void AddOptions(CLI::App& command, Arguments& arguments) {
  MissionOptions& mission = arguments.mission;
  AddPath(command, "DIR", arguments.folder, "folder of the mission; made if missing")->type_name("FOLDER")->required();
  command.add_option("--minutes", arguments.minutes, "length of the mission")->check(InRange(1.0, kLongestMinutes));
  command.add_option("--seed", arguments.seed, "missions with equal seed and options are equal")->type_name("UINT");
  command.add_option("--start", arguments.start, "UTC start, YYYY-MM-DD hh:mm:ss; date and seconds may be left out");
  command.add_option("--latitude", mission.latitude, "start in degrees")->check(InRange(-80.0, 80.0));
  command.add_option("--longitude", mission.longitude, "start in degrees")->check(InRange(-180.0, 180.0));
  command.add_option("--rate", mission.rate, "fixes per second")
      ->check(CLI::IsMember({"1", "2", "4", "5", "10", "20", "25", "50", "100"}));
  command.add_option("--noise", mission.noise, "largest error of a fix in metres")->check(InRange(0.0, 10.0));
  command.add_option("--interval", mission.interval, "seconds between exposures of a camera")
      ->check(InRange(1.0, 60.0));
  command.add_option("--photo-size", arguments.photoSize, "WIDTHxHEIGHT in pixels");
  command
      .add_option("--names", arguments.names, "stamp: YYMMDD_HHMMSS.jpg; exif: DSC_0001.jpg, timed by its EXIF data")
      ->check(CLI::IsMember({"stamp", "exif"}));
  command
      .add_option("--firmware", arguments.firmware,
                  "of the control unit; from 2.0.6 on its housekeeping log has one more column")
      ->check(CLI::IsMember({"2.0.5", "2.1.0"}));
  command.add_flag("--drone", mission.drone, "a drone's mission: a timestamp file beside numbered photos");
  command.add_flag("--no-photos", arguments.noPhotos, "write no photos");
  command.add_flag("--no-faults", arguments.noFaults,
                   "no missing photos, early exposure, gap in the trajectory or errors in the housekeeping log");
  command.add_flag("--overwrite", arguments.overwrite,
                   "write into a folder that is not empty, replacing an earlier mission");
  command.add_flag("-q,--quiet", arguments.quiet, "say nothing but errors");
  AddTroubleOptions(command, mission);
}

}  // namespace

void AddSimulateCommand(CLI::App& app, ExitCode& exitCode) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("simulate", "Write a made-up mission with the truth about it");
  command->option_defaults()->always_capture_default();
  AddOptions(*command, *arguments);
  command->callback([arguments, command, &exitCode] {
    if (arguments->mission.drone) RefuseSensorTrouble(*command);
    Simulate(*arguments);
    exitCode = ExitCode::Good;
  });
}

}  // namespace kv::command
