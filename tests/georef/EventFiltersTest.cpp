#include <gtest/gtest.h>

#include "KVUtilities.h"

namespace {

tagKVSystemEvent Event(int type, double latitude, double longitude, const wchar_t* photo = L"") {
  tagKVSystemEvent event;
  event.Type = type;
  event.Latitude = latitude;
  event.Longitude = longitude;
  event.Altitude = 12;  // plays no part
  event.PhotoPath = photo;
  return event;
}

TEST(EventFilters, RemoveWhatHasNoPlaceOrNoPhotoAndKeepTheOrder) {
  std::vector<tagKVSystemEvent> events = {Event(1, 0, 0), Event(2, 0, 0),       Event(2, 1, 2),
                                          Event(3, 0, 0), Event(2, 3, 4, L"a"), Event(1, 0, 5),
                                          Event(2, 6, 0), Event(2, -0.0, 0),    Event(2, 0, 0, L"b.jpg")};
  int heartbeats = 99, cameraEvents = 99, photoless = 99;
  std::wstring error = L"left over";
  EXPECT_TRUE(KVUtilities::RemoveSystemEventsAtNullLocation(events, heartbeats, cameraEvents, error));
  EXPECT_EQ(error, L"");
  EXPECT_EQ(std::pair(heartbeats, cameraEvents), std::pair(1, 3));
  EXPECT_FALSE(KVUtilities::RemoveSystemEventsAtNullLocation(events, heartbeats, cameraEvents, error));
  EXPECT_EQ(std::pair(heartbeats, cameraEvents), std::pair(0, 0));

  EXPECT_TRUE(KVUtilities::RemoveCameraSystemEventsWithEmptyImagePaths(events, photoless, error));
  EXPECT_EQ(photoless, 2);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].PhotoPath, L"a");
  EXPECT_EQ(events[1].Longitude, 5);  // a heartbeat needs no photo
  EXPECT_FALSE(KVUtilities::RemoveCameraSystemEventsWithEmptyImagePaths(events, photoless, error));
  EXPECT_EQ(photoless, 0);

  std::vector<tagKVLogEvent> logEvents(3);
  logEvents[1].Longitude = 5;
  EXPECT_TRUE(KVUtilities::RemoveLogEventsAtNullLocation(logEvents, error));
  ASSERT_EQ(logEvents.size(), 1u);
  EXPECT_EQ(logEvents[0].Longitude, 5);
  EXPECT_FALSE(KVUtilities::RemoveLogEventsAtNullLocation(logEvents, error));

  events.clear();
  logEvents.clear();
  heartbeats = cameraEvents = photoless = 99;
  EXPECT_FALSE(KVUtilities::RemoveSystemEventsAtNullLocation(events, heartbeats, cameraEvents, error));
  EXPECT_FALSE(KVUtilities::RemoveCameraSystemEventsWithEmptyImagePaths(events, photoless, error));
  EXPECT_FALSE(KVUtilities::RemoveLogEventsAtNullLocation(logEvents, error));
  EXPECT_EQ(heartbeats + cameraEvents + photoless, 0);
}

}  // namespace
