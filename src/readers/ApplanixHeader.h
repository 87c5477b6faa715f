#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kv {

/// The header of an Applanix export, read line by line. See docs/formats/applanix.md.
class ApplanixHeader {
 public:
  /// Where the mission begins in GPS time.
  struct WeekStart {
    std::int32_t week;
    double secondsOfWeek;
  };

  static constexpr std::size_t kMostColumns = 64;  ///< later ones are ignored

  /// @param line  bytes in the code page
  /// @return      whether it ends the header
  bool Read(std::string_view line);

  /// Start of the mission; midnight if the header has no valid time of day, nothing if it has no valid date.
  std::optional<WeekStart> Start() const;

  /// Column names from the last line before the end; a name may be empty.
  const std::vector<std::wstring>& Columns() const { return columns_; }

  std::wstring_view Datum() const { return values_[kDatum]; }
  std::wstring_view Projection() const { return values_[kProjection]; }

 private:
  enum Entry : std::size_t { kDate, kTime, kDatum, kProjection, kEntries };

  void ReadColumns(std::string_view line);
  void ReadEntry(std::string_view text);

  std::vector<std::wstring> columns_;
  std::array<std::wstring, kEntries> values_;
};

}  // namespace kv
