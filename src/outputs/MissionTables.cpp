#include "outputs/MissionTables.h"

#include <algorithm>
#include <cmath>

#include "georef/Ellipsoid.h"
#include "georef/EventTypes.h"
#include "outputs/Markup.h"
#include "outputs/RelativePaths.h"
#include "platform/FileNames.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// @return an empty text when the path is not UTF-8
std::string ExactText(const fs::path& path) {
  const std::u8string bytes = path.generic_u8string();
  const std::string text = Utf8(fs::path(bytes));
  return std::equal(text.begin(), text.end(), bytes.begin(), bytes.end(),
                    [](char a, char8_t b) { return a == static_cast<char>(b); })
             ? text
             : "";
}

PhotoRow RowOf(const tagKVSystemEvent& event, RelativePaths& paths) {
  PhotoRow row{};
  if (event.PhotoPath.IsEmpty()) return row;
  const fs::path path = NativePath(event.PhotoPath.GetString());
  const fs::path relative = paths.To(path);
  row.name = Utf8(path.filename()), row.absolute = ExactText(path);
  row.relative = ExactText(relative), row.link = LinkTo(relative);
  return row;
}

Ecef PointOf(const tagKVTrajectoryObs& fix) { return ToEcef({fix.Latitude, fix.Longitude, fix.Altitude}); }

/// In whole micrometres: further digits depend on the C library.
double LengthOf(const tagKVTrajectoryObs* fixes, std::size_t count) {
  double length = 0;
  for (std::size_t i = 1; i < count; ++i) {
    const Ecef from = PointOf(fixes[i - 1]), to = PointOf(fixes[i]);
    length += std::hypot(to.x - from.x, to.y - from.y, to.z - from.z);
  }
  return std::round(length * 1e6) / 1e6;
}

/// Gaps of one kind, with the fixes on both sides. Fixes are in the order of time.
void AddGaps(const char* kind, const std::vector<Gap>& gaps, const Trajectory& trajectory, std::vector<GapRow>& rows) {
  const auto& fixes = trajectory.fixes;
  const auto isBefore = [](const tagKVTrajectoryObs& fix, Instant time) { return FromFileTime(fix.TimeUTC) < time; };
  for (const Gap& gap : gaps) {
    const auto to = std::lower_bound(fixes.begin(), fixes.end(), gap.to, isBefore);
    if (to != fixes.begin() && to != fixes.end()) rows.push_back({kind, &gap, &*std::prev(to), &*to});
  }
}

}  // namespace

std::vector<PhotoRow> PhotoRows(const Mission& mission, Exposures wanted, const fs::path& folder) {
  RelativePaths paths(folder);
  std::vector<PhotoRow> rows;
  for (std::size_t i = 0; i < mission.exposures.size(); ++i) {
    const Exposure& exposure = mission.exposures[i];
    if (exposure.drop.has_value() != (wanted == Exposures::Dropped) || !IsPlaced(exposure.event)) continue;
    rows.push_back(RowOf(exposure.event, paths));
    rows.back().exposure = &exposure, rows.back().number = i + 1;
  }
  return rows;
}

std::vector<StationRow> StationRows(const Mission& mission, const fs::path& folder) {
  RelativePaths paths(folder);
  std::vector<StationRow> rows;
  for (const tagKVExposureStation& station : mission.stations->stations)
    rows.push_back({&station, {RowOf(station.Cam1Event, paths), RowOf(station.Cam2Event, paths)}});
  return rows;
}

FixRow FixRows::operator[](std::size_t i) const {
  const auto at = [i](const auto& values) { return i < values.size() ? &values[i] : nullptr; };
  return {&trajectory_.fixes[i], at(trajectory_.qualities), at(trajectory_.attitudes), i + 1};
}

std::vector<StretchRow> StretchRows(const Trajectory& trajectory) {
  std::vector<const tagKVTrajectoryObs*> begins;
  for (const GapRow& gap : GapRows(trajectory)) begins.push_back(gap.to);
  std::sort(begins.begin(), begins.end());
  begins.erase(std::unique(begins.begin(), begins.end()), begins.end());
  const tagKVTrajectoryObs* const end = trajectory.fixes.data() + trajectory.fixes.size();
  begins.push_back(end);
  std::vector<StretchRow> rows;
  const tagKVTrajectoryObs* begin = trajectory.fixes.data();
  for (const tagKVTrajectoryObs* next : begins) {
    const auto count = static_cast<std::size_t>(next - begin);
    if (count > 0) rows.push_back({begin, count, LengthOf(begin, count)});
    begin = next;
  }
  return rows;
}

std::vector<GapRow> GapRows(const Trajectory& trajectory) {
  std::vector<GapRow> rows;
  AddGaps("gap", trajectory.gaps, trajectory, rows);
  AddGaps("jump", trajectory.jumps, trajectory, rows);
  AddGaps("180th meridian", trajectory.crossings, trajectory, rows);
  return rows;
}

}  // namespace kv::mission
