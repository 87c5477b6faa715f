#include "readers/PosLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "text/Numbers.h"
#include "text/Tokens.h"

namespace kv::mission {
namespace {

constexpr std::string_view kDigits = "0123456789";

using Span = std::span<const std::string_view>;

/// "2024/06/24" or "2024-06-24", a time of day behind it or not.
bool BeginsWithDate(std::string_view token) {
  const std::size_t year = std::min(token.find_first_not_of(kDigits), token.size());
  if (year == 0 || year == token.size() || (token[year] != '/' && token[year] != '-')) return false;
  const std::string_view rest = token.substr(year + 1);
  const std::size_t month = std::min(rest.find_first_not_of(kDigits), rest.size());
  return month > 0 && month + 1 < rest.size() && rest[month] == token[year] &&
         kDigits.find(rest[month + 1]) != std::string_view::npos;
}

bool ReadDate(std::string_view token, CalendarFields& fields) {
  const std::size_t first = token.find_first_of("/-"), second = token.find_first_of("/-", first + 1);
  if (first == token.npos || second == token.npos) return false;
  const auto year = Digits(token.substr(0, first)), month = Digits(token.substr(first + 1, second - first - 1));
  const auto day = Digits(token.substr(second + 1));
  if (!year || !month || !day) return false;
  fields.year = *year, fields.month = *month, fields.day = *day;
  return true;
}

/// "08:20:00.125"
bool ReadClock(std::string_view token, CalendarFields& fields) {
  const std::size_t first = token.find(':'), second = token.find(':', first == token.npos ? first : first + 1);
  if (second == token.npos) return false;
  const auto hour = Digits(token.substr(0, first)), minute = Digits(token.substr(first + 1, second - first - 1));
  const auto seconds = FiniteNumber(token.substr(second + 1));
  if (!hour || !minute || !seconds) return false;
  fields.hour = *hour, fields.minute = *minute, fields.second = *seconds;
  return true;
}

bool HasSeparator(std::string_view week) {
  return std::any_of(week.begin(), week.end(), [](char c) { return c == ',' || c == ';' || c == '/' || c == '-'; });
}

bool HasAnglesOfThree(Span tokens) {
  constexpr std::size_t kLatitude = 2, kLongitude = 5, kEnd = 8;
  return tokens.size() >= kEnd && SexagesimalAngle(&tokens[kLatitude], kLargestLatitude) &&
         SexagesimalAngle(&tokens[kLongitude], kLargestLongitude);
}

/// @return false where week, seconds or place is not a number
bool ReadPlainNumbers(Span tokens, PosNumbers& numbers) {
  if (!ReadPosNumbers(tokens, numbers)) return false;
  return std::isfinite(numbers.secondsOfWeek) && std::isfinite(numbers.latitude) && std::isfinite(numbers.longitude) &&
         std::isfinite(numbers.height);
}

bool IsOnEarth(double latitude, double longitude, double height) {
  return std::abs(latitude) <= kLargestLatitude && std::abs(longitude) <= kLargestLongitude &&
         std::abs(height) <= kLargestHeight;
}

/// The number with at least three decimals, without further zeros at the end.
void PutDecimal(double number, int decimals, std::string& text) {
  constexpr std::size_t kLeast = 3;
  text.clear();
  fmt::format_to(std::back_inserter(text), "{:.{}f}", number, decimals);
  const std::size_t least = text.find('.') + 1 + kLeast;
  while (text.size() > least && text.back() == '0') text.pop_back();
}

/// What the file's quality figures mean: 1 fixed, 2 float, 3 SBAS, 4 differential, 5 single, 6 PPP, 7 dead reckoning.
PositionQuality QualityOf(int figure) {
  using enum PositionQuality;
  constexpr std::array kQualities{None, Fixed, Float, Dgps, Dgps, Single, Float, Estimated};
  const auto index = static_cast<std::size_t>(figure);
  return index < kQualities.size() ? kQualities[index] : None;
}

/// Variances along the axes of ENU, of which the sum of the first two is enough.
struct Variances {
  double horizontal = 0, vertical = 0;
};

/// @param sd  along x, y, z; then of xy, yz, zx: the root of the covariance, with its sign
Variances FromEcef(const std::array<double, 6>& sd, double latitude, double longitude) {
  const Ecef ground = ToEcef({latitude, longitude, 0}), above = ToEcef({latitude, longitude, 1});
  const std::array<double, 3> axis{above.x - ground.x, above.y - ground.y, above.z - ground.z};
  const auto part = [&](std::size_t i) { return std::copysign(sd[i] * sd[i], sd[i]); };
  double vertical = 0, all = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    all += part(i);
    vertical += part(i) * axis[i] * axis[i] + 2 * part(i + 3) * axis[i] * axis[(i + 1) % 3];
  }
  return {all - vertical, vertical};
}

}  // namespace

