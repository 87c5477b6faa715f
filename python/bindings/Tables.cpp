#include "Tables.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Arrays.h"

namespace kv::python {
namespace {

using namespace KVMission;

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

using Microseconds = std::int64_t;  // since 1970, as NumPy's datetime64[us]
constexpr const char* kTime = "M8[us]";
constexpr Microseconds kNoTime = std::numeric_limits<Microseconds>::min();

Microseconds TimeOf(const std::optional<Instant>& time) {
  if (!time) return kNoTime;
  return std::chrono::floor<std::chrono::microseconds>(time->time_since_epoch()).count();
}

/// A zero file time says that the time is not known.
Microseconds TimeOf(const FILETIME& time) {
  constexpr std::int64_t kTicksOf1970 = 116'444'736'000'000'000;
  const auto ticks = static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
  if (ticks == 0) return kNoTime;
  return TimeOf(Instant(Ticks(ticks - kTicksOf1970)));
}

Microseconds TimeOf(const SYSTEMTIME& time) {
  using namespace std::chrono;
  constexpr int kFirstYear = 1601;  // a zero file time
  const year_month_day date{year{time.wYear}, month{time.wMonth}, day{time.wDay}};
  if (!date.ok() || time.wYear <= kFirstYear) return kNoTime;
  return duration_cast<microseconds>(sys_days{date}.time_since_epoch() + hours{time.wHour} + minutes{time.wMinute} +
                                     seconds{time.wSecond} + milliseconds{time.wMilliseconds})
      .count();
}

py::object TextOf(std::wstring_view text) {
  PyObject* const object = PyUnicode_FromWideChar(text.data(), static_cast<Py_ssize_t>(text.size()));
  if (!object) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(object);
}
py::object TextOf(const CStringW& text) {
  return TextOf(std::wstring_view(text.GetString(), static_cast<std::size_t>(text.GetLength())));
}
py::object TextOf(const std::string& text) { return py::str(text); }

/// A text of each record. @param text  gives it
template <class Records, class Text>
py::list TextsOf(const Records& records, Text text) {
  py::list texts(records.size());
  std::size_t i = 0;
  for (const auto& record : records) texts[i++] = TextOf(text(record));
  return texts;
}

/// -1 for a heartbeat.
std::int32_t CameraOf(const tagKVSystemEvent& event) {
  constexpr int kCameraEvent = 2;
  return event.Type != kCameraEvent ? -1 : event.CameraID == 1 ? 1 : 2;
}

double WhenKnown(bool isKnown, double number) { return isKnown ? number : kUnknown; }

/// A dilution of precision of 0 is not known.
float Known(float hdop) { return hdop > 0 ? hdop : FixQuality::kUnknown; }

std::int32_t Satellites(const FixQuality& quality) { return quality.satellites > 0 ? quality.satellites : -1; }

template <class Row, class Record>
py::array RowsOf(const std::vector<Record>& records) {
  return ArrayOf<Row>(records.size(), [&](std::size_t i) { return Row::Of(records[i]); });
}

struct FixRow {
  Microseconds time;
  double latitude, longitude, height, geoidSeparation;
  float hdop, horizontalSigma, verticalSigma;
  std::int32_t satellites;
  std::uint8_t quality;

  static std::vector<Column> Columns() {
    return {{"time", kTime, offsetof(FixRow, time)},
            {"latitude", "f8", offsetof(FixRow, latitude)},
            {"longitude", "f8", offsetof(FixRow, longitude)},
            {"height", "f8", offsetof(FixRow, height)},
            {"geoid_separation", "f8", offsetof(FixRow, geoidSeparation)},
            {"hdop", "f4", offsetof(FixRow, hdop)},
            {"horizontal_sigma", "f4", offsetof(FixRow, horizontalSigma)},
            {"vertical_sigma", "f4", offsetof(FixRow, verticalSigma)},
            {"satellites", "i4", offsetof(FixRow, satellites)},
            {"quality", "u1", offsetof(FixRow, quality)}};
  }
  /// @param hasSeparations  so that one of 0 is a number, and not what is unknown
  static FixRow Of(const tagKVTrajectoryObs& fix, const FixQuality& of, bool hasSeparations) {
    return {TimeOf(fix.TimeUTC),
            fix.Latitude,
            fix.Longitude,
            fix.Altitude,
            WhenKnown(hasSeparations || fix.GeoidOffst != 0, fix.GeoidOffst),
            Known(of.hdop),
            of.horizontalSigma,
            of.verticalSigma,
            of.satellites,
            static_cast<std::uint8_t>(of.quality)};
  }
};

auto RowMakerOf(const Trajectory& trajectory) {
  const bool hasSeparations = std::string_view(trajectory.kind) == Trajectory().kind;  // a receiver's log
  return [&qualities = trajectory.qualities, hasSeparations](const tagKVTrajectoryObs& fix, std::size_t i) {
    return FixRow::Of(fix, qualities.empty() ? FixQuality() : qualities[i], hasSeparations);
  };
}

struct EventRow {
  Microseconds time;
  double tick;
  std::int32_t type, camera;

