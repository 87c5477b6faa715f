#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "support/TempFolder.h"
#include "support/Times.h"
#include "time/FileTimes.h"

namespace {

const std::string kStart = "\t273854.474686\t[2178]\t";
const std::string kRest =
    "   -11,N\t    13,E\t   -25,V\t37.79468641,Lat\t-122.39634919,Lon\t-20.032,Ellh\t0.002280, 0.003714, "
    "0.006364\t50,Q";
const std::string kLine = "1" + kStart + kRest + "\n";

std::vector<tagKVSystemEvent> Scan(std::string_view content, std::wstring& error) {
  const TempFolder folder;
  return KVUtilities::ScanDjiTimestampFileWithoutImages(folder.Write("a.MRK", content), error);
}

TEST(DroneTimestampFile, ALineIsALocatedEventOfCamera1) {
  std::wstring error = L"left over";
  const auto events = Scan(kLine, error);
  EXPECT_EQ(error, L"");
  ASSERT_EQ(events.size(), 1u);
  const tagKVSystemEvent& event = events[0];
  EXPECT_EQ(event.AdjGpsSec, 317'254'400 + 273854.474686);
  // 273854.474686 s after Sunday 2021-10-03, and GPS was 18 s ahead of UTC.
  EXPECT_TRUE(SameInstant(event.SystemTimeUTC, Calendar(2021, 10, 6, 4, 3, 56, 474)));
  EXPECT_EQ(kv::Ticks(event.TimeUTC) % 10'000'000, 4'746'860u);
  EXPECT_EQ(std::tie(event.Type, event.CameraID, event.MasterTick, event.Sharpness), std::make_tuple(2, 1, 0.0, 0.0));
  EXPECT_EQ(std::tie(event.Latitude, event.Longitude, event.Altitude),
            std::make_tuple(37.79468641, -122.39634919, -20.032));
  EXPECT_EQ(event.POSQuality, L"NONE");
  EXPECT_TRUE(event.PhotoPath.IsEmpty());
}

TEST(DroneTimestampFile, LinesAreExposuresOrNothing) {
  struct {
    std::string content;
    std::size_t events;
  } const rows[] = {
      {"1 273854.474686 [2178] -11 N 13 E -25 V 37.79468641 Lat -122.39634919 Lon -20.032", 1},  // 14 tokens
      {"1 273854.474686 [2178] -11 N 13 E -25 V 37.79468641 Lat -122.39634919 Lon", 0},
      {"\xEF\xBB\xBF" + kLine + kLine, 2},    // a byte order mark
      {"\xEF\xBB\xBF  " + kLine + kLine, 2},  // blanks behind it
      {"\xEF\xBB\xBF\t" + kLine + kLine, 2},
      {kLine + "\xEF\xBB\xBF" + kLine, 1},  // only before the first line
      {" ,\t" + kLine.substr(0, kLine.size() - 1) + ",,\r\n" + kLine, 2},
      {"7\t273854.474686\t2178\t" + kRest, 1},
      {"7\t273854.474686\t][2[178]]\t" + kRest, 1},
      {"7\t273854.474686\t[2178.0]\t" + kRest, 0},
      {"7\t273854.474686\t[]\t" + kRest, 0},
      {"7\t273854e\t[2178]\t" + kRest, 0},
      {"x" + kStart + kRest, 0},
      {"2147483648" + kStart + kRest, 0},
      {"number\tseconds\n", 0},
      {kLine + std::string(1023, 'x') + "\n" + kLine, 2},
      {kLine + std::string(1024, 'x') + "\n" + kLine, 1},  // a line that is too long ends the file
      {"", 0},
  };
  for (const auto& [content, count] : rows) {
    std::wstring error = L"left over";
    EXPECT_EQ(Scan(content, error).size(), count) << content;
    EXPECT_EQ(error, L"") << content;
  }
}

TEST(DroneTimestampFile, AMissingFileIsAnError) {
  for (const std::wstring path : {L"", L"none.MRK"}) {
    std::wstring error;
    EXPECT_TRUE(KVUtilities::ScanDjiTimestampFileWithoutImages(path, error).empty());
    EXPECT_EQ(error, L"Error scanning Timestamp file. File does not exist.\n\n" + path);
    EXPECT_TRUE(KVUtilities::ScanDjiTimestampFile(path, L".", error).empty());
    EXPECT_EQ(error, L"Error scanning Timestamp file. File does not exist.\n\n" + path);
  }
}

TEST(DroneTimestampFile, PhotosAreFoundByTheNumberInTheirNames) {
  struct {
    std::vector<const char*> files;
    std::wstring photo;  // of exposure 12
  } const rows[] = {
      {{"100_0067_0012.JPG"}, L"100_0067_0012.JPG"},
      {{"DJI_20230816103011_0012_W.JPG"}, L"DJI_20230816103011_0012_W.JPG"},
      {{"DJI_0012_MS_G.jpeg"}, L"DJI_0012_MS_G.jpeg"},
      {{"12.dng"}, L"12.dng"},
      {{"a-12.jpg"}, L"a-12.jpg"},
      {{"IMG0012.JPG"}, L""},    // no separator before the number
      {{"a_0012b.JPG"}, L""},    // none behind it
      {{"a_0012.png"}, L""},     // another kind
      {{"0012_0013.JPG"}, L""},  // the last number counts
      {{"a_12.DNG", "a_0012.JPG"}, L"a_0012.JPG"},
      {{"a_0012_T.JPG", "a_0012_W.JPG", "a_0012_Z.JPG"}, L"a_0012_W.JPG"},
      {{"a_0012_T.JPG", "a_0012_W.JPG", "b_0012.DNG"}, L"b_0012.DNG"},  // the mark counts before the kind of file
      {{"a_0012_W.DNG", "b_0012_V.JPG", "c_0012_D.JPG"}, L"b_0012_V.JPG"},
      {{"a_0012_Z.JPG", "a_0012_T.JPG"}, L"a_0012_T.JPG"},
      {{"._a_0012.JPG", "a_0012_t.JPG", "a_0012_v.JPG"},
       L"a_0012_v.JPG"},  // the first is what a Mac puts beside a photo
      {{"99999999999999999999_12_99999999999999999999.JPG"}, L""},
  };
  for (const auto& [files, photo] : rows) {
    const TempFolder folder;
    for (const char* file : files) folder.Write(file, "");
    std::wstring error;
    for (const std::wstring end : {L"", L"\\", L"/"}) {
      const auto events =
          KVUtilities::ScanDjiTimestampFile(folder.Write("a.MRK", "12" + kStart + kRest), folder.Wide() + end, error);
      ASSERT_EQ(events.size(), 1u);
      EXPECT_EQ(std::wstring(events[0].PhotoPath), photo.empty() ? L"" : folder.Wide() + L"\\" + photo) << files[0];
      EXPECT_EQ(error, photo.empty() ? L"There was one Timestamp without a matching Image." : L"") << files[0];
    }
  }
}

TEST(DroneTimestampFile, EventsWithoutPhotosStayAndAreCounted) {
  const TempFolder folder;
  const std::wstring path = folder.Write("a.MRK", kLine + kLine + "2" + kStart + kRest);
  folder.Write("photo_0002_T.JPG", "");
  for (const char* link : {"photo_0001.JPG", "photo_0002.JPG"}) folder.Link("none", link);  // no photos
  for (const auto& [photos, count] : {std::pair(folder.Wide(), 2), {folder.Wide("none"), 3}, {std::wstring(), 3}}) {
    std::wstring error;
    EXPECT_EQ(KVUtilities::ScanDjiTimestampFile(path, photos, error).size(), 3u);
    EXPECT_EQ(error, L"There were " + std::to_wstring(count) + L" Timestamps without matching Images.");
  }
}

}  // namespace
