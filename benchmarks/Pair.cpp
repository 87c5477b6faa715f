#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Comparison.h"
#include "KVUtilities.h"
#include "Measures.h"
#include "baseline/PhotoPairing.h"
#include "baseline/Stations.h"

namespace {

constexpr int kPhotos = 5'000;
constexpr std::size_t kStationEvents = 20'000;
constexpr std::uint64_t kNoon = 133'477'200'000'000'000;  // 2023-12-22 12:00 UTC

struct Sample {
  std::vector<tagKVSystemEvent> events;
  std::map<std::wstring, SYSTEMTIME> photos;
};

Sample OneExposureEveryTwoSeconds() {
  Sample sample;
  for (int i = 0; i < kPhotos; ++i) {
    const SYSTEMTIME time = KVUtilities::AddSecondsToSystemTime({2023, 12, 5, 22, 12, 0, 0, 0}, 2.0 * i);
    sample.photos[std::to_wstring(100'000 + i) + L".jpg"] = time;
    tagKVSystemEvent event;
    event.Type = 2;
    event.CameraID = 1;
    event.SystemTimeUTC = KVUtilities::AddSecondsToSystemTime(time, 0.25);
    sample.events.push_back(event);
  }
  return sample;
}

// Only the batch counts, not the copying of its input.
double PairByTime(const Sample& sample) {
  constexpr int kTimes = 50;
  double seconds = 0;
  std::wstring error;
  for (int i = 0; i < kTimes; ++i) {
    auto events = sample.events;
    auto photos = sample.photos;
    const double before = ProcessorSeconds();
    KVUtilities::PopulatePhotoPathsUsingTimeStamps(events, L"", L"", L"cam1", L"cam2", std::move(photos), {}, 0, 0,
                                                   error);
    seconds += ProcessorSeconds() - before;
    Keep(events.data());
  }
  return seconds / kTimes;
}

void PairByTimeLiterally(const Sample& sample) {
  for (const tagKVSystemEvent& event : sample.events)
    Keep(baseline::ClosestPhoto(event.SystemTimeUTC, sample.photos, 0, 1).data());
}

std::vector<tagKVSystemEvent> CameraEvents(bool isShuffled) {
  std::vector<tagKVSystemEvent> events(kStationEvents);
  for (std::size_t i = 0; i < kStationEvents; ++i) {
    events[i].Type = 2;
    events[i].CameraID = 1 + static_cast<std::int32_t>(i % 2);
    events[i].TimeUTC = kv::FileTimeFromTicks(kNoon + i / 2 * 20'000'000 + i % 2 * 1000);
    events[i].MasterTick = static_cast<double>(i + 1);
  }
  if (isShuffled) std::shuffle(events.begin(), events.end(), std::mt19937_64(7));
  return events;
}

void FormStations(const std::vector<tagKVSystemEvent>& events) {
  std::wstring error;
  Keep(KVUtilities::ComputeExposureStationsFromSystemEvents(events, 0.05, error).data());
}

}  // namespace

Row Pairing(const Plan&) {
  const auto sample = std::make_shared<Sample>(OneExposureEveryTwoSeconds());
  const Side ours{By::Processor, [=] { return PairByTime(*sample); }};
  return {
      {"pair 5,000 events with 5,000 photos", "literal double loop", AtLeast(500),
       ProcessorTime([=] { PairByTimeLiterally(*sample); }), ours},
      {"pair 5,000 events with 5,000 photos", "1 us an event", AtMost(1), Given(By::Processor, kPhotos * 1e-6), ours},
  };
}

Row FormingStations(const Plan&) {
  const auto inOrder = CameraEvents(false), shuffled = CameraEvents(true);
  return {
      {"stations of 20,000 events in order", "literal rule", AtLeast(30),
       ProcessorTime([=] { Keep(baseline::StationsOf(inOrder, 0.05).data()); }),
       ProcessorTime([=] { FormStations(inOrder); })},
      {"stations of 20,000 events shuffled", "literal rule", AtLeast(60),
       ProcessorTime([=] { Keep(baseline::StationsOf(shuffled, 0.05).data()); }),
       ProcessorTime([=] { FormStations(shuffled); })},
  };
}
