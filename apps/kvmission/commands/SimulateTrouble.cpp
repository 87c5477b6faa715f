#include "commands/SimulateTrouble.h"

#include <fmt/format.h>

#include <map>
#include <vector>

#include "commands/Commands.h"

namespace kv::command {
namespace {

using simulation::CameraClock;
using simulation::Trouble;

constexpr const char* kSensorGroup = "Trouble of a sensor's mission";
constexpr double kLargestShare = 0.9;
constexpr double kLargestClockError = 1e8;  // seconds
constexpr double kLargestDrift = 10'000.0;  // parts per million
constexpr double kMostTestShots = 1000.0;

/// Reads a comma-separated list of numbers. @throws CLI::ValidationError
std::vector<double> ReadNumbers(const std::string& option, const std::string& text, std::size_t count) {
  const std::vector<std::string> words = CLI::detail::split(text, ',');
  std::vector<double> numbers;
  for (const std::string& word : words) {
    if (const auto number = ReadNumber(word)) numbers.push_back(*number);
  }
  if (words.size() == count && numbers.size() == count) return numbers;
  throw CLI::ValidationError(
      option, count == 1 ? "not a number: " + text : fmt::format("not {} numbers between commas: {}", count, text));
}

void Require(bool holds, const std::string& option, const std::string& rule) {
  if (!holds) throw CLI::ValidationError(option, rule);
}

class TroubleOptions {
 public:
  TroubleOptions(CLI::App& command, Trouble& trouble) : command_(command), trouble_(trouble) {
    command_.option_defaults()->group(kSensorGroup);
  }

  void Add() {
    for (const int camera : {1, 2}) AddClock(camera, trouble_.clocks[camera - 1]);
    AddShare("--lost-photos", trouble_.lostPhotos, "share of the exposures whose photo is lost");
    AddShare("--failed-triggers", trouble_.failedTriggers, "share of the exposures at which the camera takes no photo");
    AddShare("--missed-events", trouble_.missedEvents, "share of the exposures that are missing from events.txt");
    AddShare("--extra-photos", trouble_.extraPhotos, "photos between exposures, as a share of these");
    command_.add_option("--test-shots", trouble_.testShots, "photos of each camera before the mission")
        ->check(InRange(0.0, kMostTestShots));
    AddChoice("--triggers", trouble_.triggers, kTriggers, "when the cameras fire");
    command_.add_flag("--swap-cameras", trouble_.swapCameras, "each camera's photos are in the other's folder");
    AddChoice("--photo-folders", trouble_.photoFolders, kFolders, "where photos are: cam1, DCIM1 or cam1/100DSC");
    AddChoice("--event-clock", trouble_.eventClock, kClocks, "time system of events.txt; local is UTC + 2 h");
  }

 private:
  template <typename T>
  using Words = std::map<std::string, T>;
  static const Words<simulation::Triggers> kTriggers;
  static const Words<simulation::PhotoFolders> kFolders;
  static const Words<simulation::EventClock> kClocks;

  void AddShare(const std::string& name, double& share, const std::string& help) {
    command_.add_option(name, share, help)->check(InRange(0.0, kLargestShare));
  }

  template <typename T>
  void AddChoice(const std::string& name, T& value, const Words<T>& words, const std::string& help) {
    std::vector<std::string> names;
    for (const auto& [word, meaning] : words) names.push_back(word);
    command_
        .add_option_function<std::string>(
            name, [&value, &words](const std::string& word) { value = words.at(word); }, help)
        ->check(CLI::IsMember(names));
  }

  /// Adds an option of numbers between commas, which `store` takes.
  template <typename Store>
  CLI::Option* AddNumbers(const std::string& name, std::size_t count, const std::string& form, const std::string& help,
                          Store store) {
    return command_
        .add_option_function<std::string>(
            name, [=](const std::string& text) { store(name, ReadNumbers(name, text, count)); }, help)
        ->type_name(form);
  }

  void AddClock(int camera, std::optional<CameraClock>& clock);

  CLI::App& command_;
  Trouble& trouble_;
};

const TroubleOptions::Words<simulation::Triggers> TroubleOptions::kTriggers{
    {"usual", simulation::Triggers::Usual},
    {"regular", simulation::Triggers::Regular},
    {"nonstop", simulation::Triggers::Nonstop},
    {"irregular", simulation::Triggers::Irregular}};
const TroubleOptions::Words<simulation::PhotoFolders> TroubleOptions::kFolders{
    {"cam", simulation::PhotoFolders::Camera},
    {"dcim", simulation::PhotoFolders::Dcim},
    {"nested", simulation::PhotoFolders::Nested}};
const TroubleOptions::Words<simulation::EventClock> TroubleOptions::kClocks{{"utc", simulation::EventClock::Utc},
                                                                            {"gps", simulation::EventClock::Gps},
                                                                            {"local", simulation::EventClock::Local}};

void TroubleOptions::AddClock(int camera, std::optional<CameraClock>& clock) {
  using Numbers = std::vector<double>;
  const auto made = [&clock]() -> CameraClock& { return clock ? *clock : clock.emplace(); };
  const std::string prefix = fmt::format("--cam{}-", camera), whose = fmt::format("camera {}'s clock ", camera);
  const std::string secondsRule = fmt::format("more than {} seconds", kLargestClockError);
  AddNumbers(prefix + "clock", 1, "SECONDS", whose + "is ahead by this much at the start",
             [=](const std::string& name, const Numbers& n) {
               Require(std::abs(n[0]) <= kLargestClockError, name, secondsRule);
               made().offset = n[0];
             });
  AddNumbers(prefix + "drift", 1, "PPM", whose + "runs fast by this much",
             [=](const std::string& name, const Numbers& n) {
               Require(std::abs(n[0]) <= kLargestDrift, name, fmt::format("more than {} ppm", kLargestDrift));
               made().drift = n[0];
             });
  AddNumbers(prefix + "reset", 2, "AT,BY", whose + "jumps by BY seconds at this share of its photos",
             [=](const std::string& name, const Numbers& n) {
               Require(n[0] >= 0.0 && n[0] <= 1.0, name, "the share is not from 0 to 1");
               Require(std::abs(n[1]) <= kLargestClockError, name, secondsRule);
               made().resetAt = n[0];
               made().resetBy = n[1];
             });
}

}  // namespace

void AddTroubleOptions(CLI::App& command, Trouble& trouble) { TroubleOptions(command, trouble).Add(); }

void RefuseSensorTrouble(const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_group() == kSensorGroup && option->count() > 0)
      throw CLI::ValidationError(option->get_name(), "not for a drone's mission");
  }
}

}  // namespace kv::command
