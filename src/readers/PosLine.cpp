#include "readers/PosLine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "text/Numbers.h"
#include "text/Tokens.h"

namespace kv::mission {
namespace {

constexpr Delimiters kAnySeparator(" \t,;");
constexpr std::string_view kOtherSeparators = ",;";
constexpr std::string_view kDigits = "0123456789";

using Tokens = std::span<const std::string_view>;

/// "2024/06/24" or "2024-06-24", a time of day behind it or not.
bool BeginsWithDate(std::string_view token) {
  const std::size_t year = std::min(token.find_first_not_of(kDigits), token.size());
  if (year == 0 || year == token.size() || (token[year] != '/' && token[year] != '-')) return false;
  const std::string_view rest = token.substr(year + 1);
  const std::size_t month = std::min(rest.find_first_not_of(kDigits), rest.size());
  return month > 0 && month + 1 < rest.size() && rest[month] == token[year] &&
         kDigits.find(rest[month + 1]) != std::string_view::npos;
}

/// Whole degrees, whole minutes, seconds with a fraction. Decimal degrees have a fraction of their own.
bool IsAngleOfThree(Tokens tokens, double largestDegrees) {
  constexpr int kSixty = 60;
  const auto degrees = WholeInteger(tokens[0]);
  if (!degrees) return false;  // decimal degrees
  const auto minutes = WholeInteger(tokens[1]);
  const auto seconds = FiniteNumber(tokens[2]);
  if (!minutes || !seconds || tokens[2].find('.') == std::string_view::npos) return false;
  return std::abs(static_cast<double>(*degrees)) <= largestDegrees && *minutes >= 0 && *minutes < kSixty &&
         *seconds >= 0 && *seconds < kSixty;
}

bool HasAnglesOfThree(Tokens tokens) {
  constexpr std::size_t kLatitude = 2, kLongitude = 5, kEnd = 8;
  return tokens.size() >= kEnd && IsAngleOfThree(tokens.subspan(kLatitude), kLargestLatitude) &&
         IsAngleOfThree(tokens.subspan(kLongitude), kLargestLongitude);
}

/// Between the deepest shaft at a pole and the highest balloon over the equator the Earth's centre is this far away.
bool IsNearTheGround(double x, double y, double z) {
  constexpr double kLeast = 6.34e6, kMost = 6.45e6;                                  // metres
  if (std::max({std::abs(x), std::abs(y), std::abs(z)}) < kLeast / 2) return false;  // nearly every line
  const double distance = std::hypot(x, y, z);
  return distance > kLeast && distance < kMost;
}

PosLineKind KindOfNumbers(Tokens tokens, PosNumbers& numbers) {
  const auto week = WholeInteger32(tokens[0]);
  const auto seconds = FiniteNumber(tokens[1]), latitude = FiniteNumber(tokens[2]), longitude = FiniteNumber(tokens[3]);
  const auto height = FiniteNumber(tokens[4]);
  if (!week || !seconds || !latitude || !longitude || !height) return PosLineKind::NotANumber;
  numbers = {*week, *seconds, *latitude, *longitude, *height};
  if (IsNearTheGround(*latitude, *longitude, *height)) return PosLineKind::Ecef;
  if (std::abs(*latitude) > kLargestLatitude || std::abs(*longitude) > kLargestLongitude)
    return PosLineKind::OutOfRange;
  return PosLineKind::Sample;
}

bool BeginsNumber(std::string_view token) { return token.find_first_of("+-.0123456789") == 0; }

}  // namespace

PosLineKind ClassifyPos(Tokens tokens, PosNumbers& numbers) {
  if (tokens.empty()) return PosLineKind::Blank;
  if (!BeginsNumber(tokens[0])) return PosLineKind::Comment;
  if (tokens[0].find_first_of(kOtherSeparators) != std::string_view::npos) return PosLineKind::CommaSeparated;
  if (BeginsWithDate(tokens[0])) return PosLineKind::CalendarTime;
  if (HasAnglesOfThree(tokens)) return PosLineKind::DegreesMinutesSeconds;
  if (tokens.size() < kPosTokens) return PosLineKind::Short;
  return KindOfNumbers(tokens, numbers);
}

bool IsPosLine(std::string_view line) {
  constexpr std::array kForms{PosLineKind::Sample, PosLineKind::Ecef, PosLineKind::DegreesMinutesSeconds,
                              PosLineKind::CalendarTime, PosLineKind::CommaSeparated};
  std::array<std::string_view, kPosTokens> buffer;
  Tokens tokens = Tokenise(line, kPosDelimiters, buffer);
  PosNumbers numbers;
  const PosLineKind kind = ClassifyPos(tokens, numbers);
  if (std::find(kForms.begin(), kForms.end(), kind) == kForms.end()) return false;
  if (kind == PosLineKind::CommaSeparated) tokens = Tokenise(line, kAnySeparator, buffer);
  if (tokens.size() < kPosTokens || (!WholeInteger(tokens[0]) && !BeginsWithDate(tokens[0]))) return false;
  const auto places = tokens.subspan(2, 3);
  return std::all_of(places.begin(), places.end(),
                     [](std::string_view token) { return FiniteNumber(token).has_value(); });
}

}  // namespace kv::mission
