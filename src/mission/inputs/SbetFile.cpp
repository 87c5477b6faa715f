#include "mission/inputs/SbetFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <string>
#include <system_error>

#include "platform/FileNames.h"
#include "readers/LineReader.h"
#include "readers/PosTime.h"
#include "time/FileTimes.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr std::size_t kFields = 17, kRecord = kFields * sizeof(double);
constexpr double kDegree = 180 / std::numbers::pi, kQuarter = std::numbers::pi / 2;
constexpr double kWeek = 604'800, kAdjustment = 1e9;  // seconds

/// The fields of a record, in its order.
enum Field : std::size_t { kTime, kLatitude, kLongitude, kAltitude, kXVelocity, kRoll = 7, kPitch, kHeading, kWander };
using Record = std::array<double, kFields>;

Record RecordAt(std::string_view bytes, std::size_t index) {
  static_assert(std::endian::native == std::endian::little);
  Record record;
  std::memcpy(record.data(), bytes.data() + index * kRecord, kRecord);
  return record;
}

/// A record of an SBET file; text and other binary files seldom hold one, and never several in a row.
bool IsPlausible(const Record& record) {
  constexpr double kHighest = 1e5, kFastest = 1e4, kLatestTime = 1e10;  // metres, m/s, seconds
  constexpr double kLeastAngle = 1e-6;                                  // text, taken for numbers, is far below
  for (const double value : record) {
    if (!std::isfinite(value) || std::abs(value) > kLatestTime) return false;
  }
  const bool isPlaced = std::abs(record[kLatitude]) <= kQuarter && std::abs(record[kLongitude]) <= 4 * kQuarter &&
                        std::abs(record[kAltitude]) <= kHighest &&
                        std::abs(record[kLatitude]) + std::abs(record[kLongitude]) > kLeastAngle;
  const bool isTurned = std::abs(record[kRoll]) <= 2 * kQuarter && std::abs(record[kPitch]) <= kQuarter &&
                        std::abs(record[kHeading]) <= 4 * kQuarter + 0.01 && std::abs(record[kWander]) <= 4 * kQuarter;
  return isPlaced && isTurned && std::abs(record[kXVelocity]) < kFastest;
}

/// How a file counts its seconds.
enum class Scale { OfWeek, Adjusted, Gps };

/// Adjusted seconds are near those of the files' own time, which are not of the week from September 2011 on.
Scale ScaleOf(double seconds) {
  constexpr double kFirstGps = 6e8;  // January 1999; adjusted seconds reach this in September 2030
  if (seconds >= 0 && seconds <= kWeek) return Scale::OfWeek;
  return seconds >= kFirstGps ? Scale::Gps : Scale::Adjusted;
}

double Heading(double radians) {
  const double degrees = std::fmod(radians * kDegree, 360);
  return degrees < 0 ? degrees + 360 : degrees;
}

/// Makes fixes of records; weeks go on where the seconds of week begin again.
class RecordReader {
 public:
  explicit RecordReader(std::optional<Instant> date) : date_(date) {}

  void Read(const Record& record, std::vector<RawFix>& fixes) {
    if (!started_) Start(record[kTime]);
    if (scale_ == Scale::OfWeek && record[kTime] < last_ - kWeek / 2) base_ += kWeek;
    last_ = record[kTime];
    tagKVPosEvent timed;
    clock_.SetTime(base_ + record[kTime], timed);
    RawFix& fix = fixes.emplace_back();
    fix.TimeUTC = timed.TimeUTC, fix.SystemTimeUTC = timed.SystemTimeUTC, fix.AdjGpsSec = timed.AdjGpsSec;
    fix.Latitude = record[kLatitude] * kDegree, fix.Longitude = record[kLongitude] * kDegree;
    fix.Altitude = record[kAltitude];
    // The platform heading counts from the wander azimuth frame, not from north.
    fix.attitude = {record[kRoll] * kDegree, record[kPitch] * kDegree, Heading(record[kHeading] - record[kWander])};
  }

