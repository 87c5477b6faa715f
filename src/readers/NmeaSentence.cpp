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

std::optional<double> MetresIn(std::string_view unit) {
  constexpr double kMetresInFoot = 0.3048;
  if (unit == "M" || unit == "m") return 1.0;
  if (unit == "F" || unit == "f" || unit == "FT" || unit == "ft") return kMetresInFoot;
  return std::nullopt;
}

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

/// @return whether both heights are there, in known units
bool ReadHeights(Sentence& sentence) {
  const auto& field = sentence.fields;
  FixNumbers& fix = sentence.fix;
  const char*& lacks = sentence.lacks;
  const bool hasOneUnit = field[kSeparationUnit].empty();  // receivers that leave the second out mean the first
  const auto unit = MetresIn(field[kHeightUnit]);
  const auto separationUnit = hasOneUnit ? unit : MetresIn(field[kSeparationUnit]);
  lacks = !ReadMeasure(field[kHeight], fix.height)           ? "height"
          : !ReadMeasure(field[kSeparation], fix.separation) ? "geoid separation"
          : !unit || !separationUnit                         ? "known unit of height"
                                                             : nullptr;
  if (lacks) return false;
  fix.height *= *unit, fix.separation *= *separationUnit;
  fix.wasConverted = *unit != 1.0 || *separationUnit != 1.0;
  return true;
}

/// @return whether every field is there and valid; `sentence.fix` is then filled, else `sentence.lacks`
bool ReadFix(Sentence& sentence) {
  const auto& field = sentence.fields;
  FixNumbers& fix = sentence.fix;
  const auto clock = ParseClock(field[kTime]);
  const auto quality = Digits(field[kQuality]), satellites = Digits(field[kSatellites]);
  const bool hasPlace = IsAngle(field[kLatitude], 90) && IsOneOf(field[kNorth], "NS") &&
                        IsAngle(field[kLongitude], 180) && IsOneOf(field[kEast], "EW");
  sentence.lacks = !clock                                 ? "time"
                   : !hasPlace                            ? "latitude or longitude"
                   : !quality                             ? "quality"
                   : !satellites                          ? "number of satellites"
                   : !ReadMeasure(field[kHdop], fix.hdop) ? "HDOP"
                                                          : nullptr;
  if (sentence.lacks) return false;
  fix.clock = *clock, fix.quality = *quality, fix.satellites = *satellites;
  return ReadHeights(sentence);
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

/// A piece of a line that looks like a sentence.
struct Piece {
  std::string_view body;  // between "$" and "*"
  enum { NoSentence, NoSum, WrongSum, RightSum } trust = NoSentence;
};

/// @param text  begins with "$" or "!"; what follows the two digits of a checksum is ignored
Piece PieceOf(std::string_view text) {
  const std::size_t star = text.find('*');
  const bool hasSum = star != std::string_view::npos;
  Piece piece{WithoutTrailingBlanks(text.substr(1, hasSum ? star - 1 : star))};
  if (!IsIdentifier(piece.body.substr(0, piece.body.find(',')))) return piece;
  if (hasSum) piece.body = text.substr(1, star - 1);  // blanks count in a checksum
  const bool isRight = hasSum && ChecksumIsRight(piece.body, text.substr(star + 1, 2));
  piece.trust = isRight ? Piece::RightSum : hasSum ? Piece::WrongSum : Piece::NoSum;
  return piece;
}

/// Of several pieces the last one with a right checksum counts, else with a wrong one, which spoils the line: pieces
/// without a checksum beside it may be fragments.
Piece SentenceIn(std::string_view line) {
  Piece best;
  if (line[0] == '!') best = PieceOf(line.substr(0, line.find('$')));
  for (std::size_t end = line.size(); end > 0 && best.trust != Piece::RightSum;) {
    const std::size_t begin = line.rfind('$', end - 1);
    if (begin == std::string_view::npos) break;
    const Piece piece = PieceOf(line.substr(begin, end - begin));
    if (piece.trust > best.trust) best = piece;
    end = begin;
  }
  return best;
}

}  // namespace

SentenceKind Classify(std::string_view line, Sentence& sentence) {
  line = WithoutTrailingBlanks(line);
  if (line.empty()) return SentenceKind::Blank;
  const Piece piece = SentenceIn(line);
  if (piece.trust == Piece::NoSentence) return SentenceKind::NotASentence;
  if (piece.trust == Piece::WrongSum) return SentenceKind::BadChecksum;
  sentence.type = TypeOf(piece.body.substr(0, piece.body.find(',')));
  SplitFields(piece.body, sentence);
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
