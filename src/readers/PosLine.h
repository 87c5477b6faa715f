#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Lines of POS files: what each is, and why the scan passes over those that are no sample, or should.
namespace kv::mission {

inline constexpr double kLargestLatitude = 90, kLargestLongitude = 360;  ///< degrees; what is beyond is garbled

enum class PosLineKind {
  Sample,
  Ecef,                   ///< numbers as of a sample, but the columns of the place are ECEF metres
  OutOfRange,             ///< numbers as of a sample, but no latitude or longitude
  DegreesMinutesSeconds,  ///< latitude and longitude in three columns each
  CalendarTime,           ///< date and time of day instead of week and seconds
  CommaSeparated,         ///< commas or semicolons between the columns
  NotANumber,
  Short,
  Comment,  ///< the first word is no number: comments and headers
  Blank,
};
inline constexpr std::size_t kPosLineKinds = 10;

/// The number columns of a sample.
struct PosColumns {
  std::int32_t week = 0;
  double seconds = 0;  ///< of the week
  double latitude = 0, longitude = 0, height = 0;
};

/// Stricter than the scan, which takes infinity and what is no number for numbers, and degrees, minutes and seconds for
/// a place.
/// @param columns  filled for kinds with numbers as of a sample
/// @see   docs/formats/pos.md
PosLineKind ClassifyPos(std::string_view line, PosColumns& columns);

/// Whether a line has all columns of a POS file, in a form that the scan takes or in another one.
bool IsPosLine(std::string_view line);

}  // namespace kv::mission