  static std::vector<Column> Columns() {
    return {{"time", kTime, offsetof(EventRow, time)},
            {"tick", "f8", offsetof(EventRow, tick)},
            {"type", "i4", offsetof(EventRow, type)},
            {"camera", "i4", offsetof(EventRow, camera)}};
  }
  static EventRow Of(const tagKVSystemEvent& event) {
    return {TimeOf(event.TimeUTC), event.MasterTick, event.Type, CameraOf(event)};
  }
};

/// Readings in the order of `kHousekeepingReadings`.
constexpr const char* kReadings[] = {"control_unit_temperature",
                                     "battery_board_temperature",
                                     "battery_temperature",
                                     "battery_voltage",
                                     "battery_current",
                                     "battery_percent",
                                     "orientation_board_temperature",
                                     "pitch",
                                     "roll",
                                     "heading"};
static_assert(std::size(kReadings) == kHousekeepingReadings.size());

struct LogRow {
  Microseconds time;
  double latitude, longitude, height;
  std::array<double, kHousekeepingReadings.size()> readings;

  static std::vector<Column> Columns() {
    std::vector<Column> columns = {{"time", kTime, offsetof(LogRow, time)},
                                   {"latitude", "f8", offsetof(LogRow, latitude)},
                                   {"longitude", "f8", offsetof(LogRow, longitude)},
                                   {"height", "f8", offsetof(LogRow, height)}};
    for (std::size_t i = 0; i < std::size(kReadings); ++i)
      columns.push_back({kReadings[i], "f8", offsetof(LogRow, readings) + i * sizeof(double)});
    return columns;
  }
  static LogRow Of(const tagKVLogEvent& entry, KnownReadings known) {
    const bool isPlaced = entry.Latitude != 0 || entry.Longitude != 0;
    LogRow row{TimeOf(entry.SystemTimeUTC),
               WhenKnown(isPlaced, entry.Latitude),
               WhenKnown(isPlaced, entry.Longitude),
               WhenKnown(isPlaced, entry.Altitude),
               {}};
    for (std::size_t i = 0; i < row.readings.size(); ++i)
      row.readings[i] = known >> i & 1 ? entry.*kHousekeepingReadings[i] : kUnknown;
    return row;
  }
};

struct SampleRow {
  Microseconds time;
  double latitude, longitude, height, x, y, z;

  static std::vector<Column> Columns() {
    return {{"time", kTime, offsetof(SampleRow, time)},
            {"latitude", "f8", offsetof(SampleRow, latitude)},
            {"longitude", "f8", offsetof(SampleRow, longitude)},
            {"height", "f8", offsetof(SampleRow, height)},
            {"x", "f8", offsetof(SampleRow, x)},
            {"y", "f8", offsetof(SampleRow, y)},
            {"z", "f8", offsetof(SampleRow, z)}};
  }
  static SampleRow Of(const tagKVPosEvent& sample) {
    return {TimeOf(sample.TimeUTC), sample.Latitude, sample.Longitude, sample.Height, sample.X, sample.Y, sample.Z};
  }
};

struct ExposureRow {
  Microseconds time;
  double latitude, longitude, height, tick, sharpness, roll, pitch, heading, photoDifference, photoProbability;
  float hdop, horizontalSigma, verticalSigma;
  std::int32_t camera, satellites;
  std::uint8_t quality, attitudeQuality;
  bool isDropped;

