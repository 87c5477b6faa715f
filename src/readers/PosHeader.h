#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "georef/Ellipsoid.h"
#include "time/GpsTimes.h"

/// What the header of a POS file says about the lines after it.
/// @see docs/formats/pos.md
namespace kv::mission {

enum class PosPlace { Unknown, Geographic, Ecef, EastNorthUp, EcefBaseline };

/// The columns that are looked for, in the order in which a file without a header has them. Deviations and the parts of
/// covariances count along the axes of the place: north, east, up and ne, eu, un; or x, y, z and xy, yz, zx.
enum class PosColumn : std::size_t { Time, X, Y, Z, Quality, Satellites, Sd0, Sd1, Sd2, Sd01, Sd12, Sd20 };
inline constexpr std::size_t kPosColumns = 12;

/// The first token of each column; `kNone` for one that is not there. A time has two tokens; an angle has three if it is
/// in degrees, minutes and seconds.
struct PosLayout {
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  /// The usual layout.
  explicit PosLayout(bool isSexagesimal = false);

  std::size_t At(PosColumn column) const { return at[static_cast<std::size_t>(column)]; }
  /// Tokens up to the last one of time and place.
  std::size_t NeededWidth() const;
  friend bool operator==(const PosLayout&, const PosLayout&) = default;

  std::array<std::size_t, kPosColumns> at;
  std::size_t width;  ///< tokens of a whole line
  bool isSexagesimal;
};

struct PosForm {
  std::optional<TimeScale> scale;
  PosPlace place = PosPlace::Unknown;
  bool heightsAboveGeoid = false;
  std::string datum;                ///< "WGS84"; empty when it is not named
  std::optional<Ecef> reference;    ///< of baselines
  std::optional<PosLayout> layout;  ///< as the names of the columns give it
  bool isTimeless = false;          ///< columns of places, but none of a time
  std::string heightUnit;           ///< if it is not the metre: such heights are not read

  friend bool operator==(const PosForm&, const PosForm&) = default;
};

/// Collects what comment lines say. A block of comments after data that describes columns or places replaces all that
/// was said before.
class PosHeader {
 public:
  /// @param line  the first word is not a number
  void ReadComment(std::string_view line);
  /// To be told of lines with data.
  void EndBlock() { isBlockOpen_ = false; }

  const PosForm& Form() const { return form_; }
  bool IsFound() const { return form_ != PosForm(); }

 private:
  PosForm form_, draft_;
  bool isBlockOpen_ = false;
};

/// Splits a line at commas or semicolons, whichever its beginning has, and at blanks and tabs. A field without text
/// between two separators is an empty token.
/// @param tokens  filled from the start; tokens beyond its size are dropped
/// @return        the number of tokens
std::size_t SplitPosLine(std::string_view line, std::array<std::string_view, 40>& tokens);

/// Degrees of an angle: whole degrees, whole minutes, seconds with a fraction.
/// @param tokens  three
std::optional<double> SexagesimalAngle(const std::string_view* tokens, double largestDegrees);

}  // namespace kv::mission
