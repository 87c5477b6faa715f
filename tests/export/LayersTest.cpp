#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <random>

#include "KVUtilities.h"
#include "baseline/TrajectoryPoints.h"
#include "support/TempFolder.h"
#include "support/TestSize.h"
#include "support/Times.h"
#include "time/FileTimes.h"

namespace {

using baseline::PlainRecord, baseline::TickText, baseline::TimeText, baseline::Vertex;

constexpr char kWgs84[] =
    R"(GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563,AUTHORITY["EPSG","7030"]],AUTHORITY["EPSG","6326"]],PRIMEM["Greenwich",0,AUTHORITY["EPSG","8901"]],UNIT["degree",0.0174532925199433,AUTHORITY["EPSG","9122"]],AUTHORITY["EPSG","4326"]])";

// Wide texts and their bytes in Windows-1252.
const std::pair<const wchar_t*, std::string> kTexts[] = {
    {L"M", "M"}, {L"", ""}, {L"C:\\cam1\\1.jpg", "C:\\cam1\\1.jpg"}, {L"µ€ŸЖ語", "\xB5\x80\x9F??"}};

// Reproducible values, ordinary ones among those that do not fit their column or have no ordinary text.
class Values {
 public:
  double Number() {
    [[maybe_unused]] constexpr double kInfinity = std::numeric_limits<double>::infinity();
    static constexpr double kAwkward[] = {
#if !defined(_WIN32)  // whose printf, which plain shapelib takes, has other words for these
      NAN,
      kInfinity,
      -kInfinity,
#endif
      1e300,
      -1e15,
      -4e-9,
      0.125,
      999999.99995,
      0.0,
      -0.0
    };
    if (const std::size_t i = random_() % 40; i < std::size(kAwkward)) return kAwkward[i];
    return std::uniform_real_distribution(-180.0, 180.0)(random_);
  }
  FILETIME Time() {
    constexpr std::uint64_t kAwkward[] = {0, 9'999, (1ull << 63) - 1, 1ull << 63, ~0ull};
    if (const std::size_t i = random_() % 40; i < std::size(kAwkward)) return kv::FileTimeFromTicks(kAwkward[i]);
    return kv::FileTimeFromTicks(133'000'000'000'000'000 + random_() % 1'000'000'000'000'000);
  }
  std::size_t Choice(std::size_t count) { return random_() % count; }

 private:
  std::mt19937_64 random_{20231222};
};

class Layers : public testing::Test {
 protected:
  /// Holds the set that `Export` wrote under "ours" against the records written plainly.
  void ExpectSame(int shapeType, bool isMeasured, std::span<const PlainRecord> records) const {
    baseline::WritePlain((folder_.Path() / "plain.shp").string(), shapeType, isMeasured, records);
    for (const char* extension : {".shp", ".shx", ".dbf"}) {
      std::string ours = folder_.Read(std::string("ours") + extension);
      std::string plain = folder_.Read(std::string("plain") + extension);
      if (extension[1] == 'd') ours.replace(1, 3, plain, 1, 3);  // the date
      const auto at = std::mismatch(ours.begin(), ours.end(), plain.begin(), plain.end()).first - ours.begin();
      const auto before = static_cast<std::size_t>(std::max<std::ptrdiff_t>(at - 20, 0));
      EXPECT_TRUE(ours == plain) << extension << ", first difference at byte " << at << ", '" << ours.substr(before, 40)
                                 << "' and '" << plain.substr(before, 40) << "'";
    }
    EXPECT_EQ(folder_.Read("ours.prj"), kWgs84);
  }

  // Decimal commas where the machine has such a locale; no byte may depend on it.
  template <class Record>
  void Export(bool (*exportLayer)(std::wstring, std::vector<Record>, std::wstring&),
              const std::vector<Record>& records) {
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    std::wstring error = L"left over";
    EXPECT_TRUE(exportLayer(folder_.Wide("ours.shp"), records, error));
    EXPECT_EQ(error, L"");
    std::setlocale(LC_ALL, "C");
  }

  std::vector<tagKVTrajectoryObs> Trajectory(std::size_t count) {
    std::vector<tagKVTrajectoryObs> trajectory(count);
    for (auto& fix : trajectory) {
      fix.TimeUTC = values_.Time();
      for (double* value : {&fix.Latitude, &fix.Longitude, &fix.Altitude, &fix.GeoidOffst, &fix.AdjGpsSec}) {
        *value = values_.Number();
      }
    }
    return trajectory;
  }

