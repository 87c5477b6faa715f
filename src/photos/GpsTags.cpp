#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <initializer_list>
#include <vector>

#include "photos/Geotag.h"
#include "photos/TiffBlock.h"

namespace kv::mission {
namespace {

using namespace KVMission;

constexpr std::uint16_t kGpsDirectory = 0x8825;  // in the first directory: offset of the GPS tags

enum Tag : std::uint16_t {
  VersionId = 0,
  LatitudeRef = 1,
  Latitude = 2,
  LongitudeRef = 3,
  Longitude = 4,
  AltitudeRef = 5,
  Altitude = 6,
  TimeStamp = 7,
  Satellites = 8,
  Status = 9,        // of the receiver in the camera: removed
  MeasureMode = 10,  // would make the DOP one of three dimensions: removed
  Dop = 11,
  ImgDirectionRef = 16,
  ImgDirection = 17,
  MapDatum = 18,
  DateStamp = 29,
  Differential = 30,
  HPositioningError = 31,
};

bool IsDirection(std::uint16_t tag) { return tag == ImgDirectionRef || tag == ImgDirection; }

/// Whether a tag belongs to the geotag, so that an old value of it must not stay.
bool IsOurs(std::uint16_t tag, bool hasOwnAttitude) {
  if (IsDirection(tag)) return !hasOwnAttitude;
  return tag <= Dop || tag == MapDatum || (tag >= DateStamp && tag <= HPositioningError);
}

struct Fraction {
  std::int64_t numerator;
  std::int64_t denominator;
};

/// Builds the entries, in the order of their tags.
class GpsEntries {
 public:
  explicit GpsEntries(bool isBigEndian) : isBigEndian_(isBigEndian) {}

  void AddBytes(Tag tag, const std::string& bytes) { Add(tag, TiffType::Byte, bytes.size(), bytes); }
  void AddText(Tag tag, std::string text) {
    text += '\0';
    Add(tag, TiffType::Ascii, text.size(), text);
  }
  void AddShort(Tag tag, std::uint32_t number) { Add(tag, TiffType::Short, 1, TiffNumber(number, 2, isBigEndian_)); }
  void AddFractions(Tag tag, std::initializer_list<Fraction> fractions) {
    std::string bytes;
    for (const auto& [numerator, denominator] : fractions) {
      if (numerator < 0 || numerator > UINT32_MAX) throw Failure("its place, time or accuracy is out of range");
      for (const std::int64_t part : {numerator, denominator})
        bytes += TiffNumber(static_cast<std::uint32_t>(part), 4, isBigEndian_);
    }
    Add(tag, TiffType::Rational, fractions.size(), bytes);
  }
  /// A number with as many parts in one as the denominator says.
  void AddDecimal(Tag tag, double number, std::int64_t denominator) {
    if (!(std::abs(number) < 1e12)) throw Failure("its place, time or accuracy is out of range");
    AddFractions(tag, {{std::llround(number * static_cast<double>(denominator)), denominator}});
  }

  std::vector<TiffEntry> Take() { return std::move(entries_); }

 private:
  void Add(Tag tag, TiffType type, std::size_t count, std::string value) {
    entries_.push_back({tag, static_cast<std::uint16_t>(type), static_cast<std::uint32_t>(count), std::move(value), 0});
  }

