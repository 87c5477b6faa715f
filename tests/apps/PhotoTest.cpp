#include <KVUtilities.h>
#include <gtest/gtest.h>

#include "mission/Pairing.h"
#include "mission/inputs/EventFile.h"
#include "photos/JpegHeader.h"
#include "photos/PhotoFolder.h"
#include "photos/PhotoTimes.h"
#include "support/TempFolder.h"

namespace kv::mission {
namespace {

using Names = std::vector<std::wstring>;

TEST(PhotoTimes, StampsAreFoundAnywhereInAName) {
  struct {
    const wchar_t* name;
    const char* time;  // empty: none
  } const rows[] = {
      {L"240229_235959.jpg", "2024-02-29T23:59:59.000Z"},
      {L"cam1-240501_120000-0007.JPG", "2024-05-01T12:00:00.000Z"},
      {L"000001_000002_240501_120000", "2024-05-01T12:00:00.000Z"},
      {L"\u03C6240501_120000", "2024-05-01T12:00:00.000Z"},
      {L"IMG_20240501_120000.jpg", ""},
      {L"240501_1200001.jpg", ""},
      {L"230229_120000.jpg", ""},
      {L"240501_240000.jpg", ""},
      {L"240501-120000.jpg", ""},
      {L"240501_12000", ""},
  };
  for (const auto& [name, time] : rows) {
    const auto stamp = StampTime(name);
    EXPECT_EQ(stamp ? IsoText(*stamp) : "", time) << std::string(name, name + std::wcslen(name));
  }
}

/// A JPEG file up to its frame header: an EXIF segment with the three texts, then 640 x 480 pixels.
std::string Jpeg(const std::string& time, const std::string& subSeconds, const std::string& offset) {
  const auto little = [](std::size_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
  };
  constexpr std::size_t kDirectoryAt = 26, kTextsAt = kDirectoryAt + 2 + 3 * 12 + 4;
  std::string directory = little(3, 2), texts;
  const auto add = [&](std::size_t tag, std::string text) {
    text.resize(24);  // longer than the four bytes that would stand in the entry itself
    directory += little(tag, 2) + little(2, 2) + little(text.size(), 4) + little(kTextsAt + texts.size(), 4);
    texts += text;
  };
  add(0x9003, time);
  add(0x9011, offset);
  add(0x9291, subSeconds);
  const std::string exif = std::string("Exif\0\0", 6) + "II" + little(42, 2) + little(8, 4) + little(1, 2) +
                           little(0x8769, 2) + little(4, 2) + little(1, 4) + little(kDirectoryAt, 4) + little(0, 4) +
                           directory + little(0, 4) + texts;
  const std::size_t length = exif.size() + 2;
  return std::string("\xFF\xD8\xFF\xE1") + static_cast<char>(length >> 8) + static_cast<char>(length) + exif +
         std::string("\xFF\xC0\x00\x11\x08\x01\xE0\x02\x80\x03", 10);
}

TEST(PhotoTimes, ComeFromExifElse) {
  struct {
    const char *time, *subSeconds, *offset;
    const char* utc;  // empty: none
    bool zoneIsSound = true;
  } const rows[] = {
      {"2024:05:01 12:00:00", "", "", "2024-05-01T12:00:00.000Z"},
      {"2024:05:01 12:00:00", "5", "Z", "2024-05-01T12:00:00.500Z"},
      {"2024:01:01 00:30:00", "123456789", "+01:00", "2023-12-31T23:30:00.123Z"},
      {"2024:05:01 12:00:00", "05 ", "-05:30", "2024-05-01T17:30:00.050Z"},
      {"2024:05:01 12:00:00", "", "+15:00", "2024-05-01T12:00:00.000Z", false},
      {"2024:05:01 12:00:00", "", "+01:60", "2024-05-01T12:00:00.000Z", false},
      {"0000:00:00 00:00:00", "", "", ""},
      {"    :  :     :  :  ", "", "", ""},
  };
  const TempFolder folder;
  for (const auto& [time, subSeconds, offset, utc, zoneIsSound] : rows) {
    folder.Write("photo.jpg", Jpeg(time, subSeconds, offset));
    const auto header = ReadJpegHeader(folder.Path() / "photo.jpg");
    ASSERT_TRUE(header);
    EXPECT_EQ(header->width, 640);
    EXPECT_EQ(header->height, 480);
    const auto exif = ExifTimeOriginal(header->exif);
    EXPECT_EQ(exif ? IsoText(exif->time) : "", utc) << time << offset;
    EXPECT_EQ(exif && exif->zoneKnown, zoneIsSound && *offset != '\0') << offset;
  }
}

TEST(PhotoTimes, NoJunkIsFatal) {
  const std::string whole = Jpeg("2024:05:01 12:00:00", "5", "+01:00");
  const TempFolder folder;
  for (std::size_t length = 0; length < whole.size(); length += 3) {
    folder.Write("photo.jpg", whole.substr(0, length));
    const auto header = ReadJpegHeader(folder.Path() / "photo.jpg");
    EXPECT_EQ(header.has_value(), length >= 2) << length;
    if (header) ExifTimeOriginal(header->exif);
  }
  EXPECT_FALSE(ReadJpegHeader(folder.Path()));
}

/// A camera's folder and the events to pair with it.
class PairingTest : public testing::Test {
 protected:
  void MakePhotos(const std::vector<const char*>& names) {
    std::filesystem::create_directory(temp_.Path() / "cam");
    for (const char* name : names) temp_.Write(std::string("cam/") + name, "x");
    photos_ = ReadPhotoFolder(temp_.Path() / "cam", 1, log_);
  }
  /// @param secondsAfterNoon  of 2024-05-01
  void AddEvent(int camera, double secondsAfterNoon) {
    const auto time = FromFields(2024, 5, 1, 12, 0, 0).value();
    tagKVSystemEvent event;
    event.Type = kCameraEvent;
    event.CameraID = camera;
    event.MasterTick = 1000 + secondsAfterNoon;
    event.TimeUTC = KVUtilities::AddSecondsToFileTime(ToFileTime(time), secondsAfterNoon);
    event.SystemTimeUTC = ToSystemTime(FromFileTime(event.TimeUTC));
    events_.push_back(event);
  }
  Names PhotosOfEvents() const {
    Names names;
    for (const auto& event : events_)
      names.push_back(std::filesystem::path(event.PhotoPath.GetString()).filename().wstring());
    return names;
  }

