#include "readers/NmeaSentence.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "text/Blanks.h"
#include "text/ByteMasks.h"
#include "text/Numbers.h"
#include "time/Angles.h"

namespace kv::mission {
namespace {

// A thousand times finer than any receiver writes, and nothing that a number of 64 bits could not hold.
constexpr std::size_t kMostFractionDigits = 15;
constexpr double kLargestMeasure = 1e5;    // metres
constexpr double kSmallestMeasure = 1e-9;  // besides 0
constexpr std::size_t kStart = 7;          // bytes of "$", identifier, comma

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }

/// @param number  0-15
bool IsHexDigit(char c, std::uint64_t number) {
  return c == "0123456789ABCDEF"[number] || c == "0123456789abcdef"[number];
}

/// @param body  what stands between "$" and "*"
bool ChecksumIsRight(std::string_view body, std::string_view digits) {
  if (digits.size() != 2) return false;
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  std::uint64_t sum = 0;
  std::size_t at = 0;
  for (; at + 2 * kWord <= body.size(); at += 2 * kWord)
    sum ^= LoadBytes(body.data() + at) ^ LoadBytes(body.data() + at + kWord);
  if (at + kWord <= body.size()) sum ^= LoadBytes(body.data() + at), at += kWord;
  if (const std::size_t rest = body.size() - at; rest > 0)
    sum ^= at > 0 ? LoadBytes(body.data() + body.size() - kWord) >> 8 * (kWord - rest) : LoadBytes(body.data(), rest);
  for (const int half : {32, 16, 8}) sum ^= sum >> half;
  return IsHexDigit(digits[0], sum >> 4 & 0xF) && IsHexDigit(digits[1], sum & 0xF);
}

bool IsIdentifier(std::string_view text) {
  return text.size() >= 3 && text.size() <= 16 && IsUpper(text[0]) &&
         std::all_of(text.begin(), text.end(), [](char c) { return IsUpper(c) || IsDigit(c); });
}

/// Talker and type make five letters; "P" opens the identifier of a proprietary sentence.
std::string_view TypeOf(std::string_view identifier) {
  return identifier.size() == 5 && identifier[0] != 'P' ? identifier.substr(2) : identifier;
}

/// The first mask: commas. The second: all bytes below "-", which are commas, "*", "$" and little else.
TwoMasks MarksOf(std::string_view piece, std::size_t begin) {
  const auto inSixteen = [](const char* sixteen) {
    return TwoMasks{EqualInSixteen(',', sixteen), LowerInSixteen('-', sixteen)};
  };
  return BytesWanted(inSixteen, piece, begin);
}

/// An angle dddmm.mmmm with digits on both sides of the point.
bool IsAngle(std::string_view text, int maxDegrees) {
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos) return false;
  const auto whole = Digits(text.substr(0, point));
  const std::string_view fraction = text.substr(point + 1);
  if (!whole || fraction.empty() || fraction.size() > kMostFractionDigits ||
      !std::all_of(fraction.begin(), fraction.end(), IsDigit))
    return false;
  const int degrees = *whole / 100, minutes = *whole % 100;
  const bool atLimit = minutes == 0 && fraction.find_first_not_of('0') == std::string_view::npos;
  return minutes < 60 && (degrees < maxDegrees || (degrees == maxDegrees && atLimit));
}

bool ReadOtherAngle(std::string_view text, int maxDegrees, char hemisphere, double& angle) {
  if (!IsAngle(text, maxDegrees)) return false;
  angle = DegreesFromNmea(text, hemisphere);
  return true;
}

/// Like `IsAngle`, and reads it.
/// @param known  of the same field of the fix before
/// @param angle  degrees
bool ReadAngle(std::string_view text, int maxDegrees, char hemisphere, KnownMinute& known, double& angle) {
  constexpr std::size_t kShortest = 8, kLongest = 17, kFour = 4, kMostKnownDecimals = 8;
  const std::size_t point = text.size() >= kShortest && text[kFour] == '.' ? kFour : kFour + 1;
  if (text.size() < kShortest || text.size() > kLongest || text[point] != '.') [[unlikely]]
    return ReadOtherAngle(text, maxDegrees, hemisphere, angle);
  std::uint64_t digits = LoadBytes(text.data(), kFour);
  if (point > kFour) digits |= std::uint64_t{0x100u | static_cast<unsigned char>(text[kFour])} << 32;  // even for NUL
  const std::size_t decimals = text.size() - point - 1;
  double fraction = 0;
  if (digits == known.digits && decimals <= kMostKnownDecimals && ReadDecimals(text, decimals, fraction)) {
    angle = DegreesFromNmea(known.number, fraction, hemisphere);
    return true;
  }
  const auto decimal = SplitDecimal(text);
  if (!decimal) [[unlikely]]
    return ReadOtherAngle(text, maxDegrees, hemisphere, angle);
  const int whole = static_cast<int>(decimal->whole), degrees = whole / 100, minutes = whole % 100;
  angle = DegreesFromNmea(whole, decimal->fraction, hemisphere);
  const bool isBelowLimit = minutes < 60 && degrees < maxDegrees;
  if (isBelowLimit) known = {digits, whole};
  return isBelowLimit || (degrees == maxDegrees && minutes == 0 && decimal->fraction == 0);
}

