#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
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

/// The second that a time of day was in: the next is often in the same one.
struct KnownSecond {
  std::uint64_t digits = ~std::uint64_t{0};  ///< hhmmss, as text; at first no text of six characters
  Hundredths time{};
};

/// The minute of arc that an angle was in: the next is often in the same one.
struct KnownMinute {
  std::uint64_t digits = ~std::uint64_t{0};  ///< dddmm or ddmm, as text; at first none
  int number = 0;                            ///< that of the digits
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

/// The fields of a sentence; they point into the line. A receiver writes most sentences of a kind with fields of the same
/// lengths, so the places of a few kinds are kept, and looked up by where the commas are.
class SentenceFields {
 public:
  SentenceFields() = default;
  SentenceFields(const SentenceFields&) = delete;
  SentenceFields& operator=(const SentenceFields&) = delete;

  /// @param piece  of a line, from its "$" or "!" on
  /// @return       where its fields end: at "*", or with the piece; npos when another "$" follows, nothing is then split
  std::size_t Split(std::string_view piece);

  /// The identifier, and what follows it; empty where there is none.
  std::string_view operator[](std::size_t field) const {
    const Place place = layout_->places[field];
    return {piece_ + place.begin, place.size};
  }
  /// Several fields with the commas between them.
  /// @param last  that is there
  std::string_view Row(std::size_t first, std::size_t last) const {
    const Place from = layout_->places[first], to = layout_->places[last];
    return {piece_ + from.begin, to.begin + to.size - from.begin};
  }

 private:
  static constexpr std::size_t kFields = 13;  // none of the sentences read here has more that matter
  static constexpr std::size_t kLayouts = 16;

  struct Place {
    std::uint32_t begin, size;
  };
  using Commas = std::array<std::uint64_t, 2>;  // a bit for each of the first 128 bytes
  struct Layout {
    std::size_t end = 0;  // of the fields; 0 when they reach beyond those bytes
    Commas commas{};
    std::array<Place, kFields> places{};
  };

  void SetPlaces(std::string_view fields, const Commas& commas, Layout& layout);

  std::array<Layout, kLayouts> layouts_;  // by the length of the fields
  const Layout* layout_ = layouts_.data();
  const char* piece_ = "";
};

/// A text that may come again.
class RepeatedText {
 public:
  bool Is(std::string_view text) const { return size_ > 0 && text == std::string_view(bytes_.data(), size_); }
  /// @param text  one that is empty or too long to keep is never found again
  void Keep(std::string_view text) { size_ = text.size() <= bytes_.size() ? text.copy(bytes_.data(), text.size()) : 0; }

 private:
  std::array<char, 24> bytes_;
  std::size_t size_ = 0;
};

/// The pieces of one sentence; they point into the line. Use one for many lines: what it keeps saves time.
struct Sentence {
  std::string_view type;  ///< without the talker: "GGA"; the whole identifier of a proprietary sentence
  SentenceFields fields;
  FixNumbers fix;               ///< of a fix
  const char* lacks = nullptr;  ///< of an incomplete one, the first field missing or invalid

  /// What `fix` was read from: receivers repeat it fix by fix. From quality to HDOP, from one unit to the other.
  RepeatedText quality, separation;
  double metresInUnit = 1;  ///< of the height, as read with the separation
  KnownSecond second;
  KnownMinute latitude, longitude;
  std::uint64_t start = 0;  ///< of a position sentence: "$", talker, "GGA,"; seven bytes
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