  TempFolder folder_;
  Values values_;
};

TEST_F(Layers, TrajectoryPointsAreThoseOfPlainShapelib) {
  auto trajectory = Trajectory(TestSize<std::size_t>(5'000, 1'000'000));
  std::vector<PlainRecord> plain;
  for (auto& fix : trajectory) {
    const auto& [unit, unitBytes] = kTexts[values_.Choice(std::size(kTexts))];
    fix.AltUnit = unit;
    plain.push_back(baseline::TrajectoryPoint(fix, static_cast<int>(plain.size()), trajectory.front(), unitBytes));
  }
  Export(KVUtilities::ExportTrajectoryPointShapefile, trajectory);
  ExpectSame(SHPT_POINTZ, true, plain);
}

TEST_F(Layers, TrajectoryLineIsThatOfPlainShapelib) {
  for (const std::size_t count : {std::size_t{1}, TestSize<std::size_t>(20'000, 1'000'000)}) {
    const auto trajectory = Trajectory(count);
    const auto &first = trajectory.front(), &last = trajectory.back();
    PlainRecord plain{{},
                      {{"Index", 10, 0, 0},
                       {"TimeStart", 50, 0, TimeText(first.TimeUTC)},
                       {"TimeEnd", 50, 0, TimeText(last.TimeUTC)},
                       {"TimeTick", 25, 0, TickText(first.TimeUTC)}}};
    for (const auto& fix : trajectory) plain.vertices.push_back(Vertex(fix, first));
    Export(KVUtilities::ExportTrajectoryLineShapefile, trajectory);
    ExpectSame(SHPT_ARCZ, true, {&plain, 1});
  }
}

TEST_F(Layers, PhotosAreThoseOfPlainShapelib) {
  std::vector<tagKVSystemEvent> events(TestSize<std::size_t>(3'000, 300'000));
  std::vector<PlainRecord> plain;
  for (auto& event : events) {
    event.Type = static_cast<int>(values_.Choice(4));
    event.TimeUTC = values_.Time();
    for (double* value :
         {&event.Latitude, &event.Longitude, &event.Altitude, &event.MasterTick, &event.Sharpness, &event.AdjGpsSec}) {
      *value = values_.Number();
    }
    const auto& [path, pathBytes] = kTexts[values_.Choice(std::size(kTexts))];
    const std::wstring tail(values_.Choice(2) * 250, L'x');  // some longer than the column
    event.PhotoPath = (path + tail).c_str();
    if (values_.Choice(2) == 0) event.POSQuality.assign(L"RTK\0fixed", 9);  // a text ends at NUL
    if (event.Type != 2) continue;
    event.CameraID = values_.Choice(2) == 0 ? 1 : std::numeric_limits<int>::min();  // does not fit ten characters
    plain.push_back({{{event.Longitude, event.Latitude, event.Altitude, 0}}, {}});
    auto& fields = plain.back().fields;
    const auto add = [&](std::initializer_list<const char*> names, int width, int decimals, const auto& value) {
      for (const char* name : names) fields.push_back({name, width, decimals, value});
    };
    const std::string none;
    add({"TimeUTC"}, 50, 0, TimeText(event.TimeUTC));
    add({"POSQuality"}, 254, 0, std::string(event.POSQuality.size() == 9 ? "RTK" : "NONE"));
    add({"ORIQuality"}, 254, 0, std::string("NONE"));
    add({"Latitude"}, 14, 8, event.Latitude);
    add({"Longitude"}, 14, 8, event.Longitude);
    add({"Altitude"}, 14, 4, event.Altitude);
    add({"Yaw", "Pitch", "Roll"}, 14, 8, 0.0);
    add({"MasterTick"}, 14, 1, event.MasterTick);
    add({"Sharpness"}, 14, 1, event.Sharpness);
    add({"TimeTick"}, 25, 0, TickText(event.TimeUTC));
    add({"CameraID"}, 10, 0, event.CameraID);
    add({"PhotoPath"}, 254, 0, pathBytes + std::string(tail.size(), 'x'));
    add({"GUID", "PlatformID"}, 254, 0, none);
    add({"XYAcc", "ZAcc", "RollPitAcc", "YawAcc"}, 14, 4, 0.0);
    add({"CamCalib"}, 1, 0, 'F');
    add({"AdjGpsSec"}, 16, 6, event.AdjGpsSec);
    add({"ImgHgt", "ImgWidth"}, 10, 0, 0);
    add({"FocalLen", "CamCX", "CamCY", "CamK1", "CamK2", "CamK3", "CamP1", "CamP2"}, 14, 8, 0.0);
    add({"CamCalDate"}, 254, 0, none);
    add({"Index"}, 10, 0, static_cast<int>(plain.size()) - 1);
  }
  Export(KVUtilities::ExportPhotoPointShapefile, events);
  ExpectSame(SHPT_POINTZ, false, plain);
}

TEST_F(Layers, LogPointsAreThoseOfPlainShapelib) {
  std::vector<tagKVLogEvent> events(TestSize<std::size_t>(3'000, 300'000));
  std::vector<PlainRecord> plain;
  for (auto& event : events) {
    event.SystemTimeUTC = values_.Choice(9) ? Calendar(2023, 5, 1, 10, static_cast<int>(values_.Choice(60)), 7, 999)
                                            : Calendar(0, 13, 65535, 100);  // as read, calendar time or not
    const auto& [type, typeBytes] = kTexts[values_.Choice(std::size(kTexts))];
    const std::wstring tail(values_.Choice(2) * 250, L'x');
    event.Type = type;
    event.Desc = (type + tail).c_str();
    const int number = static_cast<int>(plain.size());
    plain.push_back({{}, {}});
    auto& fields = plain.back().fields;
    const auto decimal = [&](const char* name, double& value, int decimals = 4) {
      value = number < 2 ? 0.0 : values_.Number();  // shapelib starts the bounds anew after points at 0, 0
      fields.push_back({name, 14, decimals, value});
    };
    const auto integer = [&](const char* name, int& value) {
      fields.push_back({name, 10, 0, value = values_.Choice(2) ? number : std::numeric_limits<int>::min()});
    };
    const SYSTEMTIME& t = event.SystemTimeUTC;
    char time[64];
    std::snprintf(time, sizeof time, "%d-%02d-%02d %02d:%02d:%02d", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute,
                  t.wSecond);
    fields = {{"Index", 10, 0, number}, {"Type", 254, 0, typeBytes}, {"TimeUTC", 50, 0, std::string(time)}};
    decimal("Latitude", event.Latitude, 8);
    decimal("Longitude", event.Longitude, 8);
    decimal("Altitude", event.Altitude);
    fields.push_back({"Desc", 254, 0, typeBytes + std::string(tail.size(), 'x')});
    decimal("CCUTemp", event.CCUTemp);
    decimal("BatBrdTemp", event.BatBrdTemp);
    decimal("BatTemp", event.BatTemp);
    decimal("BatVoltage", event.BatVoltage);
    decimal("BatCurrent", event.BatCurrent);
    decimal("BatPercent", event.BatPercent);
    decimal("AOSBrdTemp", event.AOSBrdTemp);
    decimal("AOSPitch", event.AOSPitch);
    decimal("AOSRoll", event.AOSRoll);
    decimal("AOSHeading", event.AOSHeading);
    integer("AOSCalStat", event.AOSCalStat);
    integer("AOSSysStat", event.AOSSysStat);
    integer("AOSSysErro", event.AOSSysError);  // ten characters are kept
    plain.back().vertices = {{event.Longitude, event.Latitude, event.Altitude, static_cast<double>(number)}};
  }
  Export(KVUtilities::ExportLogPointShapefile, events);
  ExpectSame(SHPT_POINTZ, true, plain);
}

TEST_F(Layers, StationsAreThoseOfPlainShapelib) {
  std::vector<tagKVExposureStation> stations(TestSize<std::size_t>(2'000, 200'000));
  std::vector<PlainRecord> plain;
  for (auto& station : stations) {
    station.TimeUTC = values_.Time();
    for (double* value : {&station.Latitude, &station.Longitude, &station.Altitude}) *value = values_.Number();
    plain.push_back({{{station.Longitude, station.Latitude, station.Altitude, 0}},
                     {{"Index", 10, 0, static_cast<int>(plain.size())},
                      {"TimeUTC", 50, 0, TimeText(station.TimeUTC)},
                      {"Latitude", 14, 8, station.Latitude},
                      {"Longitude", 14, 8, station.Longitude},
                      {"Altitude", 14, 4, station.Altitude},
                      {"TimeTick", 25, 0, TickText(station.TimeUTC)}}});
    auto& fields = plain.back().fields;
    const auto addCamera = [&](tagKVSystemEvent& event, std::array<const char*, 8> names) {
      event.TimeUTC = values_.Time();
      for (double* value : {&event.Latitude, &event.Longitude, &event.Altitude, &event.MasterTick, &event.Sharpness}) {
        *value = values_.Number();
      }
      const auto& [path, pathBytes] = kTexts[values_.Choice(std::size(kTexts))];
      event.PhotoPath = path;
      fields.insert(fields.end(), {{names[0], 50, 0, TimeText(event.TimeUTC)},
                                   {names[1], 14, 8, event.Latitude},
                                   {names[2], 14, 8, event.Longitude},
                                   {names[3], 14, 4, event.Altitude},
                                   {names[4], 14, 1, event.MasterTick},
                                   {names[5], 14, 1, event.Sharpness},
                                   {names[6], 25, 0, TickText(event.TimeUTC)},
                                   {names[7], 254, 0, pathBytes}});
    };
    addCamera(station.Cam1Event,
              {"Cam1Time", "Cam1Lat", "Cam1Lon", "Cam1Alt", "Cam1MCTick", "Cam1Sharp", "Cam1TmTick", "Cam1Path"});
    addCamera(station.Cam2Event,
              {"Cam2Time", "Cam2Lat", "Cam2Lon", "Cam2Alt", "Cam2MCTick", "Cam2Sharp", "Cam2TmTick", "Cam2Path"});
  }
  Export(KVUtilities::ExportExposureStationPointShapefile, stations);
  ExpectSame(SHPT_POINTZ, false, plain);
}

bool ExportInWgs84(std::wstring path, std::vector<tagKVPosEvent> events, std::wstring& error) {
  return KVUtilities::ExportPosPointShapefile(path, events, std::wstring(kWgs84, std::end(kWgs84) - 1), error);
}

TEST_F(Layers, PosSamplesAreThoseOfPlainShapelib) {
  std::vector<tagKVPosEvent> samples(500);
  std::vector<PlainRecord> plain;
  for (auto& sample : samples) {
    sample.TimeUTC = values_.Time();
    for (double* value :
         {&sample.AdjGpsSec, &sample.Latitude, &sample.Longitude, &sample.Height, &sample.X, &sample.Y, &sample.Z}) {
      *value = values_.Number();
    }
    plain.push_back({{{sample.X, sample.Y, sample.Z, 0}},
                     {{"Index", 10, 0, static_cast<int>(plain.size())},
                      {"TimeUTC", 50, 0, TimeText(sample.TimeUTC)},
                      {"AdjGpsSec", 16, 6, sample.AdjGpsSec}}});
    auto& fields = plain.back().fields;
    const auto addText = [&](const char* name, CStringW& text) {
      const auto& [wide, bytes] = kTexts[values_.Choice(std::size(kTexts))];
      text = wide;
      fields.push_back({name, 30, 0, bytes});
    };
    addText("GpsWeek", sample.GpsWeekText);
    addText("GpsSeconds", sample.GpsSecondsText);
    fields.insert(fields.end(), {{"Latitude", 14, 8, sample.Latitude},
                                 {"Longitude", 14, 8, sample.Longitude},
                                 {"Height", 14, 4, sample.Height},
                                 {"X", 19, 8, sample.X},
                                 {"Y", 19, 8, sample.Y},
                                 {"Z", 14, 4, sample.Z}});
    constexpr const char* kNames[] = {"Token6",  "Token7",  "Token8",  "Token9",  "Token10",
                                      "Token11", "Token12", "Token13", "Token14", "Token15"};
    CStringW* const texts[] = {&sample.Token6,  &sample.Token7,  &sample.Token8,  &sample.Token9,  &sample.Token10,
                               &sample.Token11, &sample.Token12, &sample.Token13, &sample.Token14, &sample.Token15};
    for (std::size_t i = 0; i < std::size(kNames); ++i) addText(kNames[i], *texts[i]);
  }
  Export(ExportInWgs84, samples);
  ExpectSame(SHPT_POINTZ, false, plain);
}

}  // namespace