bool IsOneOf(std::string_view text, char a, char b) { return text.size() == 1 && (text[0] == a || text[0] == b); }

/// @return nothing for an unknown unit
std::optional<double> MetresIn(std::string_view unit) {
  constexpr double kMetresInFoot = 0.3048;
  if (IsOneOf(unit, 'M', 'm')) return 1;
  return IsOneOf(unit, 'F', 'f') || unit == "FT" || unit == "ft" ? std::optional(kMetresInFoot) : std::nullopt;
}

bool ReadOtherMeasure(std::string_view text, double& measure) {
  double value = 0;
  if (!ReadWhole(text, value)) return false;
  const double size = std::abs(value);
  if (!(size < kLargestMeasure)) return false;  // nor is NaN
  // What merely rounds to zero is refused: the strict numbers throw on it.
  const auto isZero = [&] {
    return size == 0 && text.substr(0, text.find_first_of("eE")).find_first_of("123456789") == text.npos;
  };
  if (size < kSmallestMeasure && !isZero()) return false;
  measure = value;
  return true;
}

/// @param measure  unchanged for a text that is not one
bool ReadMeasure(std::string_view text, double& measure) {
  double value = 0;
  if (!ReadTinyDecimal(text, value) || value >= kLargestMeasure) [[unlikely]]
    return ReadOtherMeasure(text, measure);
  measure = value;  // too few characters for a number that is too small
  return true;
}

/// Reads the geoid's separation, and the unit of the height.
/// @return what is missing or invalid
const char* ReadSeparation(Sentence& sentence) {
  const auto& field = sentence.fields;
  FixNumbers& fix = sentence.fix;
  const std::string_view unit = field[kHeightUnit], own = field[kSeparationUnit];
  const auto metres = MetresIn(unit);
  const auto ownMetres = own.empty() ? metres : MetresIn(own);  // receivers that leave it out mean the first
  if (!ReadMeasure(field[kSeparation], fix.separation)) return "geoid separation";
  if (!metres || !ownMetres) return "known unit of height";
  sentence.metresInUnit = *metres;
  fix.separation *= *ownMetres;
  fix.wasConverted = *metres != 1 || *ownMetres != 1;
  return nullptr;
}

/// @return what is missing or invalid
const char* ReadQuality(Sentence& sentence) {
  const auto& field = sentence.fields;
  FixNumbers& fix = sentence.fix;
  const auto quality = Digits(field[kQuality]), satellites = Digits(field[kSatellites]);
  fix.quality = quality.value_or(0), fix.satellites = satellites.value_or(0);
  return !quality                               ? "quality"
         : !satellites                          ? "number of satellites"
         : !ReadMeasure(field[kHdop], fix.hdop) ? "HDOP"
                                                : nullptr;
}

/// Reads what a row of fields says, unless it is what the row of the fix before said.
/// @param last   field of the row; if it is empty, nothing is kept
/// @param known  the fix before's
template <class Read>
const char* ReadRow(Sentence& sentence, FixField first, FixField last, RepeatedText& known, Read read) {
  const bool isThere = !sentence.fields[last].empty();
  const std::string_view row = isThere ? sentence.fields.Row(first, last) : std::string_view();
  if (isThere && known.Is(row)) return nullptr;
  known.Keep({});
  const char* const lacks = read(sentence);
  if (!lacks) known.Keep(row);
  return lacks;
}

/// @param text    hhmmss
/// @param second  unchanged when that is not a time of day
bool ReadSecond(std::uint64_t text, KnownSecond& second) {
  constexpr std::size_t kDigits = 6;
  const std::uint64_t digits = DigitValues(text);
  if (FirstByte(OtherThanDigits(digits)) < kDigits) return false;
  const auto pair = [pairs = PairsOf(digits)](int i) { return static_cast<int>(pairs >> 16 * i & 0xFF); };
  const int hours = pair(0), minutes = pair(1), seconds = pair(2);
  if (hours > 23 || minutes > 59 || seconds > 59) return false;
  second = {text, Hundredths{((hours * 60 + minutes) * 60 + seconds) * 100}};
  return true;
}

