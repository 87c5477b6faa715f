#include "readers/NmeaSentence.h"

#include <algorithm>

#include "text/Blanks.h"
#include "text/Numbers.h"

namespace kv::mission {
namespace {

// A thousand times finer than any receiver writes, and nothing that a number of 64 bits could not hold.
constexpr std::size_t kMostFractionDigits = 15;
constexpr double kLargestMeasure = 1e5;    // metres
constexpr double kSmallestMeasure = 1e-9;  // besides 0

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool IsLetter(char c) { return IsUpper(c) || (c >= 'a' && c <= 'z'); }

std::optional<unsigned> HexDigit(char c) {
  if (IsDigit(c)) return static_cast<unsigned>(c - '0');
  const char lower = static_cast<char>(c | 0x20);
  if (lower < 'a' || lower > 'f') return std::nullopt;
  return static_cast<unsigned>(lower - 'a' + 10);
}

/// @param body  what stands between "$" and "*"
bool ChecksumIsRight(std::string_view body, std::string_view digits) {
  if (digits.size() != 2) return false;
  const auto high = HexDigit(digits[0]), low = HexDigit(digits[1]);
  unsigned sum = 0;
  for (const char c : body) sum ^= static_cast<unsigned char>(c);
  return high && low && sum == *high * 16 + *low;
}

bool IsIdentifier(std::string_view text) {
  return text.size() >= 3 && text.size() <= 16 && IsUpper(text[0]) &&
         std::all_of(text.begin(), text.end(), [](char c) { return IsUpper(c) || IsDigit(c); });
}

/// Talker and type make five letters; "P" opens the identifier of a proprietary sentence.
std::string_view TypeOf(std::string_view identifier) {
  return identifier.size() == 5 && identifier[0] != 'P' ? identifier.substr(2) : identifier;
}

void SplitFields(std::string_view body, Sentence& sentence) {
  sentence.fields.fill({});
  for (auto& field : sentence.fields) {
    const std::size_t length = body.find(',');
    field = body.substr(0, length);
    if (length == std::string_view::npos) return;
    body.remove_prefix(length + 1);
  }
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

bool IsOneOf(std::string_view text, std::string_view letters) {
  return text.size() == 1 && letters.find(text[0]) != std::string_view::npos;
}

bool IsUnit(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), IsLetter); }

/// @param measure  unchanged for a text that is not one
bool ReadMeasure(std::string_view text, double& measure) {
  const auto value = FiniteNumber(text);
  if (!value) return false;
  const double size = std::abs(*value);
  // What merely rounds to zero is refused: the strict numbers throw on it.
  const bool isZero = size == 0 && text.substr(0, text.find_first_of("eE")).find_first_of("123456789") == text.npos;
  if (!isZero && (size < kSmallestMeasure || size >= kLargestMeasure)) return false;
  measure = *value;
  return true;
}

/// @return whether every field is there and valid; `sentence.fix` is then filled
bool ReadFix(Sentence& sentence) {
  const auto& field = sentence.fields;
  FixNumbers& fix = sentence.fix;
  const auto clock = ParseClock(field[kTime]);
  const auto quality = Digits(field[kQuality]), satellites = Digits(field[kSatellites]);
  if (!clock || !quality || !satellites) return false;
  fix.clock = *clock, fix.quality = *quality, fix.satellites = *satellites;
  return IsAngle(field[kLatitude], 90) && IsOneOf(field[kNorth], "NS") && IsAngle(field[kLongitude], 180) &&
         IsOneOf(field[kEast], "EW") && ReadMeasure(field[kHdop], fix.hdop) &&
         ReadMeasure(field[kHeight], fix.height) && IsUnit(field[kHeightUnit]) &&
         ReadMeasure(field[kSeparation], fix.separation);
}

bool SaysNoFix(const Sentence& fix) {
  const auto quality = fix.fields[kQuality];
  return Digits(quality) == 0 || (quality.empty() && fix.fields[kLatitude].empty());
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

}  // namespace

SentenceKind Classify(std::string_view line, Sentence& sentence) {
  line = WithoutTrailingBlanks(line);
  if (line.empty()) return SentenceKind::Blank;
  if (line[0] != '$' && line[0] != '!') return SentenceKind::NotASentence;
  const std::size_t star = line.find('*');
  const std::string_view body = line.substr(1, star == std::string_view::npos ? star : star - 1);
  const std::string_view identifier = body.substr(0, body.find(','));
  if (!IsIdentifier(identifier)) return SentenceKind::NotASentence;
  if (star != std::string_view::npos && !ChecksumIsRight(body, line.substr(star + 1))) return SentenceKind::BadChecksum;
  sentence.type = TypeOf(identifier);
  SplitFields(body, sentence);
  if (sentence.type != "GGA") return SentenceKind::OtherSentence;
  if (SaysNoFix(sentence)) return SentenceKind::NoFix;
  return ReadFix(sentence) ? SentenceKind::Fix : SentenceKind::Incomplete;
}

std::optional<ClockTime> ParseClock(std::string_view text) {
  const auto hour = Digits(text.substr(0, 2)), minute = Digits(text.substr(std::min<std::size_t>(2, text.size()), 2));
  const auto second = Digits(text.substr(std::min<std::size_t>(4, text.size()), 2));
  if (text.size() < 6 || !hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  std::string_view fraction = text.substr(6);
  if (!fraction.empty() && fraction[0] != '.') return std::nullopt;
  if (!fraction.empty()) fraction.remove_prefix(1);
  if (!std::all_of(fraction.begin(), fraction.end(), IsDigit)) return std::nullopt;
  const auto digit = [&](std::size_t place) { return place < fraction.size() ? fraction[place] - '0' : 0; };
  const int whole = (*hour * 60 + *minute) * 60 + *second;
  const bool truncated = fraction.find_first_not_of('0', 2) != std::string_view::npos;
  return ClockTime{Hundredths{whole * 100 + digit(0) * 10 + digit(1)}, truncated};
}

std::optional<Instant> DatedTime(const Sentence& sentence) {
  const auto& field = sentence.fields;
  if (sentence.type == "RMC") return RecommendedMinimumTime(sentence);
  if (sentence.type != "ZDA") return std::nullopt;
  return At(Digits(field[4]), Digits(field[3]), Digits(field[2]), ParseClock(field[1]));
}

}  // namespace kv::mission