  TempFolder temp_;
  Log log_{Verbosity::Quiet};
  PhotoFolder photos_;
  std::vector<tagKVSystemEvent> events_;
};

TEST_F(PairingTest, ByTimeTakesAnySpellingAndTheOffset) {
  MakePhotos({"a240501_120010.JPG", "b240501_120012.jpeg", "c240501_120030.jpg", "untimed.jpg"});
  for (const double seconds : {0.25, 0.5, 2.4, 7.0}) AddEvent(1, seconds);
  AddEvent(2, 0.25);
  const Pairing pairing = PairPhotos(1, photos_, std::nullopt, -10.0, events_, log_);
  EXPECT_EQ(pairing.mode, PairMode::Time);
  EXPECT_EQ(PhotosOfEvents(), (Names{L"a240501_120010.JPG", L"a240501_120010.JPG", L"b240501_120012.jpeg", L"", L""}));
  EXPECT_EQ(std::wstring(events_[0].PhotoPath), (temp_.Path() / "cam" / "a240501_120010.JPG").wstring());
  EXPECT_EQ(pairing.paired, 3u);
  EXPECT_EQ(pairing.unused, (Names{L"c240501_120030.jpg", L"untimed.jpg"}));
  EXPECT_EQ(pairing.shared, Names{L"a240501_120010.JPG"});
  EXPECT_NEAR(pairing.largest.value(), 0.5, 1e-6);
  EXPECT_NEAR(pairing.median.value(), 0.4, 1e-6);
  EXPECT_EQ(log_.Warnings().size(), 3u);  // spelling, no time, one photo for two events
}

TEST_F(PairingTest, ByOrderOneCameraOutOfPhotosLeavesTheOtherAlone) {
  MakePhotos({"p1.jpg", "p2.jpg", "p3.JPG"});
  for (const double seconds : {1.0, 2.0, 3.0}) AddEvent(1, seconds);
  AddEvent(3, 4.0);
  const Pairing one = PairPhotos(1, photos_, std::nullopt, 0, events_, log_);
  const Pairing two = PairPhotos(2, photos_, std::nullopt, 0, events_, log_);
  EXPECT_EQ(one.mode, PairMode::Order);
  EXPECT_EQ(PhotosOfEvents(), (Names{L"p1.jpg", L"p2.jpg", L"", L"p1.jpg"}));
  EXPECT_EQ(two.unused, (Names{L"p2.jpg", L"p3.JPG"}));
  EXPECT_EQ(log_.Warnings().at(1),
            "camera 1: 3 events but 2 photos: pairing by order leaves over 1 event at the end and shifts all pairs "
            "behind a missing one");
  EXPECT_EQ(log_.Warnings().at(2), "camera 1: Error populating images.  More Camera 1 events than images in folder: " +
                                       (temp_.Path() / "cam/").string());
}

TEST_F(PairingTest, HelpsWhenTheClocksDiffer) {
  MakePhotos({"240501_140000.jpg", "240501_140002.jpg"});
  AddEvent(1, 0.0);
  AddEvent(1, 2.0);
  EXPECT_EQ(PairPhotos(1, photos_, PairMode::Time, 0, events_, log_).paired, 0u);
  EXPECT_NE(log_.Warnings().at(0).find("--cam1-offset"), std::string::npos);
  const Pairing byOrder = PairPhotos(1, photos_, PairMode::Order, 0, events_, log_);
  EXPECT_EQ(byOrder.paired, 2u);
  EXPECT_NEAR(byOrder.largest.value(), 7200.0, 1e-6);
  EXPECT_NE(log_.Warnings().at(1).find("differ by up to 7200.000 s"), std::string::npos);
}

}  // namespace
}  // namespace kv::mission
