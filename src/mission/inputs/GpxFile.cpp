#include "mission/inputs/GpxFile.h"

#include <fmt/format.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "mission/inputs/PostProcessed.h"
#include "platform/FileNames.h"
#include "readers/GpxTrack.h"
#include "readers/PosTime.h"
#include "time/FileTimes.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr double kHighest = 1e5;  // metres

bool HasPlace(const GpxPoint& point) {
  return std::abs(point.latitude) <= 90 && std::abs(point.longitude) <= 180 && std::abs(point.elevation) <= kHighest;
}

bool HasGeoidHeight(const GpxPoint& point) { return std::abs(point.geoidHeight) <= kHighest; }

/// The point counts for its first want.
bool IsUsable(const GpxPoint& point, GpxFile& file) {
  if (!point.time) return ++file.withoutTime, false;
  if (!HasPlace(point)) return ++file.withoutPlace, false;
  if (!point.hasFix) return ++file.withoutFix, false;
  return true;
}

std::string WhyNoPoints(const GpxFile& file) {
  if (file.points == 0) return file.others > 0 ? "waypoints or routes alone, no track" : "no track";
  if (file.Used() > 0) return {};
  if (file.withoutTime == file.points) return "a track without times, drawn by hand or stripped of them";
  return file.withoutPlace == file.points ? "a track without places or elevations"
                                          : "each point lacks a place, an elevation, a time or a fix";
}

/// Takes the points that can be used, and tells of the others.
std::vector<GpxPoint> Inspected(GpxTracks&& tracks, GpxFile& file, Job& job) {
  file.tracks = tracks.tracks, file.segments = tracks.segments, file.others = tracks.others;
  file.points = tracks.points.size();
  std::erase_if(tracks.points, [&](const GpxPoint& point) { return !IsUsable(point, file); });
  for (const GpxPoint& point : tracks.points) {
    file.span.Add(*point.time);
    file.bounds.Add(point.latitude, point.longitude, point.elevation);
    file.geoidHeights += HasGeoidHeight(point);
  }
  file.complaint = WhyNoPoints(file);
  for (const auto& [count, what] : {std::pair{file.withoutTime, "a valid time"},
                                    {file.withoutPlace, "a valid place and elevation"},
                                    {file.withoutFix, "a fix in three dimensions"}}) {
    if (count > 0) job.Add(Found::TrackPointsLeftOut, {{"count", Count(count)}, {"what", what}});
  }
  return std::move(tracks.points);
}

RawFix FixOf(const GpxPoint& point, PosClock& clock) {
  tagKVPosEvent timed;
  clock.SetTime(AdjGpsSeconds(ToFileTime(*point.time)), timed);
  RawFix fix;
  fix.TimeUTC = timed.TimeUTC, fix.SystemTimeUTC = timed.SystemTimeUTC, fix.AdjGpsSec = timed.AdjGpsSec;
  fix.Latitude = point.latitude, fix.Longitude = point.longitude, fix.Altitude = point.elevation;
  if (HasGeoidHeight(point)) fix.GeoidOffst = point.geoidHeight, fix.Altitude += point.geoidHeight;
  fix.quality = point.quality;
  return fix;
}

}  // namespace

GpxFile ReadGpxFile(const std::filesystem::path& path, Job& job) {
  GpxFile file;
  Inspected(ReadGpxTracks(path, job), file, job);
  if (!file.complaint.empty()) job.Add(Found::TrackWithoutPoints, {{"reason", file.complaint}});
  return file;
}

Trajectory ReadGpxTrajectory(const std::filesystem::path& path, double maxGapSeconds, Job& job) {
  GpxFile file;
  PosClock clock(Calendar::Utc);
  std::vector<RawFix> fixes;
  for (const GpxPoint& point : Inspected(ReadGpxTracks(path, job), file, job)) fixes.push_back(FixOf(point, clock));
  if (!file.complaint.empty()) throw Failure(fmt::format("{}: a GPX file of no use: {}", Utf8(path), file.complaint));
  Trajectory trajectory = TrajectoryOf(path, std::move(fixes), false, maxGapSeconds, job);
  trajectory.heightsUnknown = file.Used() - file.geoidHeights;
  return trajectory;
}

}  // namespace kv::mission
