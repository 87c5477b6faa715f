#include "mission/inputs/Inputs.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "mission/inputs/Readings.h"
#include "platform/FileNames.h"
#include "readers/FieldFile.h"
#include "readers/HousekeepingEntry.h"
#include "readers/LineReader.h"
#include "text/Blanks.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

/// The readings of battery and temperatures.
struct HousekeepingReading {
  ReadingName name;
  double tagKVLogEvent::*value;
};
constexpr auto kReadings = std::to_array<HousekeepingReading>({
    {{"controlUnitTemperature", "control unit temperature"}, &tagKVLogEvent::CCUTemp},
    {{"orientationSensorTemperature", "orientation sensor temperature"}, &tagKVLogEvent::AOSBrdTemp},
    {{"batteryBoardTemperature", "battery board temperature"}, &tagKVLogEvent::BatBrdTemp},
    {{"batteryTemperature", "battery temperature"}, &tagKVLogEvent::BatTemp},
    {{"batteryVoltage", "battery voltage"}, &tagKVLogEvent::BatVoltage},
    {{"batteryCurrent", "battery current"}, &tagKVLogEvent::BatCurrent},
    {{"batteryPercent", "battery charge in percent"}, &tagKVLogEvent::BatPercent},
});

std::vector<ReadingName> ReadingNames() {
  std::vector<ReadingName> names;
  for (const HousekeepingReading& reading : kReadings) names.push_back(reading.name);
  return names;
}

std::optional<Instant> TimeOf(const tagKVLogEvent& event) {
  const SYSTEMTIME& time = event.SystemTimeUTC;
  return FromFields(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
}

/// What one decimal of a device is.
struct Decimal {
  std::optional<std::size_t> reading;  // of `kReadings`
  KnownReadings known = 0;             // its bit
};

std::vector<Decimal> DecimalsOf(const HousekeepingDevice& device) {
  std::vector<Decimal> decimals;
  for (const auto value : device.decimals) {
    Decimal& decimal = decimals.emplace_back();
    for (std::size_t i = 0; i < kReadings.size(); ++i) {
      if (kReadings[i].value == value) decimal.reading = i;
    }
    for (std::size_t bit = 0; bit < kHousekeepingReadings.size(); ++bit) {
      if (kHousekeepingReadings[bit] == value) decimal.known = static_cast<KnownReadings>(1 << bit);
    }
  }
  return decimals;
}

/// Collects the readings of devices; what a device tells is looked up once.
class DeviceReadings {
 public:
  DeviceReadings() : ranges_(ReadingNames()) {}

  /// @return which readings of the entry are known
  KnownReadings Add(const HousekeepingEntry& entry, const std::optional<Instant>& time, std::size_t line) {
    constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
    KnownReadings known = 0;
    if (!entry.device) return known;
    const auto& decimals = LookUp(*entry.device);
    for (std::size_t i = 0; i < decimals.size(); ++i) {
      if (entry.numbers[i]) known = static_cast<KnownReadings>(known | decimals[i].known);
      if (!decimals[i].reading) continue;
      const double value = entry.numbers[i] ? entry.event.*entry.device->decimals[i] : kNotANumber;
      ranges_.Add(*decimals[i].reading, value, time, line);
    }
    return known;
  }
  const ReadingRanges& Ranges() const { return ranges_; }

 private:
  const std::vector<Decimal>& LookUp(const HousekeepingDevice& device) {
    for (const auto& [seen, decimals] : devices_) {
      if (seen == &device) return decimals;
    }
    return devices_.emplace_back(&device, DecimalsOf(device)).second;
  }

  ReadingRanges ranges_;
  std::vector<std::pair<const HousekeepingDevice*, std::vector<Decimal>>> devices_;
};

std::string Trimmed(const std::wstring& errorLine) {
  std::string text = Utf8(errorLine);
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

/// @param line  "ERR:  2023-12-22 12:35:02  :  Camera 1 no trigger"
std::string TextOfError(const std::string& line) {
  constexpr std::string_view kBefore = "  :  ";
  const auto at = line.find(kBefore);
  return at == line.npos ? line : line.substr(at + kBefore.size());
}

}  // namespace

bool IsHousekeepingLine(std::string_view line) {
  constexpr std::string_view kShape = "dddd-dd-dd dd:dd:dd";
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const auto fits = [&](char shape, char c) {
    return shape == 'd' ? isDigit(c) : shape == c || (shape == ' ' && c == 'T');
  };
  std::array<std::string_view, 3> fields;
  if (Tokenise(line, Delimiters(","), fields).size() < fields.size() || !isLetter(line[0])) return false;
  const std::string_view date = WithoutBlanks(fields[1], " ");
  return date.size() >= kShape.size() && std::equal(kShape.begin(), kShape.end(), date.begin(), fits);
}

HousekeepingLog ReadHousekeepingLog(const std::filesystem::path& path, Job& job) {
  HousekeepingLog housekeeping;
  LineReader lines(path, CtrlZ::EndsText, job, "reading the housekeeping log");
  HousekeepingReader reader;
  DeviceReadings readings;
  LineNumbers skipped, undated;
  for (std::string_view line; lines.Next(line);) {
    if (line.size() > kLongestBoundedLine) {
      housekeeping.endedAtLine = lines.Number();
      break;
    }
    housekeeping.lines = lines.Number();
    auto entry = reader.Read(line);
    if (!entry) {
      if (!WithoutBlanks(line).empty()) skipped.push_back(housekeeping.lines);
      continue;
    }
    const auto time = TimeOf(entry->event);
    time ? housekeeping.span.Add(*time) : undated.push_back(housekeeping.lines);
    if (!entry->errorLine.empty()) housekeeping.errors.push_back(Trimmed(entry->errorLine));
    housekeeping.errorTexts.push_back(entry->errorLine.empty() ? "" : TextOfError(housekeeping.errors.back()));
    housekeeping.known.push_back(readings.Add(*entry, time, housekeeping.lines));
    MakeRoom(housekeeping.events, line, lines);
    housekeeping.events.push_back(std::move(entry->event));
  }
  housekeeping.entries = housekeeping.events.size();
  housekeeping.skipped = skipped.size();
  housekeeping.faultyDates = undated.size();
  housekeeping.readings = readings.Ranges().Found();

  if (housekeeping.endedAtLine)
    job.Add(Found::HousekeepingEndsEarly,
            {{"line", Count(*housekeeping.endedAtLine)}, {"length", Count(kLongestBoundedLine + 1)}});
  job.AddLines(Found::LinesLeftOut, "housekeeping log", skipped, {{"reason", "fewer than three fields"}},
               {.file = path});
  if (!undated.empty())
    job.Add(Found::EntriesWithoutDate, {{"count", Count(undated.size())}, {"lines", Named(undated)}});
  readings.Ranges().TellOfNotNumbers("housekeeping log", job);
  return housekeeping;
}

}  // namespace kv::mission