  bool isBigEndian_;
  std::vector<TiffEntry> entries_;
};

/// Degrees, minutes, and seconds to the millionth: 0.03 mm on the ground.
void AddAngle(Tag refTag, const char* refs, Tag tag, double degrees, double most, GpsEntries& entries) {
  if (!(std::abs(degrees) <= most)) throw Failure("its place is not on the Earth");
  constexpr std::int64_t kMillionth = 1'000'000, kMinute = 60 * kMillionth, kDegree = 60 * kMinute;
  const std::int64_t parts = std::llround(std::abs(degrees) * kDegree);
  entries.AddText(refTag, std::string(1, refs[std::signbit(degrees) ? 1 : 0]));
  entries.AddFractions(tag, {{parts / kDegree, 1}, {parts % kDegree / kMinute, 1}, {parts % kMinute, kMillionth}});
}

void AddTime(Instant time, GpsEntries& entries) {
  const Ticks ofDay = time - std::chrono::floor<std::chrono::days>(time);
  constexpr std::int64_t kSecond = Ticks::period::den;
  const std::int64_t ticks = ofDay.count();
  entries.AddFractions(
      TimeStamp, {{ticks / kSecond / 3600, 1}, {ticks / kSecond / 60 % 60, 1}, {ticks % (60 * kSecond), kSecond}});
}

std::string DateOf(Instant time) {
  const std::chrono::year_month_day date(std::chrono::floor<std::chrono::days>(time));
  const int year = static_cast<int>(date.year());
  if (year < 1 || year > 9999) throw Failure("its place, time or accuracy is out of range");
  return fmt::format("{:04}:{:02}:{:02}", year, static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
}

/// Whether corrections of a base were used; nothing when the quality does not say.
std::optional<bool> IsDifferential(PositionQuality quality) {
  switch (quality) {
    case PositionQuality::Single:
      return false;
    case PositionQuality::Dgps:
    case PositionQuality::Float:
    case PositionQuality::Fixed:
      return true;
    default:
      return std::nullopt;
  }
}

std::vector<TiffEntry> EntriesOf(const Geotag& geotag, bool isBigEndian, bool hasOwnAttitude) {
  const FixQuality& quality = geotag.quality;
  GpsEntries entries(isBigEndian);
  // Up to EXIF 2.3 heights are above the sea, since 3.0 references 0 and 1 mean the ellipsoid.
  entries.AddBytes(VersionId, {2, static_cast<char>(geotag.isEllipsoidal ? 4 : 3), 0, 0});
  AddAngle(LatitudeRef, "NS", Latitude, geotag.latitude, 90, entries);
  AddAngle(LongitudeRef, "EW", Longitude, geotag.longitude, 180, entries);
  entries.AddBytes(AltitudeRef, std::string(1, geotag.height < 0 ? '\1' : '\0'));
  entries.AddDecimal(Altitude, std::abs(geotag.height), 10'000);
  AddTime(geotag.time, entries);
  if (quality.satellites > 0) entries.AddText(Satellites, fmt::format("{}", quality.satellites));
  if (quality.hdop > 0) entries.AddDecimal(Dop, quality.hdop, 1000);
  if (geotag.attitude && !hasOwnAttitude) {
    entries.AddText(ImgDirectionRef, "T");
    entries.AddDecimal(ImgDirection, HeadingOf(*geotag.attitude), 10'000);
  }
  entries.AddText(MapDatum, "WGS-84");
  entries.AddText(DateStamp, DateOf(geotag.time));
  if (const auto isDifferential = IsDifferential(quality.quality)) entries.AddShort(Differential, *isDifferential);
  if (quality.horizontalSigma >= 0) entries.AddDecimal(HPositioningError, quality.horizontalSigma, 10'000);
  return entries.Take();
}

/// Takes the GPS tags that stay out of the block, and makes room for all at its end.
std::vector<TiffEntry> TakeOthers(TiffBlock& block, const std::vector<std::size_t>& pointers, bool hasOwnAttitude) {
  if (pointers.empty()) {
    block.AddToFirstDirectory(kGpsDirectory, 0);
    return {};
  }
  const std::size_t old = block.Long(pointers.front());
  if (old == 0) return {};
  if (old == block.FirstDirectory())
    throw Failure("its EXIF data are inconsistent: the GPS tags point to the picture's");
  std::vector<TiffEntry> others = block.Directory(old);
  block.RemoveLast(old);
  std::erase_if(others, [&](const TiffEntry& entry) { return IsOurs(entry.tag, hasOwnAttitude); });
  return others;
}

std::vector<std::size_t> GpsPointers(const TiffBlock& block) {
  std::vector<std::size_t> pointers;
  for (const TiffEntry& entry : block.Directory(block.FirstDirectory())) {
    if (entry.tag == kGpsDirectory && entry.value.size() == 4) pointers.push_back(entry.at);
  }
  return pointers;
}

/// A block with an empty first directory.
constexpr std::string_view kNewBlock("II*\0\x08\0\0\0\0\0\0\0\0\0", 14);

}  // namespace

double HeadingOf(const Attitude& attitude) {
  const double heading = std::fmod(std::fmod(attitude.heading, 360) + 360, 360);
  return heading >= 359.99995 ? 0 : heading;
}

std::string WithGpsTags(std::string_view tiff, const Geotag& geotag, bool hasOwnAttitude) {
  TiffBlock block(std::string(tiff.empty() ? kNewBlock : tiff));
  std::vector<TiffEntry> entries = EntriesOf(geotag, block.IsBigEndian(), hasOwnAttitude);
  const auto others = TakeOthers(block, GpsPointers(block), hasOwnAttitude);
  entries.insert(entries.end(), others.begin(), others.end());
  std::stable_sort(entries.begin(), entries.end(), [](auto& a, auto& b) { return a.tag < b.tag; });
  const std::uint32_t at = block.Append(entries);
  for (const std::size_t pointer : GpsPointers(block)) block.SetLong(pointer, at);
  return block.Bytes();
}

}  // namespace kv::mission
