#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "time/Instants.h"

/// The sentences of a receiver's log: what a line is, and what may be taken from it.
namespace kv::mission {

/// What the trajectory reader may see of a log (`Fix`), and why it does not see the rest.
enum class LineKind {
  Fix,
  NoFix,         ///< a position sentence of quality 0
  Incomplete,    ///< a position sentence that lacks a field or holds an invalid one
  RepeatedTime,  ///< a fix of the time of the fix before it: between the two nothing can be interpolated
  BadChecksum,
  OtherSentence,
  NotASentence,
  Blank,
};
inline constexpr std::size_t kLineKinds = 8;

/// The pieces of one sentence; they point into the line.
struct Sentence {
  static constexpr std::size_t kFields = 13;  // none of those read here has more that matter

  std::string_view type;  ///< without the talker: "GGA"; the whole identifier of a proprietary sentence
  std::array<std::string_view, kFields> fields;  ///< the identifier and what follows it; empty where there is none
};

/// @param sentence  filled for every kind but `BadChecksum`, `NotASentence` and `Blank`
/// @return          never `RepeatedTime`, which takes two lines
LineKind Classify(std::string_view line, Sentence& sentence);

/// Time of day in hundredths of a second, the resolution of the trajectory reader.
using Hundredths = std::chrono::duration<int, std::centi>;

struct ClockTime {
  Hundredths time;
  bool truncated;  ///< digits beyond the hundredths, and not all zero, were dropped
};

/// @param text  hhmmss, with or without a fraction
std::optional<ClockTime> ParseClock(std::string_view text);

/// UTC date and time of a sentence that has one: RMC with a valid fix, or ZDA.
std::optional<Instant> DatedTime(const Sentence& sentence);

/// Appends a fix as the trajectory reader takes it: two decimals of the second, no checksum, LF.
void AppendFixLine(const Sentence& fix, Hundredths time, std::string& text);

}  // namespace kv::mission
