#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "KVUtilities.h"
#include "readers/HousekeepingEntry.h"
#include "support/TempFolder.h"
#include "support/Times.h"

namespace {

struct Scanned {
  std::vector<tagKVLogEvent> events;
  std::wstring error = L"left over";
};

Scanned Scan(std::string_view content) {
  const TempFolder folder;
  Scanned result;
  result.events = KVUtilities::ScanKVLogFile(folder.Write("log.txt", content), result.error);
  return result;
}

const std::string kTime = "2023-05-01 10:00:00";
const std::string kOld = "INFO," + kTime + ",", kNew = "INFO," + kTime + ",extra,";
const std::string kOldFirmware = kOld + "Firmware is 2.0.3\n", kNewFirmware = kOld + "Firmware Version,2.0.6\n";

TEST(LogFile, TheDeviceAndTheTokensBehindItDecideTheDescription) {
  struct {
    const char* tokens;
    std::wstring description;
    double reading;  // of the line's first field
  } const rows[] = {
      {"CCU,35.5", L"CCU Event", 35.5},
      {" ccu2 , 35.5 ", L"CCU Event", 35.5},  // three letters count, in any case; tokens are trimmed
      {"CCU,35.5,x", L"CCU 35.5 x ", 0},
      {"CCU,,35.5,", L"CCU Event", 35.5},  // empty fields do not count
      {"CCU", L"CCU", 0},
      {"CC,35.5", L"CC", 0},
      {"xCCU,35.5", L"xCCU", 0},
      {"AOS,31,2,3,4,5,6,7", L"AOS Event", 31},
      {"aosX,31,2,3,4,5,6", L"aosX 31 2 3 4 5 6 ", 0},
      {"AOS,calibrated", L"AOS calibrated ", 0},
      {"POWER,33,2,3,4,5", L"POWER Event", 33},
      {"Powerful,33,2,3,4,5", L"POWER Event", 33},
      {"POWER,33,2,3,4", L"POWER 33 2 3 4 ", 0},
      {"POWE,33,2,3,4,5", L"POWE", 0},
      {"UMS capacity,93", L"UMS capacity 93 ", 0},
      {"ums CAPACITY left,93,GB", L"ums CAPACITY left 93 GB ", 0},
      {"Camera 1 capacity,5", L"Camera 1 capacity 5 ", 0},
      {"Camera 2 capacity,5", L"Camera 2 capacity 5 ", 0},
      {"Camera 3 capacity,5", L"Camera 3 capacity", 0},
      {"Camera 1,failed", L"Camera 1", 0},  // other devices are described by their name alone
  };
  for (const auto& [tokens, description, reading] : rows) {
    const Scanned old = Scan(kOld + tokens + "\r\n"), fresh = Scan(kNewFirmware + kNew + tokens);
    ASSERT_EQ(old.events.size(), 1u) << tokens;
    ASSERT_EQ(fresh.events.size(), 2u) << tokens;
    for (const tagKVLogEvent& event : {old.events[0], fresh.events[1]}) {
      EXPECT_EQ(std::wstring(event.Desc), description) << tokens;
      EXPECT_EQ(event.CCUTemp + event.AOSBrdTemp + event.BatBrdTemp, reading) << tokens;
    }
    EXPECT_TRUE(old.error.empty());
  }
}

TEST(LogFile, ReadingsFillTheirFieldsInOrder) {
  const auto events = Scan(kOld + "AOS,1.5,-2,+3e1,4.,5,-6,+7\n" + kOld + "POWER,1,2,3,4,5\n" + kOld +
                           "AOS,x,2 3,1e,1e400,5.0,2147483648,\n" + kOld + "AOS,x,2 3,0x1,1e400,5.0,2147483648,6\n")
                          .events;
  ASSERT_EQ(events.size(), 4u);
  const auto& aos = events[0];
  EXPECT_EQ((std::vector{aos.AOSBrdTemp, aos.AOSPitch, aos.AOSRoll, aos.AOSHeading}), (std::vector{1.5, -2., 30., 4.}));
  EXPECT_EQ((std::vector{aos.AOSCalStat, aos.AOSSysStat, aos.AOSSysError}), (std::vector{5, -6, 7}));
  const auto& power = events[1];
  EXPECT_EQ((std::vector{power.BatBrdTemp, power.BatTemp, power.BatVoltage, power.BatCurrent, power.BatPercent}),
            (std::vector{1., 2., 3., 4., 5.}));
  // What is no number stays 0 and costs the line nothing else.
  const auto& odd = events[3];
  EXPECT_EQ(odd.Desc, L"AOS Event");
  EXPECT_EQ((std::vector{odd.AOSBrdTemp, odd.AOSPitch, odd.AOSRoll, odd.AOSHeading}), std::vector(4, 0.0));
  EXPECT_EQ((std::vector{odd.AOSCalStat, odd.AOSSysStat, odd.AOSSysError}), (std::vector{0, 0, 6}));
}

TEST(LogFile, DescriptionsOfReadingLinesShareOneTextPerDevice) {
  const auto events = Scan(kOld + "CCU,1\n" + kOld + "POWER,1,2,3,4,5\n" + kOld + "CCU,2\n").events;
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].Desc.GetString(), events[2].Desc.GetString());
}