  static std::vector<Column> Columns() {
    return {{"time", kTime, offsetof(ExposureRow, time)},
            {"camera", "i4", offsetof(ExposureRow, camera)},
            {"latitude", "f8", offsetof(ExposureRow, latitude)},
            {"longitude", "f8", offsetof(ExposureRow, longitude)},
            {"height", "f8", offsetof(ExposureRow, height)},
            {"tick", "f8", offsetof(ExposureRow, tick)},
            {"sharpness", "f8", offsetof(ExposureRow, sharpness)},
            {"roll", "f8", offsetof(ExposureRow, roll)},
            {"pitch", "f8", offsetof(ExposureRow, pitch)},
            {"heading", "f8", offsetof(ExposureRow, heading)},
            {"photo_difference", "f8", offsetof(ExposureRow, photoDifference)},
            {"photo_probability", "f8", offsetof(ExposureRow, photoProbability)},
            {"hdop", "f4", offsetof(ExposureRow, hdop)},
            {"horizontal_sigma", "f4", offsetof(ExposureRow, horizontalSigma)},
            {"vertical_sigma", "f4", offsetof(ExposureRow, verticalSigma)},
            {"satellites", "i4", offsetof(ExposureRow, satellites)},
            {"quality", "u1", offsetof(ExposureRow, quality)},
            {"attitude_quality", "u1", offsetof(ExposureRow, attitudeQuality)},
            {"dropped", "?", offsetof(ExposureRow, isDropped)}};
  }
  static ExposureRow Of(const Exposure& exposure) {
    const tagKVSystemEvent& event = exposure.event;
    const FixQuality& of = exposure.quality;
    const Attitude attitude = exposure.attitude.value_or(Attitude{kUnknown, kUnknown, kUnknown});
    const bool isPlaced = event.Latitude != 0 || event.Longitude != 0, isGraded = exposure.blurred.has_value();
    const bool hasLevel = exposure.attitudeQuality != AttitudeQuality::Track;
    ExposureRow row{};
    row.time = TimeOf(exposure.time), row.tick = event.MasterTick, row.camera = CameraOf(event);
    row.latitude = WhenKnown(isPlaced, event.Latitude), row.longitude = WhenKnown(isPlaced, event.Longitude);
    row.height = WhenKnown(isPlaced, event.Altitude), row.sharpness = WhenKnown(isGraded, event.Sharpness);
    row.roll = WhenKnown(hasLevel, attitude.roll), row.pitch = WhenKnown(hasLevel, attitude.pitch);
    row.heading = attitude.heading;
    row.photoDifference = exposure.photoDifferenceSeconds.value_or(kUnknown);
    row.photoProbability = exposure.photoProbability.value_or(kUnknown);
    row.hdop = Known(of.hdop), row.horizontalSigma = of.horizontalSigma, row.verticalSigma = of.verticalSigma;
    row.satellites = Satellites(of), row.quality = static_cast<std::uint8_t>(of.quality);
    row.attitudeQuality = static_cast<std::uint8_t>(exposure.attitudeQuality);
    row.isDropped = exposure.drop.has_value();
    return row;
  }
};

struct StationRow {
  Microseconds time;
  double latitude, longitude, height;
  bool isPair;

  static std::vector<Column> Columns() {
    return {{"time", kTime, offsetof(StationRow, time)},
            {"latitude", "f8", offsetof(StationRow, latitude)},
            {"longitude", "f8", offsetof(StationRow, longitude)},
            {"height", "f8", offsetof(StationRow, height)},
            {"paired", "?", offsetof(StationRow, isPair)}};
  }
  static StationRow Of(const tagKVExposureStation& station) {
    return {TimeOf(station.TimeUTC), station.Latitude, station.Longitude, station.Altitude,
            station.Cam1Event.Type != 0 && station.Cam2Event.Type != 0};
  }
};

}  // namespace

py::tuple TableOf(const Trajectory& trajectory) {
  const auto rowOf = RowMakerOf(trajectory);
  const auto rowAt = [&](std::size_t i) { return rowOf(trajectory.fixes[i], i); };
  return py::make_tuple(ArrayOf<FixRow>(trajectory.fixes.size(), rowAt), py::dict());
}

py::tuple TableOf(Trajectory&& trajectory) {
  return py::make_tuple(ArrayOver<FixRow>(std::move(trajectory.fixes), RowMakerOf(trajectory)), py::dict());
}

py::tuple TableOf(const EventFile& events) { return py::make_tuple(RowsOf<EventRow>(events.events), py::dict()); }

py::tuple TableOf(const HousekeepingLog& log) {
  const auto rowAt = [&](std::size_t i) { return LogRow::Of(log.events[i], log.known[i]); };
  py::dict texts;
  texts["type"] = TextsOf(log.events, [](auto& entry) { return entry.Type; });
  texts["description"] = TextsOf(log.events, [](auto& entry) { return entry.Desc; });
  texts["error"] = TextsOf(log.errorTexts, [](auto& text) { return text; });
  return py::make_tuple(ArrayOf<LogRow>(log.events.size(), rowAt), texts);
}

py::tuple TableOf(const PosPoints& points) { return py::make_tuple(RowsOf<SampleRow>(points.samples), py::dict()); }

py::tuple TableOf(const std::vector<Exposure>& exposures) {
  py::dict texts;
  texts["photo"] = TextsOf(exposures, [](auto& exposure) { return exposure.event.PhotoPath; });
  texts["drop"] =
      TextsOf(exposures, [](auto& exposure) { return exposure.drop ? KVMission::TextOf(*exposure.drop) : ""; });
  return py::make_tuple(RowsOf<ExposureRow>(exposures), texts);
}

py::tuple TableOf(const Stations& stations) {
  py::dict texts;
  texts["photo1"] = TextsOf(stations.stations, [](auto& station) { return station.Cam1Event.PhotoPath; });
  texts["photo2"] = TextsOf(stations.stations, [](auto& station) { return station.Cam2Event.PhotoPath; });
  return py::make_tuple(RowsOf<StationRow>(stations.stations), texts);
}

}  // namespace kv::python
