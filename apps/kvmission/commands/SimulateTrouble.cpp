#include "commands/SimulateTrouble.h"

#include <fmt/format.h>

#include <map>
#include <vector>

#include "commands/Commands.h"

namespace kv::command {
namespace {

using simulation::CameraClock;
using simulation::CameraMount;
using simulation::EventClock;
using simulation::LogTrouble;
using simulation::PhotoFolders;
using simulation::PosForm;
using simulation::RtkLoss;
using simulation::SbetTime;
using simulation::Triggers;
using simulation::Trouble;

constexpr const char *kSensorGroup = "Trouble of a sensor's mission", *kGroup = "Trouble of any mission";
constexpr double kLargestShare = 0.9;
constexpr double kLargestClockError = 1e8;  // seconds
constexpr double kLargestDrift = 10'000.0;  // parts per million
constexpr double kMostTestShots = 1000.0;
constexpr double kLongestArm = 100.0;     // metres
constexpr double kLongestDelay = 1000.0;  // milliseconds

template <typename T>
using Words = std::map<std::string, T>;

const Words<Triggers> kTriggers{{"usual", Triggers::Usual},
                                {"regular", Triggers::Regular},
                                {"nonstop", Triggers::Nonstop},
                                {"irregular", Triggers::Irregular}};
const Words<PhotoFolders> kFolders{
    {"cam", PhotoFolders::Camera}, {"dcim", PhotoFolders::Dcim}, {"nested", PhotoFolders::Nested}};
const Words<EventClock> kClocks{{"utc", EventClock::Utc}, {"gps", EventClock::Gps}, {"local", EventClock::Local}};
const Words<RtkLoss::Quality> kQualities{
    {"float", RtkLoss::Quality::Float}, {"dgps", RtkLoss::Quality::Differential}, {"single", RtkLoss::Quality::Single}};
const Words<SbetTime> kSbetTimes{{"week", SbetTime::Week}, {"gps", SbetTime::GpsEpoch}};
const Words<bool LogTrouble::*> kLogWords{{"shuffled", &LogTrouble::shuffled},     {"binary", &LogTrouble::binary},
                                          {"instrument", &LogTrouble::instrument}, {"beside", &LogTrouble::beside},
                                          {"appended", &LogTrouble::appended},     {"undated", &LogTrouble::undated},
                                          {"half-dated", &LogTrouble::halfDated}};

/// What a word of --pos changes.
using PosWord = void (*)(PosForm&);
const Words<PosWord> kPosWords{{"llh", [](PosForm& form) { form.coordinates = PosForm::Degrees; }},
                               {"dms", [](PosForm& form) { form.coordinates = PosForm::Sexagesimal; }},
                               {"ecef", [](PosForm& form) { form.coordinates = PosForm::Ecef; }},
                               {"enu", [](PosForm& form) { form.coordinates = PosForm::Baseline; }},
                               {"calendar", [](PosForm& form) { form.calendar = true; }},
                               {"utc", [](PosForm& form) { form.calendar = true, form.system = PosForm::Utc; }},
                               {"jst", [](PosForm& form) { form.calendar = true, form.system = PosForm::Jst; }},
                               {"geodetic", [](PosForm& form) { form.geodetic = true; }},
                               {"comma", [](PosForm& form) { form.separator = ','; }},
                               {"semicolon", [](PosForm& form) { form.separator = ';'; }},
                               {"tab", [](PosForm& form) { form.separator = '\t'; }}};

void Require(bool holds, const std::string& option, const std::string& rule) {
  if (!holds) throw CLI::ValidationError(option, rule);
}

/// Reads a comma-separated list of numbers. @throws CLI::ValidationError
std::vector<double> ReadNumbers(const std::string& option, const std::string& text, std::size_t count) {
  const std::vector<std::string> words = CLI::detail::split(text, ',');
  std::vector<double> numbers;
  for (const std::string& word : words) {
    if (const auto number = ReadNumber(word)) numbers.push_back(*number);
  }
  Require(words.size() == count && numbers.size() == count, option,
          count == 1 ? "not a number: " + text : fmt::format("not {} numbers between commas: {}", count, text));
  return numbers;
}

/// Adds an option of numbers between commas, which `store` takes.
template <typename Store>
void AddNumbers(CLI::App& command, const std::string& name, std::size_t count, const std::string& form,
                const std::string& help, Store store) {
  const auto read = [=](const std::string& text) { store(name, ReadNumbers(name, text, count)); };
  command.add_option_function<std::string>(name, read, help)->type_name(form);
}

/// Adds an option of words between commas; `store` takes the meaning of each. `words` must outlive the parsing.
template <typename T, typename Store>
void AddWords(CLI::App& command, const std::string& name, const Words<T>& words, const std::string& help, Store store) {
  std::string form;
  for (const auto& [word, meaning] : words) form += (form.empty() ? "" : "|") + word;
  const auto read = [=, &words](const std::string& text) {
    for (const std::string& word : CLI::detail::split(text, ',')) {
      const auto known = words.find(word);
      Require(known != words.end(), name, fmt::format("'{}' is not one of {}", word, form));
      store(known->second);
    }
  };
  command.add_option_function<std::string>(name, read, help)->type_name(form + "[,...]");
}

template <typename T, typename Value>
void AddChoice(CLI::App& command, const std::string& name, Value& value, const Words<T>& words,
               const std::string& help) {
  std::vector<std::string> names;
  for (const auto& [word, meaning] : words) names.push_back(word);
  const auto store = [&value, &words](const std::string& word) { value = words.at(word); };
  command.add_option_function<std::string>(name, store, help)->check(CLI::IsMember(names));
}

void AddClock(CLI::App& command, int camera, std::optional<CameraClock>& clock) {
  using Numbers = std::vector<double>;
  const auto made = [&clock]() -> CameraClock& { return clock ? *clock : clock.emplace(); };
  const std::string prefix = fmt::format("--cam{}-", camera), whose = fmt::format("camera {}'s clock ", camera);
  const std::string secondsRule = fmt::format("more than {} seconds", kLargestClockError);
  AddNumbers(command, prefix + "clock", 1, "SECONDS", whose + "is ahead by this much at the start",
             [=](const std::string& name, const Numbers& n) {
               Require(std::abs(n[0]) <= kLargestClockError, name, secondsRule);
               made().offset = n[0];
             });
  AddNumbers(command, prefix + "drift", 1, "PPM", whose + "runs fast by this much",
             [=](const std::string& name, const Numbers& n) {
               Require(std::abs(n[0]) <= kLargestDrift, name, fmt::format("more than {} ppm", kLargestDrift));
               made().drift = n[0];
             });
  AddNumbers(command, prefix + "reset", 2, "AT,BY", whose + "jumps by BY seconds at this share of its photos",
             [=](const std::string& name, const Numbers& n) {
               Require(n[0] >= 0.0 && n[0] <= 1.0, name, "the share is not from 0 to 1");
               Require(std::abs(n[1]) <= kLargestClockError, name, secondsRule);
               made().resetAt = n[0];
               made().resetBy = n[1];
             });
}

void AddPhotosAndEvents(CLI::App& command, Trouble& trouble) {
  const auto addShare = [&](const std::string& name, double& share, const std::string& help) {
    command.add_option(name, share, help)->check(InRange(0.0, kLargestShare));
  };
  addShare("--lost-photos", trouble.lostPhotos, "share of the exposures whose photo is lost");
  addShare("--failed-triggers", trouble.failedTriggers, "share of the exposures at which the camera takes no photo");
  addShare("--missed-events", trouble.missedEvents, "share of the exposures that are missing from events.txt");
  addShare("--extra-photos", trouble.extraPhotos, "photos between exposures, as a share of these");
  command.add_option("--test-shots", trouble.testShots, "photos of each camera before the mission")
      ->check(InRange(0.0, kMostTestShots));
  AddChoice(command, "--triggers", trouble.triggers, kTriggers, "when the cameras fire");
  command.add_flag("--swap-cameras", trouble.swapCameras, "each camera's photos are in the other's folder");
  AddChoice(command, "--photo-folders", trouble.photoFolders, kFolders, "where photos are: cam1, DCIM1 or cam1/100DSC");
  AddChoice(command, "--event-clock", trouble.eventClock, kClocks, "time system of events.txt; local is UTC + 2 h");
}

void AddRtkLoss(CLI::App& command, RtkLoss& loss) {
  const std::string name = "--rtk-lost";
  const auto store = [&loss, name](std::string text) {
    const std::size_t comma = text.rfind(',');
    const auto quality = comma == text.npos ? kQualities.end() : kQualities.find(text.substr(comma + 1));
    if (quality != kQualities.end()) {
      loss.quality = quality->second;
      text.resize(comma);
    }
    const std::vector<double> span = ReadNumbers(name, text, 2);
    Require(span[0] >= 0.0 && span[0] < span[1], name, "the stretch does not end after it begins: " + text);
    loss.from = span[0];
    loss.to = span[1];
  };
  command.add_option_function<std::string>(name, store, "seconds without corrections; default quality: single")
      ->type_name("FROM,TO[,float|dgps|single]");
}

void AddMount(CLI::App& command, int camera, std::optional<CameraMount>& mount) {
  using Numbers = std::vector<double>;
  const auto made = [&mount]() -> CameraMount& { return mount ? *mount : mount.emplace(); };
  AddNumbers(command, fmt::format("--cam{}-lever-arm", camera), 3, "FORWARD,RIGHT,DOWN",
             fmt::format("metres from the antenna to camera {}", camera),
             [=](const std::string& name, const Numbers& n) {
               for (const double metres : n) Require(std::abs(metres) <= kLongestArm, name, "more than 100 metres");
               CameraMount& placed = made();
               placed.forward = n[0];
               placed.right = n[1];
               placed.down = n[2];
             });
  AddNumbers(command, fmt::format("--cam{}-shutter-delay", camera), 1, "MS",
             fmt::format("milliseconds from the event to camera {}'s exposure", camera),
             [=](const std::string& name, const Numbers& n) {
               Require(std::abs(n[0]) <= kLongestDelay, name, "more than 1000 milliseconds");
               made().shutterDelay = n[0] * 1e-3;
             });
}

void AddTracks(CLI::App& command, simulation::Tracks& tracks) {
  AddWords(command, "--pos", kPosWords, "write rover.pos in this form",
           [&tracks](PosWord word) { word(tracks.pos ? *tracks.pos : tracks.pos.emplace()); });
  AddChoice(command, "--sbet", tracks.sbet, kSbetTimes, "write rover.sbet, timed by the week or since 1980-01-06");
  command.add_flag("--gpx", tracks.gpx, "write rover.gpx");
  command.add_flag("--post-processed", tracks.postProcessed, "these three are fixed throughout, with their own error");
}

}  // namespace

void AddTroubleOptions(CLI::App& command, simulation::MissionOptions& mission) {
  Trouble& trouble = mission.trouble;
  command.option_defaults()->group(kSensorGroup);
  for (const int camera : {1, 2}) AddClock(command, camera, trouble.clocks[camera - 1]);
  AddMount(command, 2, trouble.mounts[1]);
  AddPhotosAndEvents(command, trouble);
  AddWords(command, "--log-trouble", kLogWords, "what makes trajectory.nmea hard to read",
           [&trouble](bool LogTrouble::*word) { trouble.log.*word = true; });
  command.option_defaults()->group(kGroup);
  AddMount(command, 1, trouble.mounts[0]);
  AddRtkLoss(command, trouble.rtkLoss);
  AddTracks(command, mission.tracks);
}

void RefuseSensorTrouble(const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_group() == kSensorGroup && option->count() > 0)
      throw CLI::ValidationError(option->get_name(), "not for a drone's mission");
  }
}

}  // namespace kv::command
