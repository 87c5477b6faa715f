#include "mission/Steps.h"

#include <KVUtilities.h>
#include <gtest/gtest.h>

#include "georef/EventTypes.h"
#include "photos/PhotoFolder.h"
#include "support/TempFolder.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using Names = std::vector<std::wstring>;

/// Photo folders of both cameras and the events to pair with them.
class PairedMission {
 public:
  void MakePhotos(const std::vector<std::string>& names, const char* folder = "cam") {
    std::filesystem::create_directory(temp_.Path() / folder);
    for (const auto& name : names) temp_.Write(std::string(folder) + "/" + name, "x");
  }
  /// @param secondsAfterNoon  of 2024-05-01
  void AddEvent(int camera, double secondsAfterNoon) {
    tagKVSystemEvent event;
    event.Type = kCameraEvent;
    event.CameraID = camera;
    event.MasterTick = 1000 + secondsAfterNoon;
    event.TimeUTC = KVUtilities::AddSecondsToFileTime(ToFileTime(kNoon), secondsAfterNoon);
    event.SystemTimeUTC = ToSystemTime(FromFileTime(event.TimeUTC));
    events_.push_back(event);
  }
  /// Pairs both cameras with photos in these folders; an empty one is no folder.
  std::vector<Camera> Pair(const Settings& settings, const char* folder1 = "cam", const char* folder2 = "") {
    Settings whole = settings;
    if (*folder1) whole.camera1 = temp_.Path() / folder1;
    if (*folder2) whole.camera2 = temp_.Path() / folder2;
    return PairCameras(whole, events_, photos_, job_);
  }
  std::vector<std::string> Codes() const {
    std::vector<std::string> codes;
    for (const Finding& finding : job_.Findings()) codes.push_back(finding.code);
    return codes;
  }
  std::string Sentence(const std::string& code) const {
    for (const Finding& finding : job_.Findings()) {
      if (finding.code == code) return finding.text;
    }
    return {};
  }
  Names PhotoNames() const {
    Names names;
    for (const auto& event : events_)
      names.push_back(std::filesystem::path(event.PhotoPath.GetString()).filename().wstring());
    return names;
  }

  static inline const Instant kNoon = FromFields(2024, 5, 1, 12, 0, 0).value();

  TempFolder temp_;
  Observer nobody_;
  Job job_{nobody_};
  std::vector<tagKVSystemEvent> events_;
  PhotosOfEvents photos_;
};

class PairingTest : public testing::Test, protected PairedMission {};

Settings By(PairBy by, ClockOffset offset = {}) {
  Settings settings;
  settings.pair = by;
  settings.camera1Offset = settings.camera2Offset = offset;
  return settings;
}

TEST_F(PairingTest, ByTimeTakesAnySpellingAndTheOffset) {
  MakePhotos({"a240501_120010.JPG", "b240501_120012.jpeg", "untimed.jpg"});
  for (const double seconds : {0.25, 2.4, 7.0}) AddEvent(1, seconds);
  AddEvent(2, 0.25);
  const auto cameras = Pair(By(PairBy::Auto, {-10.0}));
  const Pairing& pairing = cameras.at(0).pairing;
  EXPECT_EQ(pairing.mode, PairMode::Time);
  EXPECT_EQ(PhotoNames(), (Names{L"a240501_120010.JPG", L"b240501_120012.jpeg", L"", L""}));
  EXPECT_EQ(std::wstring(events_[0].PhotoPath), (temp_.Path() / "cam" / "a240501_120010.JPG").wstring());
  EXPECT_EQ(pairing.paired, 2u);
  EXPECT_EQ(pairing.unused, Names{L"untimed.jpg"});
  EXPECT_NEAR(pairing.differences.value().largest, 0.4, 1e-6);
  EXPECT_NEAR(photos_[1].differenceSeconds.value(), -0.4, 1e-6);
  EXPECT_FALSE(photos_[2].differenceSeconds || photos_[3].differenceSeconds);
  EXPECT_EQ(Codes(), (std::vector<std::string>{"photos-not-listed", "camera-clock-unchecked", "photos-without-time"}));
}

TEST_F(PairingTest, ByOrderOneCameraOutOfPhotosLeavesTheOtherAlone) {
  MakePhotos({"p1.jpg", "p2.jpg", "p3.JPG"});
  for (const double seconds : {1.0, 2.0, 3.0}) AddEvent(1, seconds);
  AddEvent(3, 4.0);
  const auto cameras = Pair(By(PairBy::Auto), "cam", "cam");
  EXPECT_EQ(cameras.at(0).pairing.mode, PairMode::Order);
  EXPECT_EQ(PhotoNames(), (Names{L"p1.jpg", L"p2.jpg", L"", L"p1.jpg"}));
  EXPECT_EQ(cameras.at(1).pairing.unused, (Names{L"p2.jpg", L"p3.JPG"}));
  EXPECT_EQ(Codes(), (std::vector<std::string>{"photos-not-listed", "photos-not-listed", "pairing-by-order-uneven",
                                               "pairing-failed", "pairing-by-order-unchecked",
                                               "pairing-by-order-uneven", "pairing-by-order-unchecked"}));
  EXPECT_EQ(Sentence("pairing-failed"),
            "camera 1: Error populating images.  More Camera 1 events than images in folder: " +
                (temp_.Path() / "cam/").make_preferred().string());
}

