#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "KVRecords.h"
#include "readers/FieldFile.h"
#include "readers/PosTime.h"

/// Samples of POS files. See docs/formats/pos.md.
namespace kv {

inline constexpr Delimiters kPosDelimiters("\t ");
inline constexpr std::size_t kPosTokens = 15;  ///< fewest tokens of a sample; later ones are ignored

/// The numbers that a sample begins with.
struct PosNumbers {
  std::int32_t week = 0;  ///< GPS
  double secondsOfWeek = 0;
  double latitude = 0, longitude = 0;  ///< decimal degrees
  double height = 0;                   ///< metres above the ellipsoid
};

/// @param tokens  `kPosTokens` of a line
/// @return        false if the line is not a sample, with the numbers undefined; ranges are not checked
bool ReadPosNumbers(std::span<const std::string_view> tokens, PosNumbers& numbers);

/// Turns the lines of a POS file into samples. Use one reader per file, or per run of lines.
class PosSampleReader {
 public:
  /// @param calendar  that the samples' times pass through
  explicit PosSampleReader(Calendar calendar = Calendar::Local) : clock_(calendar) {}

  /// Fills in the place and `TimeUTC` alone, for those who want no texts.
  void ReadPlace(const PosNumbers& numbers, tagKVPosEvent& sample);

  /// Fills in the fields of a line; `X`, `Y` and `Z` stay as they are.
  /// @param tokens   `kPosTokens` of the line, in the code page
  /// @param numbers  of these tokens
  void Read(std::span<const std::string_view> tokens, const PosNumbers& numbers, tagKVPosEvent& sample);

 private:
  CStringW Text(std::string_view ansi);

  PosClock clock_;
  ColumnText weeks_;
  std::array<ColumnText, 10> kept_;
  std::wstring wide_;
};

}  // namespace kv
