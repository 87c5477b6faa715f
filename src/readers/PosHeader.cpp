#include "readers/PosHeader.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "text/Blanks.h"
#include "text/Numbers.h"
#include "text/TextCase.h"
#include "text/Tokens.h"

namespace kv::mission {
namespace {

using Tokens = std::array<std::string_view, 40>;

constexpr Delimiters kBlanks("\t \r");

constexpr std::size_t kTimeTokens = 2, kSexagesimalTokens = 3;

struct ColumnName {
  std::string_view name;
  PosColumn column;
  PosPlace place = PosPlace::Unknown;  ///< that the column is part of
};
/// Names in lower case, up to their unit.
constexpr auto kColumnNames = std::to_array<ColumnName>({
    {"latitude", PosColumn::X, PosPlace::Geographic},
    {"lat", PosColumn::X, PosPlace::Geographic},
    {"longitude", PosColumn::Y, PosPlace::Geographic},
    {"lon", PosColumn::Y, PosPlace::Geographic},
    {"height", PosColumn::Z, PosPlace::Geographic},
    {"x-ecef", PosColumn::X, PosPlace::Ecef},
    {"y-ecef", PosColumn::Y, PosPlace::Ecef},
    {"z-ecef", PosColumn::Z, PosPlace::Ecef},
    {"e-baseline", PosColumn::X, PosPlace::EastNorthUp},
    {"n-baseline", PosColumn::Y, PosPlace::EastNorthUp},
    {"u-baseline", PosColumn::Z, PosPlace::EastNorthUp},
    {"x-baseline", PosColumn::X, PosPlace::EcefBaseline},
    {"y-baseline", PosColumn::Y, PosPlace::EcefBaseline},
    {"z-baseline", PosColumn::Z, PosPlace::EcefBaseline},
    {"q", PosColumn::Quality},
    {"ns", PosColumn::Satellites},
    {"sdn", PosColumn::Sd0},
    {"sde", PosColumn::Sd1},
    {"sdu", PosColumn::Sd2},
    {"sdne", PosColumn::Sd01},
    {"sden", PosColumn::Sd01},
    {"sdeu", PosColumn::Sd12},
    {"sdue", PosColumn::Sd12},
    {"sdun", PosColumn::Sd20},
    {"sdnu", PosColumn::Sd20},
    {"sdx", PosColumn::Sd0},
    {"sdy", PosColumn::Sd1},
    {"sdz", PosColumn::Sd2},
    {"sdxy", PosColumn::Sd01},
    {"sdyz", PosColumn::Sd12},
    {"sdzx", PosColumn::Sd20},
});

struct ScaleName {
  std::string_view name;
  TimeScale scale;
  std::size_t tokens;
};
constexpr auto kScaleNames = std::to_array<ScaleName>({{"gpst", TimeScale::Gps, kTimeTokens},
                                                       {"utc", TimeScale::Utc, kTimeTokens},
                                                       {"jst", TimeScale::Jst, kTimeTokens},
                                                       {"week", TimeScale::Gps, 1},
                                                       {"gpsweek", TimeScale::Gps, 1}});

template <class Names>
auto Find(std::string_view name, const Names& names) {
  return std::find_if(names.begin(), names.end(), [&](const auto& entry) { return entry.name == name; });
}

/// Reads a line of column names.
/// @return false for another line; `form` is then untouched
bool ReadColumns(std::span<const std::string_view> words, PosForm& form) {
  PosForm read = form;
  PosLayout layout;
  layout.at.fill(PosLayout::kNone);
  const auto at = [&](PosColumn column) -> std::size_t& { return layout.at[static_cast<std::size_t>(column)]; };
  std::size_t token = 0;
  for (const std::string_view word : words) {
    const std::size_t unit = std::min(word.find_first_of("(["), word.size());
    const std::string name = LowerCase(std::string(word.substr(0, unit)));
    if (name.empty()) continue;
    std::size_t tokens = 1;
    if (const auto scale = Find(name, kScaleNames); scale != kScaleNames.end() && token == 0) {
      read.scale = scale->scale, tokens = scale->tokens;
      at(PosColumn::Time) = token;
    } else if (const auto column = Find(name, kColumnNames); column != kColumnNames.end()) {
      if (column->place != PosPlace::Unknown) read.place = column->place;
      const bool isAngle = column->place == PosPlace::Geographic && column->column != PosColumn::Z;
      if (isAngle && word.substr(unit).find('\'') != word.npos)
        layout.isSexagesimal = true, tokens = kSexagesimalTokens;
      at(column->column) = token;
      const std::string height = LowerCase(std::string(word.substr(unit)));
      if (column->column == PosColumn::Z && height.size() > 2 && height[1] != 'm')
        read.heightUnit = height.substr(1, height.size() - 2);
    }
    token += tokens;
  }
  layout.width = token;
  const auto isThere = [&](PosColumn column) { return at(column) != PosLayout::kNone; };
  if (!isThere(PosColumn::X) || !isThere(PosColumn::Y) || !isThere(PosColumn::Z)) return false;
  read.isTimeless = !isThere(PosColumn::Time);
  read.layout = layout;
  form = read;
  return true;
}

/// "(lat/lon/height=WGS84/geodetic,Q=1:fix,..."
bool ReadPlace(std::string_view line, PosForm& form) {
  constexpr std::pair<std::string_view, PosPlace> kPlaces[] = {{"lat/lon/height=", PosPlace::Geographic},
                                                               {"x/y/z-ecef=", PosPlace::Ecef},
                                                               {"e/n/u-baseline=", PosPlace::EastNorthUp},
                                                               {"x/y/z-baseline=", PosPlace::EcefBaseline}};
  for (const auto& [words, place] : kPlaces) {
    const std::size_t found = line.find(words);
    if (found == line.npos) continue;
    const std::string_view value = line.substr(found + words.size());
    form.place = place;
    form.datum = value.substr(0, value.find_first_of("/,) "));
    form.heightsAboveGeoid = value.substr(form.datum.size()).starts_with("/geodetic");
    return true;
  }
  return false;
}

/// "ref pos   : 35.132057068  139.624306577    73.9077", with angles of three parts, or ECEF metres
void ReadReference(std::string_view line, PosForm& form) {
  constexpr std::size_t kDecimal = 3, kSexagesimal = 7;
  const std::size_t label = line.find("ref pos"), colon = line.find(':', label);
  if (label == line.npos || colon == line.npos) return;
  Tokens tokens;
  const std::size_t count = SplitPosLine(line.substr(colon + 1), tokens);
  const bool isSexagesimal = count == kSexagesimal;
  if (count != kDecimal && !isSexagesimal) return;
  const auto angle = [&](std::size_t at, double largest) {
    return isSexagesimal ? SexagesimalAngle(&tokens[kSexagesimalTokens * at], largest) : FiniteNumber(tokens[at]);
  };
  const auto first = angle(0, 90), second = angle(1, 360), third = FiniteNumber(tokens[count - 1]);
  if (!first || !second || !third) return;
  const Ecef point{*first, *second, *third};
  if (!isSexagesimal && IsNearTheGround(point)) {
    form.reference = point;
  } else if (std::abs(*first) <= 90 && std::abs(*second) <= 360) {
    form.reference = ToEcef({*first, *second, *third});
  }
}

/// @return 0 when the commas are those of decimals: a field has one token, an angle or time up to three
std::size_t SplitFields(std::string_view line, char separator, Tokens& tokens) {
  std::size_t count = 0, fields = 0;
  for (std::size_t length = 0; length != line.npos && count < tokens.size(); ++fields) {
    length = line.find(separator);
    std::array<std::string_view, kSexagesimalTokens + 1> words;
    const auto found = Tokenise(line.substr(0, length), kBlanks, words);
    if (found.size() > kSexagesimalTokens || (found.size() == 2 && fields > 0)) return 0;
    if (found.empty()) tokens[count++] = {};
    for (const std::string_view word : found) {
      if (count < tokens.size()) tokens[count++] = word;
    }
    if (length != line.npos) line.remove_prefix(length + 1);
  }
  return count;
}

}  // namespace

PosLayout::PosLayout(bool sexagesimal) : isSexagesimal(sexagesimal) {
  const std::size_t angle = sexagesimal ? kSexagesimalTokens : 1;
  const std::size_t height = kTimeTokens + 2 * angle;
  at = {0, kTimeTokens, kTimeTokens + angle, height};
  for (std::size_t column = 4; column < kPosColumns; ++column) at[column] = height + column - 3;
  width = height + 11;  // age and ratio come last
}

std::size_t PosLayout::NeededWidth() const {
  const std::size_t angle = isSexagesimal ? kSexagesimalTokens : 1;
  return std::max(
      {At(PosColumn::Time) + kTimeTokens, At(PosColumn::X) + angle, At(PosColumn::Y) + angle, At(PosColumn::Z) + 1});
}

void PosHeader::ReadComment(std::string_view line) {
  if (!isBlockOpen_) draft_ = {}, isBlockOpen_ = true;
  line = WithoutBlanks(line, " \t\r%#!*");
  Tokens words;
  ReadReference(line, draft_);
  const bool isPlace = ReadPlace(line, draft_);
  const bool isColumns = !isPlace && ReadColumns({words.data(), SplitPosLine(line, words)}, draft_);
  if (isPlace || isColumns || draft_.layout || draft_.place != PosPlace::Unknown) form_ = draft_;
}

std::size_t SplitPosLine(std::string_view line, std::array<std::string_view, 40>& tokens) {
  const std::size_t mark = line.find_first_of(",;");
  if (mark != line.npos) {
    const std::size_t count = SplitFields(line, line.find(';') == line.npos ? ',' : ';', tokens);
    if (count > 0) return count;
  }
  return Tokenise(line, kBlanks, tokens).size();
}

std::optional<double> SexagesimalAngle(const std::string_view* tokens, double largestDegrees) {
  constexpr int kSixty = 60, kMinutesOfTurn = 3600;
  const auto degrees = WholeInteger(tokens[0]);
  if (!degrees) return std::nullopt;  // decimal degrees
  const auto minutes = WholeInteger(tokens[1]);
  if (!minutes) return std::nullopt;
  const auto seconds = FiniteNumber(tokens[2]);
  if (!seconds || tokens[2].find('.') == std::string_view::npos) return std::nullopt;
  const double whole = std::abs(static_cast<double>(*degrees));
  if (whole > largestDegrees || *minutes < 0 || *minutes >= kSixty || !(*seconds >= 0 && *seconds <= kSixty))
    return std::nullopt;
  const double angle = whole + static_cast<double>(*minutes) / kSixty + *seconds / kMinutesOfTurn;
  return tokens[0].starts_with('-') ? -angle : angle;  // of "-0" as well
}

}  // namespace kv::mission
