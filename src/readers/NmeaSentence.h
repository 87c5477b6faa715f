#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "time/Instants.h"

/// The sentences of a receiver log: what a line is, and what may be taken from it.
namespace kv::mission {

/// Fields of a position sentence, from the identifier at 0.
enum FixField : std::size_t {
  kTime = 1,
  kLatitude,
  kNorth,
  kLongitude,
  kEast,
  kQuality,
  kSatellites,
  kHdop,
  kHeight,
  kHeightUnit,
  kSeparation,
  kSeparationUnit
};

/// Time of day in hundredths of a second, the resolution of fixes.
using Hundredths = std::chrono::duration<int, std::centi>;

struct ClockTime {
  Hundredths time{};
  bool truncated = false;  ///< digits beyond the hundredths, and not all zero, were dropped
};

/// The numbers of a position sentence. Heights are in metres, whatever unit the sentence has.
struct FixNumbers {
  ClockTime clock;
  double latitude = 0, longitude = 0;  ///< degrees
  int quality = 0, satellites = 0;
  double hdop = 0;
  double height = 0;          ///< above the geoid
  double separation = 0;      ///< of the geoid
  bool wasConverted = false;  ///< a height was in feet
};

/// The pieces of one sentence; they point into the line.
struct Sentence {
  static constexpr std::size_t kFields = 13;  // none of those read here has more that matter

  std::string_view type;  ///< without the talker: "GGA"; the whole identifier of a proprietary sentence
  std::array<std::string_view, kFields> fields;  ///< the identifier and what follows it; empty where there is none
  FixNumbers fix;                                ///< of a fix
  const char* lacks = nullptr;                   ///< of an incomplete one, the first field missing or invalid
};

/// Finds the sentence of a line and tells what it is. A sentence begins at a "$", be it behind a logger's prefix or
/// binary bytes, and ends with its checksum or before the next "$". If there are several, the last one with a right
/// checksum counts; one without a checksum only if no other has a wrong one.
/// @param sentence  filled for every kind but `BadChecksum`, `NotASentence` and `Blank`
/// @return          never `RepeatedTime`, which takes two lines
SentenceKind Classify(std::string_view line, Sentence& sentence);

/// @param text  hhmmss, with or without a fraction
std::optional<ClockTime> ParseClock(std::string_view text);

/// UTC date and time of a sentence that has one: RMC with a valid fix, or ZDA.
std::optional<Instant> DatedTime(const Sentence& sentence);

/// Standard deviations of the fix of the same time, as a GST sentence has them; metres.
struct FixErrors {
  Hundredths time;
  double latitude, longitude, height;
};
/// @return nothing for another sentence, or one with a missing or invalid field
std::optional<FixErrors> ErrorsOf(const Sentence& sentence);

}  // namespace kv::mission
