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

/// A camera's folder and the events to pair with it.
class PairingTest : public testing::Test {
 protected:
  void MakePhotos(const std::vector<const char*>& names) {
    std::filesystem::create_directory(temp_.Path() / "cam");
    for (const char* name : names) temp_.Write(std::string("cam/") + name, "x");
    photos_ = ReadPhotoFolder(temp_.Path() / "cam", 1, job_);
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
  Pairing Pair(int camera, PairBy by, double offsetSeconds) {
    differences_.resize(events_.size());
    return PairPhotos(camera, photos_, by, offsetSeconds, events_, differences_, job_);
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
  Names PhotosOfEvents() const {
    Names names;
    for (const auto& event : events_)
      names.push_back(std::filesystem::path(event.PhotoPath.GetString()).filename().wstring());
    return names;
  }

  TempFolder temp_;
  Observer nobody_;
  Job job_{nobody_};
  PhotoFolder photos_;
  std::vector<tagKVSystemEvent> events_;
  std::vector<std::optional<double>> differences_;
};

TEST_F(PairingTest, ByTimeTakesAnySpellingAndTheOffset) {
  MakePhotos({"a240501_120010.JPG", "b240501_120012.jpeg", "c240501_120030.jpg", "untimed.jpg"});
  for (const double seconds : {0.25, 0.5, 2.4, 7.0}) AddEvent(1, seconds);
  AddEvent(2, 0.25);
  const Pairing pairing = Pair(1, PairBy::Auto, -10.0);
  EXPECT_EQ(pairing.mode, PairMode::Time);
  EXPECT_EQ(PhotosOfEvents(), (Names{L"a240501_120010.JPG", L"a240501_120010.JPG", L"b240501_120012.jpeg", L"", L""}));
  EXPECT_EQ(std::wstring(events_[0].PhotoPath), (temp_.Path() / "cam" / "a240501_120010.JPG").wstring());
  EXPECT_EQ(pairing.paired, 3u);
  EXPECT_EQ(pairing.unused, (Names{L"c240501_120030.jpg", L"untimed.jpg"}));
  EXPECT_EQ(pairing.shared, Names{L"a240501_120010.JPG"});
  EXPECT_NEAR(pairing.differences.value().largest, 0.5, 1e-6);
  EXPECT_NEAR(pairing.differences->median, 0.4, 1e-6);
  EXPECT_NEAR(differences_[2].value(), -0.4, 1e-6);
  EXPECT_FALSE(differences_[3] || differences_[4]);
  EXPECT_EQ(Codes(),
            (std::vector<std::string>{"photos-not-listed", "photos-without-time", "pairing-report", "photos-shared"}));
}

TEST_F(PairingTest, ByOrderOneCameraOutOfPhotosLeavesTheOtherAlone) {
  MakePhotos({"p1.jpg", "p2.jpg", "p3.JPG"});
  for (const double seconds : {1.0, 2.0, 3.0}) AddEvent(1, seconds);
  AddEvent(3, 4.0);
  const Pairing one = Pair(1, PairBy::Auto, 0);
  const Pairing two = Pair(2, PairBy::Auto, 0);
  EXPECT_EQ(one.mode, PairMode::Order);
  EXPECT_EQ(PhotosOfEvents(), (Names{L"p1.jpg", L"p2.jpg", L"", L"p1.jpg"}));
  EXPECT_EQ(two.unused, (Names{L"p2.jpg", L"p3.JPG"}));
  EXPECT_EQ(Codes(), (std::vector<std::string>{"photos-not-listed", "pairing-by-order-uneven", "pairing-failed",
                                               "pairing-by-order-uneven"}));
  EXPECT_EQ(Sentence("pairing-failed"),
            "camera 1: Error populating images.  More Camera 1 events than images in folder: " +
                (temp_.Path() / "cam/").string());
}

TEST_F(PairingTest, HelpsWhenTheClocksDiffer) {
  MakePhotos({"240501_140000.jpg", "240501_140002.jpg"});
  AddEvent(1, 0.0);
  AddEvent(1, 2.0);
  EXPECT_EQ(Pair(1, PairBy::Time, 0).paired, 0u);
  EXPECT_NE(Sentence("nothing-paired").find("--cam1-offset"), std::string::npos);
  const Pairing byOrder = Pair(1, PairBy::Order, 0);
  EXPECT_EQ(byOrder.paired, 2u);
  EXPECT_NEAR(byOrder.differences.value().largest, 7200.0, 1e-6);
  EXPECT_NE(Sentence("pairing-by-order-times-differ").find("differ by up to 7200.000 s"), std::string::npos);
}

}  // namespace
}  // namespace kv::mission
