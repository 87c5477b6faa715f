#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

#include "SimulatedFiles.h"

namespace {

using namespace simulated;

std::vector<tagKVLogEvent> ReadLog(const TempFolder& folder, std::wstring& errors) {
  return KVUtilities::ScanKVLogFile(folder.Wide("mission/housekeeping.log"), errors);
}

std::wstring Text(const CStringW& text) { return text.GetString(); }

/// What the log's error text must be: the faults that the truth names, and what the documentation lists beside them.
std::wstring ExpectedErrors(const std::vector<Truth>& truth) {
  std::map<std::string, std::string> lines{
      {"2025-06-18 09:30:40", "ERR:  2025-06-18 09:30:40  :  AOS Read timeout retried \n"},
      {"2025-06-18 09:31:38", "ERROR:  2025-06-18 09:31:38  :  GNSS No data for 3.5 s \n"}};
  for (const auto& row : truth) {
    if (row.fault.empty()) continue;
    const std::string time = row.utc.substr(0, 10) + " " + row.utc.substr(11, 8);
    const char* text = row.fault == "photo missing" ? "Photo not written" : "Triggered before the first fix";
    lines[time] = "ERR:  " + time + "  :  Camera " + std::to_string(row.camera) + " " + text + " \n";
  }
  std::wstring all;
  for (const auto& [time, line] : lines) all.append(line.begin(), line.end());
  return all;
}

TEST(SimulatedHousekeeping, BothFirmwaresSayTheSame) {
  const TempFolder older, newer, faultless;
  ASSERT_EQ(Simulate(older, "--minutes 3 --photo-size 16x16 --firmware 2.0.5"), 0);
  ASSERT_EQ(Simulate(newer, "--minutes 3 --photo-size 16x16 --firmware 2.1.0"), 0);
  ASSERT_EQ(Simulate(faultless, "--minutes 3 --no-photos --no-faults"), 0);
  std::wstring olderErrors, newerErrors, noErrors;
  const auto old = ReadLog(older, olderErrors), events = ReadLog(newer, newerErrors);
  EXPECT_EQ(newerErrors, ExpectedErrors(ReadTruth(newer)));
  EXPECT_EQ(olderErrors, newerErrors);
  EXPECT_GT(ReadLog(faultless, noErrors).size(), 150u);
  EXPECT_EQ(noErrors, L"");
  ASSERT_EQ(old.size(), events.size());
  EXPECT_EQ(Text(old[0].Desc), L"Firmware is 2.0.5");
  EXPECT_EQ(Text(events[0].Desc), L"Firmware Version");
  std::map<std::wstring, int> kinds;
  for (std::size_t i = 1; i < events.size(); ++i) {
    const tagKVLogEvent &a = old[i], &b = events[i];
    EXPECT_TRUE(Text(a.Type) == Text(b.Type) && Text(a.Source) == Text(b.Source) && Text(a.Desc) == Text(b.Desc)) << i;
    EXPECT_TRUE(a.CCUTemp == b.CCUTemp && a.BatPercent == b.BatPercent && a.AOSHeading == b.AOSHeading) << i;
    ++kinds[Text(b.Desc).substr(0, 12)];
  }
  EXPECT_EQ(kinds[L"CCU Event"], 21);  // 205 s, every 10
  EXPECT_EQ(kinds[L"POWER Event"], 21);
  EXPECT_EQ(kinds[L"AOS Event"], 103);  // every 2
  EXPECT_EQ(kinds[L"UMS capacity"], 4);
  EXPECT_EQ(kinds[L"Camera 1 cap"] + kinds[L"Camera 2 cap"], 8);
}

/// Of one reading: no step is beyond `step`, and from first to last it changes by at least `drift` in its direction.
void ExpectDrift(const std::vector<tagKVLogEvent>& events, const wchar_t* kind, double tagKVLogEvent::*reading,
                 double step, double drift) {
  std::vector<double> values;
  for (const tagKVLogEvent& event : events) {
    if (Text(event.Desc) == kind) values.push_back(event.*reading);
  }
  ASSERT_GT(values.size(), 20u);
  for (std::size_t i = 1; i < values.size(); ++i) EXPECT_NEAR(values[i], values[i - 1], step) << kind << i;
  EXPECT_GE((values.back() - values.front()) / drift, 1.0) << kind;
}

TEST(SimulatedHousekeeping, ReadingsDrift) {
  for (const char* options : {"--minutes 20", "--minutes 600 --rate 1"}) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--no-photos ") + options), 0);
    std::wstring errors;
    const auto events = ReadLog(folder, errors);
    ExpectDrift(events, L"CCU Event", &tagKVLogEvent::CCUTemp, 1.0, 15.0);
    ExpectDrift(events, L"POWER Event", &tagKVLogEvent::BatBrdTemp, 1.0, 5.0);
    ExpectDrift(events, L"POWER Event", &tagKVLogEvent::BatTemp, 1.0, 2.5);
    ExpectDrift(events, L"POWER Event", &tagKVLogEvent::BatPercent, 0.11, -2.0);
    ExpectDrift(events, L"POWER Event", &tagKVLogEvent::BatVoltage, 0.1, -0.01);
    ExpectDrift(events, L"POWER Event", &tagKVLogEvent::BatCurrent, 1.3, 0.5);
    ExpectDrift(events, L"AOS Event", &tagKVLogEvent::AOSBrdTemp, 0.5, 5.0);
    EXPECT_GT(events[events.size() - 10].AdjGpsSec, events.front().AdjGpsSec + 1200.0);
    EXPECT_TRUE(std::all_of(events.begin(), events.end(), [](const tagKVLogEvent& e) { return e.BatPercent < 100.0; }));
  }
}

/// On strips the heading is the bearing from one exposure of the truth to the next.
TEST(SimulatedHousekeeping, TheHeadingIsTheWay) {
  const TempFolder folder;
  ASSERT_EQ(Simulate(folder, "--minutes 3 --no-photos --seed 5"), 0);
  std::wstring errors;
  std::map<double, double> headings;
  for (const tagKVLogEvent& event : ReadLog(folder, errors)) {
    if (Text(event.Desc) == L"AOS Event") headings[event.AdjGpsSec] = event.AOSHeading;
  }
  const std::vector<Truth> truth = ReadTruth(folder);
  int compared = 0;
  for (std::size_t i = 3; i < truth.size(); i += 2) {  // camera 1, behind the exposure before the first fix
    const Truth &a = truth[i - 2], &b = truth[i];
    const auto reading = headings.lower_bound(a.adjGpsSeconds);
    if (reading == headings.end() || reading->first > b.adjGpsSeconds || b.adjGpsSeconds - a.adjGpsSeconds > 3.0)
      continue;
    const double shrink = std::cos(a.latitude * std::numbers::pi / 180.0);
    const double bearing = std::atan2((b.longitude - a.longitude) * shrink, b.latitude - a.latitude);
    EXPECT_NEAR(std::remainder(reading->second - bearing * 180.0 / std::numbers::pi, 360.0), 0.0, 2.0) << a.utc;
    ++compared;
  }
  EXPECT_GT(compared, 30);
}

}  // namespace