bool BeginsNumber(std::string_view line) {
  const std::size_t first = line.find_first_not_of(" \t,;");
  return first != line.npos && std::string_view("+-.0123456789").find(line[first]) != std::string_view::npos;
}

void PosLineReader::Use(const PosForm& form) {
  form_ = form;
  const PosLayout usual;
  isUsual_ = form.scale.value_or(TimeScale::Gps) == TimeScale::Gps && !form.isTimeless && form.heightUnit.empty() &&
             (form.place == PosPlace::Unknown || form.place == PosPlace::Geographic) &&
             (!form.layout || (form.layout->at == usual.at && form.layout->width >= usual.width));
}

PosLineKind PosLineReader::Read(std::string_view line) {
  isOther_ = isDated_ = false;
  const auto tokens = Tokenise(line, kPosDelimiters, std::span(tokens_));
  if (tokens.empty()) return PosLineKind::Blank;
  if (!BeginsNumber(tokens[0])) return PosLineKind::Comment;
  const bool isKnownDecimal = form_.layout && !form_.layout->isSexagesimal;
  if (!isUsual_ || HasSeparator(tokens[0].substr(1)) || (!isKnownDecimal && HasAnglesOfThree(tokens)))
    return ReadOther(line);
  if (tokens.size() < kPosTokens) return PosLineKind::Short;
  if (!ReadPlainNumbers(tokens, numbers_)) return PosLineKind::NotANumber;
  if (form_.place == PosPlace::Unknown && IsNearTheGround({numbers_.latitude, numbers_.longitude, numbers_.height}))
    return ReadOther(line);
  return IsOnEarth(numbers_.latitude, numbers_.longitude, numbers_.height) ? PosLineKind::Sample
                                                                           : PosLineKind::OutOfRange;
}

PosLineKind PosLineReader::ReadOther(std::string_view line) {
  isOther_ = true;
  if (form_.isTimeless || !form_.heightUnit.empty()) return PosLineKind::Short;
  count_ = SplitPosLine(line, all_);
  // A date and a time of day in one word count as two.
  if (const std::size_t t = all_[0].find('T'); count_ < all_.size() && BeginsWithDate(all_[0]) && t != line.npos) {
    std::copy_backward(all_.begin() + 1, all_.begin() + static_cast<std::ptrdiff_t>(count_),
                       all_.begin() + static_cast<std::ptrdiff_t>(count_ + 1));
    all_[1] = all_[0].substr(t + 1), all_[0] = all_[0].substr(0, t);
    ++count_;
  }
  layout_ = form_.layout ? *form_.layout : PosLayout(HasAnglesOfThree({all_.data(), count_}));
  const std::size_t least = std::min(layout_.width, PosLayout(layout_.isSexagesimal).width);
  if (count_ < std::max(least, layout_.NeededWidth())) return PosLineKind::Short;
  const std::size_t time = layout_.At(PosColumn::Time);
  isDated_ = BeginsWithDate(all_[time]);
  if (!isDated_ && (!WholeInteger32(all_[time]) || !FiniteNumber(all_[time + 1]))) return PosLineKind::NotANumber;
  if (!ReadTime(time)) return PosLineKind::OutOfRange;
  const PosLineKind kind = ReadPlace(layout_);
  if (kind == PosLineKind::Sample) MakeTokens(layout_);
  return kind;
}

