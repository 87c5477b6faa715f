#include "simulation/HousekeepingLog.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"
#include "simulation/Receiver.h"
#include "simulation/SensorReadings.h"
#include "simulation/TrajectoryFile.h"

namespace kv::simulation {
namespace {

using std::chrono::seconds;

constexpr seconds kSwitchOn{-static_cast<std::int64_t>(SensorReadings::kSwitchedOnBefore)};
constexpr seconds kControlUnitPeriod{10}, kPowerPeriod{10}, kOrientationPeriod{2}, kCapacityPeriod{60};
constexpr seconds kPowerPhase{5};  // after switching on
constexpr seconds kOrientationPhase{1};
constexpr seconds kSensorError{40};  // the orientation sensor fails at this reading
static_assert((kSensorError - kSwitchOn - kOrientationPhase) % kOrientationPeriod == seconds(0));
constexpr int kSensorRuns = 5, kSensorFailed = 1;  // system status of the orientation sensor
constexpr int kSensorTimeout = 7;                  // system error of the orientation sensor
constexpr double kPhotoGigabytes = 0.0016, kGigabytesPerHour = 0.12;
constexpr double kCameraCapacity = 64.0, kUnitCapacity = 240.0;  // gigabytes, free when switched on

struct Entry {
  seconds time;  // since the start of the mission
  std::string_view severity;
  std::string content;  // device and message
};

struct FixedEntry {
  std::int64_t second;  // since the start of the mission
  std::string_view severity, content;
};
// The control unit's messages have two fields: a single field would be read as its temperature.
constexpr auto kFixedEntries = std::to_array<FixedEntry>({
    {kSwitchOn.count(), "INFO", "CCU,Self test,passed"},
    {-24, "INFO", "POWER,Battery connected"},
    {-23, "INFO", "AOS,Calibration,started"},
    {-20, "INFO", "UMS,Recorder found"},
    {-18, "INFO", "System ready"},
    {0, "WARN", "GNSS,No fix"},
    {static_cast<std::int64_t>(kFirstFixSeconds), "INFO", "GNSS,Fix"},
    {static_cast<std::int64_t>(FlightPath::kParkedSeconds), "INFO", "CCU,Vehicle,moving"},
});

struct FaultText {
  std::string_view fault, text;
};
constexpr auto kFaultTexts = std::to_array<FaultText>({
    {kBeforeFirstFix, "Triggered before the first fix"},
    {kPhotoMissing, "Photo not written"},
});

std::string_view FirmwareText(Firmware firmware) {
  return firmware == Firmware::V2_0_5 ? "Firmware is 2.0.5" : "Firmware Version,2.1.0";
}

class LogBuilder {
 public:
  LogBuilder(const MissionOptions& options, const FlightPath& flight, std::span<const Exposure> exposures)
      : options_(options), flight_(flight), exposures_(exposures) {}

  std::vector<Entry> Build() {
    Add(kSwitchOn, "INFO", std::string(FirmwareText(options_.firmware)));  // first: it decides how the rest is read
    for (const auto& [second, severity, content] : kFixedEntries) Add(seconds(second), severity, std::string(content));
    AddReadings();
    AddCapacities();
    AddStrips();
    if (options_.faults) AddErrors();
    std::stable_sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) { return a.time < b.time; });
    return std::move(entries_);
  }

 private:
  void Add(seconds time, std::string_view severity, std::string content) {
    entries_.push_back({time, severity, std::move(content)});
  }
  void AddReadings();
  void AddCapacities();
  void AddStrips();
  void AddErrors();

  const MissionOptions& options_;
  const FlightPath& flight_;
  std::span<const Exposure> exposures_;
  std::vector<Entry> entries_;
};

void LogBuilder::AddReadings() {
  SensorReadings sensors(flight_, Random(options_.seed, Stream::Housekeeping));
  const auto sinceStart = [](seconds time) { return static_cast<double>(time.count()); };
  for (seconds time = kSwitchOn; time <= options_.duration; time += kControlUnitPeriod) {
    Add(time, "INFO", fmt::format("CCU,{:.1f}", sensors.ControlUnitTemperature(sinceStart(time))));
  }
  for (seconds time = kSwitchOn + kPowerPhase; time <= options_.duration; time += kPowerPeriod) {
    const PowerReading r = sensors.Power(sinceStart(time));
    Add(time, "INFO",
        fmt::format("POWER,{:.1f},{:.1f},{:.2f},{:.2f},{:.1f}", r.boardTemperature, r.batteryTemperature, r.voltage,
                    r.current, r.percent));
  }
  for (seconds time = kSwitchOn + kOrientationPhase; time <= options_.duration; time += kOrientationPeriod) {
    const OrientationReading r = sensors.Orientation(sinceStart(time));
    const bool failed = options_.faults && time == kSensorError;
    Add(time, "INFO",
        fmt::format("AOS,{:.1f},{:.1f},{:.1f},{:.1f},{},{},{}", r.boardTemperature, r.pitch, r.roll, r.heading,
                    r.calibration, failed ? kSensorFailed : kSensorRuns, failed ? kSensorTimeout : 0));
  }
}

void LogBuilder::AddCapacities() {
  int taken[2] = {};
  auto exposure = exposures_.begin();
  for (seconds time{0}; time <= options_.duration; time += kCapacityPeriod) {
    for (; exposure != exposures_.end() && exposure->time < time; ++exposure) ++taken[exposure->camera - 1];
    const double hours = static_cast<double>(time.count()) / 3600.0;
    Add(time, "INFO", fmt::format("UMS capacity,{:.2f} GB free", kUnitCapacity - kGigabytesPerHour * hours));
    for (const int camera : {1, 2}) {
      const double free = kCameraCapacity - kPhotoGigabytes * taken[camera - 1];
      Add(time, "INFO", fmt::format("Camera {} capacity,{:.2f} GB free", camera, free));
    }
  }
}

void LogBuilder::AddStrips() {
  const auto second = [](double time) { return seconds(static_cast<std::int64_t>(time)); };
  for (std::size_t i = 0; i < flight_.Strips().size(); ++i) {
    const auto& [begin, end] = flight_.Strips()[i];
    Add(second(begin), "INFO", fmt::format("CCU,Strip {},begins", i + 1));
    Add(second(end), "INFO", fmt::format("CCU,Strip {},ends", i + 1));
  }
}

void LogBuilder::AddErrors() {
  Add(kSensorError, "ERR", "AOS,Read timeout,retried");
  for (const Exposure& exposure : exposures_) {
    for (const auto& [fault, text] : kFaultTexts) {
      if (exposure.fault != fault) continue;
      Add(std::chrono::floor<seconds>(exposure.time), "ERR", fmt::format("Camera {},{}", exposure.camera, text));
    }
  }
  const auto& [begin, end] = TrajectoryGap(options_, flight_);
  if (end == begin) return;
  const seconds back(static_cast<std::int64_t>(std::ceil(end)));
  Add(back, "ERROR", fmt::format("GNSS,No data for {:.1f} s", end - begin));
}

}  // namespace

void WriteHousekeepingLog(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                          std::span<const Exposure> exposures) {
  const std::vector<Entry> entries = LogBuilder(options, flight, exposures).Build();
  OutputFile file(path);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto& [time, severity, content] = entries[i];
    file.Print("{},{:%Y-%m-%d %H:%M:%S}", severity, Calendar(options.start + time));
    if (options.firmware == Firmware::V2_1_0) file.Print(",{:06}", i + 1);
    file.Print(",{}\r\n", content);
  }
  file.Close();
}

}  // namespace kv::simulation