  const char* ScaleName() const {
    return scale_ == Scale::OfWeek ? "seconds of week" : scale_ == Scale::Gps ? "GPS seconds" : "adjusted GPS seconds";
  }
  bool IsDated() const { return date_.has_value() || scale_ != Scale::OfWeek; }

 private:
  void Start(double seconds) {
    started_ = true, last_ = seconds, scale_ = ScaleOf(seconds);
    if (scale_ == Scale::Gps) base_ = -kAdjustment;
    if (scale_ != Scale::OfWeek || !date_) return;
    const double gps = AdjGpsSeconds(ToFileTime(*date_)) + kAdjustment;
    const double week = std::floor(gps / kWeek), ofWeek = gps - week * kWeek;
    // The flight begins on or after the date: seconds long before those of the date belong to the next week.
    base_ = (week + (seconds < ofWeek - kWeek / 2 ? 1 : 0)) * kWeek - kAdjustment;
  }

  std::optional<Instant> date_;
  PosClock clock_{Calendar::Utc};
  bool started_ = false;
  Scale scale_ = Scale::OfWeek;
  double base_ = 0, last_ = 0;
};

[[noreturn]] void Refuse(const std::filesystem::path& path, const std::string& why) {
  throw Failure(fmt::format("{}: {}", Utf8(path), why));
}

}  // namespace

bool BeginsLikeSbet(std::string_view head) {
  constexpr std::size_t kLooked = 20;
  constexpr double kLongestStep = 100;  // seconds, apart from the end of a week
  const std::size_t looked = std::min(kLooked, head.size() / kRecord);
  std::size_t plausible = 0;
  std::optional<double> last;
  for (std::size_t i = 0; i < looked; ++i) {
    const Record record = RecordAt(head, i);
    if (!IsPlausible(record)) continue;
    const double step = last ? record[kTime] - *last : 0;
    if (std::abs(step) > kLongestStep && std::abs(step + kWeek) > kLongestStep) return false;
    last = record[kTime];
    ++plausible;
  }
  return plausible > 0 && 2 * plausible >= looked;
}

SbetFile ReadSbetFile(const std::filesystem::path& path, std::optional<Instant> date, std::vector<RawFix>& fixes,
                      Job& job) {
  constexpr std::size_t kBytesAtOnce = kRecord * 4096;
  RefuseUnlessRegular(path);
  const FilePtr file = OpenNative(path, "rb");
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (!file || error) Refuse(path, "cannot be read: " + std::generic_category().message(file ? error.value() : errno));
  if (size % kRecord != 0)
    Refuse(path, fmt::format("{} bytes are not a whole number of SBET records of {} bytes: the file is cut short or "
                             "damaged",
                             size, kRecord));
  SbetFile sbet;
  RecordReader reader(date);
  Meter meter(job, "reading the trajectory", "records");
  std::string block(std::min<std::uintmax_t>(size, kBytesAtOnce), '\0');
  while (const std::size_t count = std::fread(block.data(), kRecord, block.size() / kRecord, file.get())) {
    job.ThrowIfStopped();
    for (std::size_t i = 0; i < count; ++i) {
      const Record record = RecordAt(block, i);
      meter.Step(++sbet.records * kRecord, size);
      if (!IsPlausible(record)) {
        ++sbet.outOfRange;
        continue;
      }
      reader.Read(record, fixes);
      const RawFix& fix = fixes.back();
      sbet.bounds.Add(fix.Latitude, fix.Longitude, fix.Altitude);
      sbet.span.Add(FromFileTime(fix.TimeUTC));
      if (fixes.size() == 1) sbet.firstSeconds = record[kTime];
      sbet.lastSeconds = record[kTime];
    }
  }
  if (std::ferror(file.get())) Refuse(path, "cannot be read: " + std::generic_category().message(errno));
  if (fixes.empty()) Refuse(path, "no SBET record with a time and a place on the Earth");
  sbet.timeScale = reader.ScaleName();
  if (!reader.IsDated()) sbet.span = {};
  if (sbet.outOfRange > 0) job.Add(Found::RowsOutOfRange, {{"count", mission::Count(sbet.outOfRange)}}, {.file = path});
  return sbet;
}

}  // namespace kv::mission