TEST(HousekeepingReader, EntriesTellWhichReadingsWereNumbers) {
  struct {
    std::string line;
    const wchar_t* device;  // of a reading line
    unsigned long numbers;
  } const rows[] = {
      {kOld + "AOS,1,x,3,4,5,6.5,7", L"AOS", 0b1011101},
      {kOld + "POWER,nan,2,,3,4,1e", L"POWER", 0b01111},
      {kOld + "ccu,0", L"CCU", 1},
      {kOld + "CCU Event", nullptr, 0},  // described as a reading line is
      {kOld + "AOS,1,2", nullptr, 0},
  };
  for (const auto& [line, device, numbers] : rows) {
    kv::HousekeepingReader reader;
    const auto entry = reader.Read(line);
    ASSERT_TRUE(entry) << line;
    EXPECT_EQ(entry->device ? entry->device->prefix : L"none", device ? device : L"none") << line;
    EXPECT_EQ(entry->numbers.to_ulong(), numbers) << line;
  }
}

TEST(LogFile, TheFirstWordsOnFirmwareSettleTheColumns) {
  struct {
    std::string lines;
    bool hasExtraColumn;  // in the line that follows
  } const rows[] = {
      {"", false},
      {kOldFirmware, false},
      {kOldFirmware + kNewFirmware, false},
      {kNewFirmware, true},
      {kNewFirmware + kOldFirmware, true},
      {kOld + "firmware VERSION , 2.1.0 \n", true},
      {kOld + "Firmware Version,2.0.5\n", false},
      {kOld + "Firmware Version,1.10.6\n", true},  // 206
      {kOld + "Firmware Version,2.0\n", true},     // no three parts: the version that brought these words
      {kOld + "Firmware Version,1.0.0.0\n", true},
      {kOld + "Firmware Version 1.0.0\n", true},   // no token of its own
      {kOld + "1.0.0,Firmware Version\n", true},   // nothing behind it
      {kOld + "Firmware Version,x.y.z\n", false},  // 0
      {kOld + "Firmware Version,9999999999.9.9\n", true},
      {kOld + "Firmware Version is,firmware is 1\n", false},
      {"Firmware Version," + kTime + ",CCU\n", false},  // the line begins with it
      {" Firmware Version,2.1.0,CCU\n", true},
      {"x,Firmware Version\n", false},  // too short a line
  };
  for (const auto& [lines, hasExtraColumn] : rows) {
    const auto events = Scan(lines + kOld + "CCU,35.5\n").events;
    EXPECT_EQ(events.back().Desc, hasExtraColumn ? L"35.5" : L"CCU Event") << lines;
  }
  const auto events = Scan(kNewFirmware + kOld.substr(0, kOld.size() - 1) + ",extra\n").events;
  EXPECT_EQ(events[0].Desc, L"2.0.6");  // the firmware line itself is read with the new columns
  EXPECT_TRUE(events[1].Desc.IsEmpty());
}