bool PosLineReader::ReadTime(std::size_t at) {
  scale_ = form_.scale;
  std::optional<GpsTime> time;
  if (isDated_) {
    std::string_view clock = all_[at + 1];
    if (clock.ends_with('Z')) clock.remove_suffix(1), scale_ = TimeScale::Utc;
    CalendarFields fields;
    if (!ReadDate(all_[at], fields) || !ReadClock(clock, fields)) return false;
    time = GpsTimeOf(scale_.value_or(TimeScale::Gps), fields);
  } else {
    time = GpsTimeOf(scale_.value_or(TimeScale::Gps), *WholeInteger32(all_[at]), *FiniteNumber(all_[at + 1]));
  }
  if (!time) return false;
  numbers_.week = time->week, numbers_.secondsOfWeek = time->secondsOfWeek;
  return true;
}

PosLineKind PosLineReader::ReadPlace(const PosLayout& layout) {
  const auto number = [&](PosColumn column) {
    const std::string_view* token = &all_[layout.At(column)];
    if (!layout.isSexagesimal || column == PosColumn::Z) return FiniteNumber(*token);
    return SexagesimalAngle(token, column == PosColumn::X ? kLargestLatitude : kLargestLongitude);
  };
  const auto x = number(PosColumn::X), y = number(PosColumn::Y), z = number(PosColumn::Z);
  if (!x || !y || !z) return PosLineKind::NotANumber;
  place_ = form_.place;
  if (place_ == PosPlace::Unknown) {
    const bool isEcef = !layout.isSexagesimal && IsNearTheGround({*x, *y, *z});
    place_ = isEcef ? PosPlace::Ecef : PosPlace::Geographic;
  }
  Geodetic place{*x, *y, *z};
  if (place_ != PosPlace::Geographic) {
    Ecef point{*x, *y, *z};
    if (place_ != PosPlace::Ecef && !form_.reference) return PosLineKind::Baseline;
    if (place_ == PosPlace::EastNorthUp) point = Moved(*form_.reference, {*x, *y, *z});
    if (place_ == PosPlace::EcefBaseline)
      point = {form_.reference->x + *x, form_.reference->y + *y, form_.reference->z + *z};
    if (!IsNearTheGround(point)) return PosLineKind::OutOfRange;
    place = ToGeodetic(point);
  }
  numbers_.latitude = place.latitude, numbers_.longitude = place.longitude, numbers_.height = place.height;
  return IsOnEarth(place.latitude, place.longitude, place.height) ? PosLineKind::Sample : PosLineKind::OutOfRange;
}