TEST_F(PairingTest, FewTimesThatDoNotFitAreADoubt) {
  MakePhotos({"240501_140000.jpg", "240501_140002.jpg"});
  AddEvent(1, 0.0);
  AddEvent(1, 2.0);
  EXPECT_EQ(Pair(By(PairBy::Time)).at(0).pairing.paired, 0u);
  EXPECT_EQ(Codes(), std::vector<std::string>{"photos-of-other-events"});
  const Pairing byOrder = Pair(By(PairBy::Order)).at(0).pairing;
  EXPECT_EQ(byOrder.paired, 2u);
  EXPECT_NEAR(byOrder.differences.value().largest, 7200.0, 1e-6);
  EXPECT_NE(Sentence("pairing-by-order-times-differ").find("differ by up to 7200.000 s"), std::string::npos);
}

/// A mission of 60 exposures in strips, a stamp of whole seconds for each photo.
class ClockMission : public PairedMission {
 public:
  static std::vector<double> Times(unsigned seed) {
    std::vector<double> times;
    double time = 10.3;
    for (unsigned i = 0; i < 60; ++i) {
      times.push_back(time);
      time += 2.1 + 0.001 * ((i * 7919 + seed * 104729) % 700) + (i % 12 == 11 ? 9.7 + 0.1 * ((i + seed) % 31) : 0);
    }
    return times;
  }
  static std::string Stamp(double seconds) {
    const auto time = kNoon + std::chrono::seconds(static_cast<int>(std::floor(seconds)));
    std::string text;
    for (const char digit : IsoText(time).substr(2, 17)) {
      if (digit == 'T') text += '_';
      if (std::isdigit(static_cast<unsigned char>(digit))) text += digit;
    }
    return text + ".jpg";
  }
  /// @param clock  seconds by which the camera's clock is ahead
  /// @param lost   number of the event without a photo
  void Make(int camera, const char* folder, unsigned seed, double clock, std::size_t lost = 20) {
    std::vector<std::string> names;
    const auto times = Times(seed);
    for (std::size_t i = 0; i < times.size(); ++i) {
      AddEvent(camera, times[i]);
      if (i != lost) names.push_back(Stamp(times[i] + clock));
    }
    MakePhotos(names, folder);
  }
  /// Photos that have the event at which they were taken.
  std::size_t CountRight(const std::vector<Camera>& cameras, double clock) const {
    std::size_t right = 0;
    for (const auto& event : events_) {
      const double seconds = Seconds(FromFileTime(event.TimeUTC) - kNoon);
      const auto name = std::filesystem::path(event.PhotoPath.GetString()).filename().string();
      right += name == Stamp(seconds + clock);
    }
    return cameras.empty() ? 0 : right;
  }
};

TEST(CameraClocks, NothingIsPairedByAClockThatIsKnownToBeWrong) {
  struct {
    const char* what;
    double clock;
    ClockOffset offset;
    bool accept;
    std::size_t right;
    std::vector<std::string> codes;
  } const rows[] = {
      {"right", 0, {}, false, 59, {}},
      {"off by little", 0.4, {}, false, 59, {}},
      {"off", 37, {}, false, 0, {"camera-clock-off"}},
      {"off, found", 37, {0, true}, false, 59, {}},
      {"off, given", 37, {-37}, false, 59, {}},
      {"given the wrong way round", 37, {37}, false, 0, {"camera-clock-off"}},
      {"off by a day, found", -86400, {0, true}, false, 59, {"camera-clock-days-off"}},
      {"events in GPS time, or a slow clock", -18, {0, true}, false, 59, {"events-in-gps-time"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    ClockMission mission;
    mission.Make(1, "cam", 1, row.clock);
    const auto cameras = mission.Pair(By(PairBy::Auto, row.offset));
    EXPECT_EQ(mission.CountRight(cameras, row.clock), row.right);
    EXPECT_EQ(cameras.at(0).pairing.paired, row.right);
    EXPECT_EQ(mission.Codes(), row.codes);
    EXPECT_NEAR(cameras.at(0).clock.value().stretches.at(0).offsetSeconds, -row.clock, 0.1);
  }
}

TEST(CameraClocks, BothCamerasTellMoreThanOne) {
  struct {
    const char *what, *folder1, *folder2;
    std::vector<std::string> codes;
  } const rows[] = {
      {"as they are", "cam1", "cam2", {}},
      {"swapped", "cam2", "cam1", {"cameras-swapped", "camera-clock-ambiguous", "camera-clock-ambiguous"}},
  };
  for (const auto& row : rows) {
    ClockMission mission;
    mission.Make(1, "cam1", 1, 0);
    mission.Make(2, "cam2", 2, 0);
    mission.Pair(By(PairBy::Auto), row.folder1, row.folder2);
    EXPECT_EQ(mission.Codes(), row.codes) << row.what;
  }
}

TEST(CameraClocks, OrderIsCheckedAgainstTimes) {
  ClockMission mission;
  mission.Make(1, "cam", 1, 5);
  mission.MakePhotos({"999999_last.jpg"}, "cam");  // counts agree by accident
  const auto cameras = mission.Pair(By(PairBy::Order));
  EXPECT_EQ(cameras.at(0).clock.value().moved, 39u);
  EXPECT_EQ(mission.Codes(), (std::vector<std::string>{"pairing-by-order-shifted", "pairing-by-order-times-differ"}));
}

}  // namespace
}  // namespace kv::mission