/// Writes through a reference and loads six bytes in two pieces, so that the processor need not wait for its own stores.
/// @param clock  unchanged for a text that is not a time of day
bool ReadClock(std::string_view text, KnownSecond& second, ClockTime& clock) {
  constexpr std::size_t kPoint = 6, kTenths = 7, kHundredths = 8;
  if (text.size() < kPoint) return false;
  const std::uint64_t digits = LoadBytes(text.data(), 4) | LoadBytes(text.data() + 4, 2) << 32;
  if (digits != second.digits && !ReadSecond(digits, second)) return false;
  if (text.size() > kPoint && text[kPoint] != '.') return false;
  const auto character = [&](std::size_t at) { return at < text.size() ? text[at] : '0'; };
  const char tenths = character(kTenths), hundredths = character(kHundredths);
  bool areDigits = IsDigit(tenths) && IsDigit(hundredths), truncated = false;
  for (std::size_t at = kHundredths + 1; at < text.size(); ++at) {
    areDigits = areDigits && IsDigit(text[at]);
    truncated = truncated || text[at] != '0';
  }
  if (!areDigits) return false;
  clock = {second.time + Hundredths{(tenths - '0') * 10 + hundredths - '0'}, truncated};
  return true;
}

/// @return whether every field is there and valid; `sentence.fix` is then filled, else `sentence.lacks`
bool ReadFix(Sentence& sentence) {
  const auto& field = sentence.fields;
  FixNumbers& fix = sentence.fix;
  const char*& lacks = sentence.lacks;
  const bool hasClock = ReadClock(field[kTime], sentence.second, fix.clock);
  const bool hasPlace = IsOneOf(field[kNorth], 'N', 'S') && IsOneOf(field[kEast], 'E', 'W') &&
                        ReadAngle(field[kLatitude], 90, field[kNorth][0], sentence.latitude, fix.latitude) &&
                        ReadAngle(field[kLongitude], 180, field[kEast][0], sentence.longitude, fix.longitude);
  lacks = !hasClock ? "time" : !hasPlace ? "latitude or longitude" : nullptr;
  if (!lacks) lacks = ReadRow(sentence, kQuality, kHdop, sentence.quality, ReadQuality);
  if (!lacks && !ReadMeasure(field[kHeight], fix.height)) lacks = "height";
  if (!lacks) lacks = ReadRow(sentence, kHeightUnit, kSeparationUnit, sentence.separation, ReadSeparation);
  if (lacks) return false;
  fix.height *= sentence.metresInUnit;
  return true;
}

bool SaysNoFix(const Sentence& fix) {
  const auto quality = fix.fields[kQuality];
  return quality.starts_with('0') ? Digits(quality) == 0 : quality.empty() && fix.fields[kLatitude].empty();
}

std::optional<Instant> At(std::optional<int> year, std::optional<int> month, std::optional<int> day,
                          std::optional<ClockTime> clock) {
  if (!year || !month || !day || !clock) return std::nullopt;
  const auto midnight = FromFields(*year, *month, *day, 0, 0, 0);
  if (!midnight) return std::nullopt;
  return *midnight + clock->time;
}

std::optional<Instant> RecommendedMinimumTime(const Sentence& sentence) {
  const auto& field = sentence.fields;
  const std::string_view date = field[9];  // ddmmyy
  if (field[2] != "A" || date.size() != 6) return std::nullopt;
  auto year = Digits(date.substr(4, 2));
  if (year) *year += *year < 80 ? 2000 : 1900;  // GPS time began in 1980
  return At(year, Digits(date.substr(2, 2)), Digits(date.substr(0, 2)), ParseClock(field[1]));
}

/// Whether a piece of a line is a sentence.
enum class Trust { NoSentence, NoSum, WrongSum, RightSum };

/// @param piece  with a sound identifier; what follows the two digits of a checksum is ignored
/// @param end    of the piece's fields
Trust TrustInSum(std::string_view piece, std::size_t end) {
  if (end == piece.size()) return Trust::NoSum;
  const bool isRight = ChecksumIsRight(piece.substr(1, end - 1), piece.substr(end + 1, 2));  // with its blanks
  return isRight ? Trust::RightSum : Trust::WrongSum;
}

Trust TrustIn(std::string_view piece, std::size_t end, std::string_view identifier) {
  if (identifier.size() + 1 == end) identifier = WithoutTrailingBlanks(identifier);  // the only field
  return IsIdentifier(identifier) ? TrustInSum(piece, end) : Trust::NoSentence;
}

/// Of several pieces the last one with a right checksum counts, else with a wrong one, which spoils the line: pieces
/// without a checksum beside it may be fragments.
/// @return an empty text if there is no sentence
std::string_view BestPiece(std::string_view line, Sentence& sentence) {
  std::string_view best;
  Trust trust = Trust::NoSentence;
  const auto consider = [&](std::string_view piece) {
    const std::size_t end = sentence.fields.Split(piece);
    const Trust of = TrustIn(piece, end, sentence.fields[0]);
    if (of > trust) best = piece, trust = of;
  };
  if (line[0] == '!') consider(line.substr(0, line.find('$')));
  for (std::size_t end = line.size(); end > 0 && trust != Trust::RightSum;) {
    const std::size_t begin = line.rfind('$', end - 1);
    if (begin == std::string_view::npos) break;
    consider(line.substr(begin, end - begin));
    end = begin;
  }
  return best;
}

}  // namespace