void PosLineReader::MakeTokens(const PosLayout& layout) {
  constexpr int kSecondsDecimals = 9, kAngleDecimals = 10, kHeightDecimals = 5;  // 1 ns, 0.01 mm
  const std::size_t time = layout.At(PosColumn::Time), first = layout.At(PosColumn::X);
  const std::size_t second = layout.At(PosColumn::Y), height = layout.At(PosColumn::Z);
  const std::size_t angle = layout.isSexagesimal ? 3 : 1;
  const bool isTimeKept = !isDated_ && scale_.value_or(TimeScale::Gps) == TimeScale::Gps;
  const bool isPlaceKept = place_ == PosPlace::Geographic && !layout.isSexagesimal;
  if (!isTimeKept) {
    made_[0] = std::to_string(numbers_.week);
    PutDecimal(numbers_.secondsOfWeek, kSecondsDecimals, made_[1]);
  }
  tokens_[0] = isTimeKept ? all_[time] : made_[0], tokens_[1] = isTimeKept ? all_[time + 1] : made_[1];
  if (!isPlaceKept) {
    PutDecimal(numbers_.latitude, kAngleDecimals, made_[2]);
    PutDecimal(numbers_.longitude, kAngleDecimals, made_[3]);
    PutDecimal(numbers_.height, kHeightDecimals, made_[4]);
  }
  tokens_[2] = isPlaceKept ? all_[first] : made_[2], tokens_[3] = isPlaceKept ? all_[second] : made_[3];
  tokens_[4] = place_ == PosPlace::Geographic ? all_[height] : made_[4];
  const auto isRead = [&](std::size_t at) {
    return (at >= time && at < time + 2) || (at >= first && at < first + angle) ||
           (at >= second && at < second + angle) || at == height;
  };
  std::size_t kept = 5;
  for (std::size_t at = 0; at < count_ && kept < kPosTokens; ++at) {
    if (!isRead(at)) tokens_[kept++] = all_[at];
  }
  std::fill(tokens_.begin() + static_cast<std::ptrdiff_t>(kept), tokens_.end(), std::string_view());
}

std::string_view PosLineReader::Token(PosColumn column) const {
  const std::size_t at = (isOther_ ? layout_ : form_.layout.value_or(PosLayout())).At(column);
  if (isOther_) return at < count_ ? all_[at] : std::string_view();
  return at < kPosTokens ? tokens_[at] : std::string_view();
}

int PosLineReader::QualityFigure() const { return Digits(Token(PosColumn::Quality)).value_or(0); }

FixQuality PosLineReader::Quality() const {
  constexpr int kMostSatellites = 0xFFFF;
  FixQuality quality;
  quality.quality = QualityOf(QualityFigure());
  quality.satellites =
      static_cast<std::uint16_t>(std::min(Digits(Token(PosColumn::Satellites)).value_or(0), kMostSatellites));
  constexpr std::array kColumns{PosColumn::Sd0,  PosColumn::Sd1,  PosColumn::Sd2,
                                PosColumn::Sd01, PosColumn::Sd12, PosColumn::Sd20};
  std::array<double, 6> sd;
  std::transform(kColumns.begin(), kColumns.end(), sd.begin(),
                 [&](PosColumn column) { return FiniteNumber(Token(column)).value_or(std::nan("")); });
  Variances variances{sd[0] * sd[0] + sd[1] * sd[1], sd[2] * sd[2]};
  if (isOther_ && (place_ == PosPlace::Ecef || place_ == PosPlace::EcefBaseline))
    variances = FromEcef(sd, numbers_.latitude, numbers_.longitude);
  if (variances.horizontal > 0) quality.horizontalSigma = static_cast<float>(std::sqrt(variances.horizontal / 2));
  if (variances.vertical > 0) quality.verticalSigma = static_cast<float>(std::sqrt(variances.vertical));
  return quality;
}

std::string PosLineReader::FormText() const {
  constexpr const char *kScales[] = {"GPS time", "UTC", "JST"},
                       *kPlaces[] = {"", "degrees", "ECEF", "baselines east, north, up", "baselines in ECEF"};
  const auto scale = isOther_ ? scale_ : form_.scale;
  const char* const name = kScales[static_cast<std::size_t>(scale.value_or(TimeScale::Gps))];
  std::string text = isDated_ ? fmt::format("date and time of day ({})", scale ? name : "time system not named")
                              : fmt::format("week and seconds ({})", name);
  const PosPlace place = isOther_ ? place_ : PosPlace::Geographic;
  text += fmt::format(", {}", kPlaces[static_cast<std::size_t>(place)]);
  if (isOther_ && layout_.isSexagesimal) text += ", minutes and seconds";
  if (place == PosPlace::Geographic)
    text += form_.heightsAboveGeoid ? ", heights above the geoid" : ", ellipsoidal heights";
  return text;
}

}  // namespace kv::mission
