#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVRecords.h"
#include "readers/ApplanixHeader.h"
#include "readers/PosTime.h"
#include "text/Blanks.h"

namespace kv {

/// Positions of the columns of an Applanix export in a row.
class ApplanixColumns {
 public:
  /// No columns.
  ApplanixColumns();
  explicit ApplanixColumns(const ApplanixHeader& header);

  /// Names of the missing required columns, separated by ", ".
  const std::wstring& Missing() const { return missing_; }

  /// @param earlier  the previous row, whose texts are shared where equal
  /// @param seconds  receives the time
  /// @return         false for a row with too few columns or without a finite number where one belongs; `row` is then
  ///                 undefined
  bool ReadRow(std::span<const std::string_view> tokens, const tagKVPosEvent& earlier, double& seconds,
               tagKVPosEvent& row) const;

 private:
  static constexpr std::size_t kNumbers = 9, kTexts = 10;

  void AddMissing(std::wstring_view name);

  std::size_t count_ = 0;
  std::optional<std::size_t> time_;
  std::array<std::optional<std::size_t>, kNumbers> numbers_;
  std::array<std::optional<std::size_t>, kTexts> texts_;
  std::wstring missing_;
};

/// Turns the lines of an Applanix export into samples: first the header's, then the rows. Use one reader per file.
/// @see docs/formats/applanix.md
class ApplanixReader {
 public:
  using WeekStart = ApplanixHeader::WeekStart;

  /// @param calendar  that the samples' times pass through
  explicit ApplanixReader(Calendar calendar = Calendar::Local);

  /// Sets the start of the mission, overriding the header's date.
  void BeginAt(FILETIME timeUTC);

  /// @param line     bytes in the code page; a byte order mark before the first line is skipped
  /// @param samples  a row's sample is appended; it shares texts with the previous sample
  void Read(std::string_view line, std::vector<tagKVPosEvent>& samples);

  bool IsInRows() const { return columns_.has_value(); }  ///< the header has ended

  /// Names of the required columns that the header lacks, separated by ", "; all of them until the header has ended.
  std::wstring MissingColumns() const { return columns_.value_or(ApplanixColumns()).Missing(); }

  /// Whether a date was given or found in the header. Without a date, rows give no samples.
  bool IsDated() const { return start_.has_value(); }

  /// False once the header has ended without a date or a required column: no later line gives a sample.
  bool IsReadable() const { return !columns_ || (start_ && columns_->Missing().empty()); }

  std::size_t Skipped() const { return skipped_; }  ///< rows that could not be read; blank lines are not counted

  std::wstring_view Datum() const { return header_.Datum(); }  ///< of the mapping frame
  std::wstring_view Projection() const { return header_.Projection(); }

 private:
  void ReadRow(std::string_view line, std::vector<tagKVPosEvent>& samples);

  ByteOrderMark mark_;
  std::array<std::string_view, ApplanixHeader::kMostColumns> tokens_;
  ApplanixHeader header_;
  std::optional<ApplanixColumns> columns_;
  std::optional<WeekStart> start_;
  CStringW datum_, projection_, kind_;
  std::optional<std::int32_t> week_;  // of the latest sample
  CStringW weekText_;
  tagKVPosEvent none_;  // the "previous row" of the first
  PosClock clock_;
  std::size_t skipped_ = 0;
};

}  // namespace kv