std::size_t SentenceFields::Split(std::string_view piece) {
  std::size_t end = piece.size();
  Commas commas{};
  for (std::size_t at = 0, block = 0; at < piece.size(); at += kBytesAtOnce, ++block) {
    auto [found, others] = MarksOf(piece, at);
    others &= ~found;
    if (at == 0) others &= ~std::uint64_t{1};
    for (; others != 0; others &= others - 1) {
      const int bit = std::countr_zero(others);
      const std::size_t other = at + static_cast<unsigned>(bit);
      if (piece[other] == '$') return piece.npos;
      if (piece[other] != '*' || other >= end) continue;
      end = other;
      found &= (std::uint64_t{1} << bit) - 1;
    }
    if (block < commas.size() && at < end) commas[block] = found;
  }
  piece_ = piece.data();
  Layout& layout = layouts_[end % kLayouts];
  layout_ = &layout;
  if (layout.end != end || layout.commas != commas) SetPlaces(piece.substr(0, end), commas, layout);
  return end;
}

void SentenceFields::SetPlaces(std::string_view fields, const Commas& commas, Layout& layout) {
  layout.end = fields.size() <= commas.size() * kBytesAtOnce ? fields.size() : 0;
  layout.commas = commas;
  std::uint32_t begin = 1;
  auto place = layout.places.begin();
  const auto add = [&](std::size_t fieldEnd) {
    if (place == layout.places.end()) return;
    *place++ = {begin, static_cast<std::uint32_t>(fieldEnd) - begin};
    begin = static_cast<std::uint32_t>(fieldEnd) + 1;
  };
  for (std::size_t at = 0; at < fields.size(); at += kBytesAtOnce) {
    for (std::uint64_t left = BytesEqual(',', fields, at); left != 0; left &= left - 1)
      add(at + static_cast<unsigned>(std::countr_zero(left)));
  }
  add(fields.size());
  std::fill(place, layout.places.end(), Place{});
}

SentenceKind Classify(std::string_view line, Sentence& sentence) {
  line = WithoutTrailingBlanks(line);
  if (line.empty()) return SentenceKind::Blank;
  std::size_t end = line[0] == '$' ? sentence.fields.Split(line) : line.npos;
  if (end == line.npos) [[unlikely]] {  // not one sentence and nothing else
    line = BestPiece(line, sentence);
    if (line.empty()) return SentenceKind::NotASentence;
    end = sentence.fields.Split(line);
  }
  const std::string_view identifier = sentence.fields[0];
  const std::uint64_t start = line.size() > kStart ? LoadBytes(line.data()) << 8 : 0;
  const bool isKnown = start != 0 && start == sentence.start;
  const Trust trust = isKnown ? TrustInSum(line, end) : TrustIn(line, end, identifier);
  if (trust == Trust::NoSentence) return SentenceKind::NotASentence;
  if (trust == Trust::WrongSum) return SentenceKind::BadChecksum;
  sentence.type = TypeOf(identifier);
  if (!isKnown) {
    if (sentence.type != "GGA") return SentenceKind::OtherSentence;
    if (identifier.size() + 2 == kStart) sentence.start = start;
  }
  if (SaysNoFix(sentence)) return SentenceKind::NoFix;
  return ReadFix(sentence) ? SentenceKind::Fix : SentenceKind::Incomplete;
}

std::optional<ClockTime> ParseClock(std::string_view text) {
  ClockTime clock;
  KnownSecond none;
  return ReadClock(text, none, clock) ? std::optional(clock) : std::nullopt;
}

std::optional<Instant> DatedTime(const Sentence& sentence) {
  const auto& field = sentence.fields;
  if (sentence.type == "RMC") return RecommendedMinimumTime(sentence);
  if (sentence.type != "ZDA") return std::nullopt;
  return At(Digits(field[4]), Digits(field[3]), Digits(field[2]), ParseClock(field[1]));
}

std::optional<FixErrors> ErrorsOf(const Sentence& sentence) {
  if (sentence.type != "GST") return std::nullopt;
  const auto clock = ParseClock(sentence.fields[1]);
  FixErrors errors{};
  const auto read = [&](std::size_t at, double& error) { return ReadMeasure(sentence.fields[at], error) && error > 0; };
  if (!clock || !read(6, errors.latitude) || !read(7, errors.longitude) || !read(8, errors.height)) return std::nullopt;
  errors.time = clock->time;
  return errors;
}

}  // namespace kv::mission
