#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "KVUtilities.h"
#include "baseline/PhotoPairing.h"
#include "support/TempFolder.h"
#include "support/TestSize.h"
#include "support/Times.h"

namespace {

using PhotoTimes = std::map<std::wstring, SYSTEMTIME>;
using Texts = std::vector<std::wstring>;

constexpr SYSTEMTIME kNoTime{2023, 13, 0, 1, 0, 0, 0, 0};  // month 13

SYSTEMTIME After(int milliseconds) {
  return Calendar(2023, 12, 22, 10, milliseconds / 60'000, milliseconds / 1000 % 60, milliseconds % 1000);
}

tagKVSystemEvent Event(int type, int camera, SYSTEMTIME time = {}, const wchar_t* photo = L"") {
  tagKVSystemEvent event;
  event.Type = type;
  event.CameraID = camera;
  event.SystemTimeUTC = time;
  event.PhotoPath = photo;
  return event;
}

Texts PhotosOf(const std::vector<tagKVSystemEvent>& events) {
  Texts photos;
  for (const tagKVSystemEvent& event : events) photos.emplace_back(event.PhotoPath.GetString());
  return photos;
}

TEST(PhotoPaths, TheNearestPhotoWithinRange) {
  const SYSTEMTIME at30 = After(30'000), at31 = After(31'000);
  struct {
    const char* what;
    SYSTEMTIME event;
    PhotoTimes photos;
    double offset, range;
    const wchar_t* path;
  } const rows[] = {{"exactly the range", at31, {{L"a.jpg", at30}}, 0, 1, L"C:\\cam\\\\a.jpg"},
                    {"a millisecond more", After(31'001), {{L"a", at30}}, 0, 1, L""},
                    {"offset later", After(33'000), {{L"a", at30}}, 2, 1, L"C:\\cam\\\\a"},
                    {"offset earlier", After(27'000), {{L"a", at30}}, -2, 1, L"C:\\cam\\\\a"},
                    {"29.9996 is cut to 29.999", After(28'999), {{L"a", at30}}, -0.0004, 1, L"C:\\cam\\\\a"},
                    {"tie, later sorts first", After(30'500), {{L"b", at30}, {L"a", at31}}, 0, 1, L"C:\\cam\\\\a"},
                    {"tie, earlier sorts first", After(30'500), {{L"a", at30}, {L"b", at31}}, 0, 1, L"C:\\cam\\\\a"},
                    {"nearest", After(30'501), {{L"a", at30}, {L"b", at31}}, 0, 1, L"C:\\cam\\\\b"},
                    {"no photo", at30, {}, 0, 1, L""},
                    {"invalid times count as one time", kNoTime, {{L"a", kNoTime}}, 0, 0, L"C:\\cam\\\\a"},
                    {"an offset beyond the calendar", at30, {{L"a", at30}}, 1e300, 1, L""}};
  for (const auto& [what, event, photos, offset, range, path] : rows) {
    std::wstring error = L"left over";
    EXPECT_EQ(KVUtilities::FindClosestPhotoWithinRange(event, L"C:\\cam\\", photos, offset, range, error), path)
        << what;
    EXPECT_EQ(error, L"") << what;
  }
}

TEST(PhotoPaths, PairingByTimeRemovesCameraEventsWithoutPhotoAndSaysHowMany) {
  const SYSTEMTIME time = After(30'000), other = After(50'000);
  const PhotoTimes camera1 = {{L"one.jpg", time}}, camera2 = {{L"two.jpg", After(32'000)}};
  struct {
    std::vector<tagKVSystemEvent> events;
    Texts photos;
    const wchar_t* report;
  } rows[] = {{{Event(1, 1, time), Event(2, 1, time), Event(2, 2, time), Event(2, 0, time), Event(2, 3, time)},
               {L"", L"C:\\1\\one.jpg", L"D:\\2\\two.jpg", L"D:\\2\\two.jpg", L"D:\\2\\two.jpg"},
               L""},
              {{Event(2, 1, other), Event(2, 1, other, L"kept.jpg"), Event(3, 1, other)},
               {L"kept.jpg", L""},
               L"There was one Camera Event removed because the matching Image could not be determined."},
              {{Event(2, 1, other), Event(2, 2, other), Event(2, 2, time)},
               {L"D:\\2\\two.jpg"},
               L"There were 2 Camera Events removed because the matching Images could not be determined."}};
  for (auto& [events, photos, report] : rows) {
    std::wstring error = L"left over";
    EXPECT_TRUE(KVUtilities::PopulatePhotoPathsUsingTimeStamps(events, L"none\\", L"none\\", L"C:\\1", L"D:\\2",
                                                               camera1, camera2, 0, -2, error));
    EXPECT_EQ(error, report);
    EXPECT_EQ(PhotosOf(events), photos);
  }
}

TEST(PhotoPaths, PairingByTimeEqualsTheSearchForEachEvent) {
  std::mt19937 random(4);
  const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  const double offsets[] = {
      0, 0.5, -0.5, 0.0004, -0.0004, -60, 1e12, -1e13, 1e300, -1e300, std::numeric_limits<double>::quiet_NaN()};
  for (int round = 0; round < TestSize(5'000, 200'000); ++round) {
    const int step = round % 2 ? 250 : 1700;  // ms; crowded and sparse
    const auto anyTime = [&] { return below(15) ? After(step * below(60)) : kNoTime; };
    const double offset = offsets[below(below(4) ? 5 : 11)];
    PhotoTimes photos[2];
    for (int n = below(40); n > 0; --n) photos[n % 2][std::to_wstring(below(100))] = anyTime();
    std::vector<tagKVSystemEvent> events;
    Texts expected;
    std::wstring error;
    for (int i = 0; i < 8; ++i) {
      events.push_back(Event(2, 1 + i % 2, anyTime()));
      const SYSTEMTIME& time = events.back().SystemTimeUTC;
      const std::wstring name = baseline::ClosestPhoto(time, photos[i % 2], offset, 1.0);
      expected.push_back(name.empty() ? name : L"folder\\" + name);
      ASSERT_EQ(KVUtilities::FindClosestPhotoWithinRange(time, L"folder", photos[i % 2], offset, 1.0, error),
                expected.back());
    }
    std::erase(expected, L"");
    KVUtilities::PopulatePhotoPathsUsingTimeStamps(events, L"", L"", L"folder", L"folder", photos[0], photos[1], offset,
                                                   offset, error);
    ASSERT_EQ(PhotosOf(events), expected) << "round " << round;
  }
}

TEST(PhotoPaths, PairingByOrderTakesEachCamerasPhotosByName) {
  const TempFolder folder;
  for (const char* camera : {"1", "2"}) std::filesystem::create_directory(folder.Path() / camera);
  for (const char* name : {"1/b.jpg", "1/a.jpg", "1/c.JPG", "2/x.jpg", "2/z.jpg", "2/y.jpg"}) folder.Write(name, "");
  const std::wstring list1 = folder.Wide("1") + L"\\", list2 = folder.Wide("2") + L"/";
  const std::wstring tooFew = L"Error populating images.  More Camera ", inFolder = L" events than images in folder: ";
  struct {
    std::vector<int> cameras;
    std::wstring list1, list2;
    Texts photos;
    std::wstring error;
  } const rows[] = {
      {{1, 2, 0, 1}, list1, list2, {L"", L"C:\\1\\a.jpg", L"D:\\2\\x.jpg", L"D:\\2\\y.jpg", L"C:\\1\\b.jpg"}, L""},
      {{1, 1, 1, 2}, list1, list2, {L"", L"C:\\1\\a.jpg", L"C:\\1\\b.jpg", L"", L""}, tooFew + L"1" + inFolder + list1},
      // Without a separator at its end the last part is a prefix, and comes twice, on purpose.
      {{1}, folder.Wide("1") + L"/a", list2, {L"", L"C:\\1\\aa.jpg"}, L""},
      {{3, 1}, list1, L"none\\", {L"", L"", L""}, tooFew + L"2" + inFolder + L"none\\"}};
  for (const auto& [cameras, first, second, photos, sentence] : rows) {
    std::vector<tagKVSystemEvent> events = {Event(1, -1)};  // a heartbeat takes no photo
    for (const int camera : cameras) events.push_back(Event(2, camera));
    std::wstring error = L"left over";
    EXPECT_EQ(KVUtilities::PopulatePhotoPaths(events, first, second, L"C:\\1", L"D:\\2", error), sentence.empty());
    EXPECT_EQ(error, sentence);
    EXPECT_EQ(PhotosOf(events), photos);
  }
}

}  // namespace
