#include <gtest/gtest.h>

#include "photos/JpegHeader.h"
#include "photos/PhotoFolder.h"
#include "photos/PhotoTimes.h"
#include "support/TempFolder.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

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

TEST(PhotoFolders, NamesAreAfterTheLastSeparator) {
  EXPECT_EQ(PhotoNameAt("/"), 1u);
  EXPECT_EQ(PhotoNameAt("/a"), 3u);
}

TEST(PhotoFolders, HoldPhotosButNoHiddenFiles) {
  const TempFolder folder;
  for (const char* name : {"b.jpg", "a.JPG", "._b.jpg", ".c.JPEG", "d.jpeg", "e.jpg.txt", "240501_120000.jpg"})
    folder.Write(name, "x");
  std::filesystem::create_directory(folder.Path() / "folder.jpg");
  folder.Link("nowhere", "link.jpg");
  EXPECT_EQ(PhotosIn(folder.Path()),
            (std::vector<std::filesystem::path>{"240501_120000.jpg", "a.JPG", "b.jpg", "d.jpeg"}));
  EXPECT_THROW(PhotosIn(folder.Path() / "none"), Failure);
  Observer nobody;
  Job job(nobody);
  const PhotoFolder photos = ReadPhotoFolder(folder.Path() / "", 2, job);
  EXPECT_EQ(photos.path, folder.Path());
  EXPECT_EQ(photos.photos.size(), 4u);
  EXPECT_EQ(photos.listed, 2u);
  EXPECT_EQ(photos.strays, 1u);
  EXPECT_EQ(photos.timed, 1u);
  ASSERT_EQ(job.Findings().size(), 1u);
  EXPECT_EQ(job.Findings()[0].text, "camera 2: 2 photos not named .jpg in lower case: only pairing by time finds them");
}

}  // namespace
}  // namespace kv::mission