TEST(LogFile, ErrorLinesAreCollected) {
  struct {
    std::string lines;
    std::wstring error;
  } const rows[] = {
      {"ERR," + kTime + ",CAM,failed\n", L"ERR:  2023-05-01 10:00:00  :  CAM failed \n"},
      {"Error , t , CAM\r\nINFO,t,CAM\nerr,u,a,b,c\n", L"Error:  t  :  CAM \nerr:  u  :  a b c \n"},
      {kNewFirmware + "ERRNO,t,extra,CAM,failed\nERR,t,extra\n", L"ERRNO:  t  :  CAM failed \nERR:  t  :  \n"},
      {"ER,t,CAM\nWARN ERR,t,CAM\nERR,t\n", L""},
  };
  for (const auto& [lines, error] : rows) EXPECT_EQ(Scan(lines).error, error) << lines;
  const auto events = Scan("err,t,CAM,failed\n").events;
  ASSERT_EQ(events.size(), 1u);  // an event all the same
  EXPECT_EQ(events[0].Type, L"ERR");
  EXPECT_EQ(events[0].Desc, L"CAM");
}

TEST(LogFile, TheTimeIsReadByPosition) {
  struct {
    const char* text;
    SYSTEMTIME time;
  } const rows[] = {
      {"2023-05-01 10:20:30", Calendar(2023, 5, 1, 10, 20, 30)},
      {"2023/05/01T10.20.30.999Z", Calendar(2023, 5, 1, 10, 20, 30)},
      {"2023-5-1 10:20:30", Calendar(2023, 5, 1)},  // what stands there: "5-", " 1", ":2"
      {"2023-13-41 25:61:61", Calendar(2023, 13, 41, 25, 61, 61)},
      {"none", Calendar(0, 0, 0)},
  };
  for (const auto& [text, time] : rows) {
    const auto event = Scan("i," + std::string(text) + ",CAM\n").events.at(0);
    EXPECT_TRUE(SameInstant(event.SystemTimeUTC, time)) << text;
    EXPECT_EQ(event.SystemTimeUTC.wDayOfWeek, 0);
    EXPECT_EQ(event.AdjGpsSec, kv::AdjGpsSeconds(kv::FileTimeOrZero(time)));  // of 1601 when it is no calendar time
    EXPECT_EQ(std::string(std::wstring_view(event.Source).begin(), std::wstring_view(event.Source).end()), text);
  }
  EXPECT_EQ(Scan("i,2023-12-22 12:35:19,CAM\n").events.at(0).AdjGpsSec, 387283737.0);  // GPS second 1,387,283,737
}

TEST(LogFile, BytesAreCharactersOneToOne) {
  const auto events = Scan("\xE4zz\x80,\x85t\xA0,AOS\x80,\xFF\n" + std::string("i,t,a\0b,c\n", 10)).events;
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].Type, L"\x00E4ZZ\x0080");  // not the code page's; only letters of ASCII change case
  EXPECT_EQ(events[0].Source, L"t");             // white space above 0x7F too
  EXPECT_EQ(events[0].Desc, L"AOS\x0080 \x00FF ");
  EXPECT_EQ(events[1].Desc.GetLength(), 3);
}

TEST(LogFile, LinesAndFilesThatGiveNothing) {
  const std::string filler(1023 - kOld.size(), 'x');
  const std::pair<std::string, std::size_t> rows[] = {
      // content, events
      {"", 0},
      {"INFO," + kTime + "\n,,INFO,,t,,\n\n", 0},
      {" , , \n", 1},  // blank fields are fields
      {kOld + "CCU", 1},
      {kOld + filler + "\n" + kOld + "CCU\n", 2},
      {kOld + "CCU\n" + kOld + filler + "x\n" + kOld + "CCU\n", 1},  // a line too long ends the scan
      {kOld + "CCU\n\x1A" + kOld + "CCU\n", 1},
  };
  for (const auto& [content, count] : rows) {
    const Scanned scanned = Scan(content);
    EXPECT_EQ(scanned.events.size(), count) << content;
    EXPECT_TRUE(scanned.error.empty());
  }
  const TempFolder folder;
  for (const std::wstring& path : {std::wstring(), folder.Wide("missing"), folder.Wide()}) {
    std::wstring error = L"left over";
    EXPECT_TRUE(KVUtilities::ScanKVLogFile(path, error).empty() && error.empty());
  }
}

}  // namespace
