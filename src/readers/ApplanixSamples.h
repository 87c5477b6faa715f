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
#include "readers/ByteOrderMark.h"
#include "readers/PosTime.h"

namespace kv {

/// Where the columns of an Applanix export stand in a row.
class ApplanixColumns {
 public:
  /// No columns.
  ApplanixColumns();
  explicit ApplanixColumns(const ApplanixHeader& header);

  /// Names of the required columns that are not there, separated by ", ".
  const std::wstring& Missing() const { return missing_; }

  /// @param earlier  the row before, whose texts are shared where they are equal
  /// @param seconds  receives the time
  /// @return         false for a row of too few columns or with something else where a finite number should be; `row` is
  ///                 not defined then
  bool ReadRow(std::span<const std::wstring_view> tokens, const tagKVPosEvent& earlier, double& seconds,
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

  /// Sets where the mission begins, in place of the header's date.
  void BeginAt(FILETIME timeUTC);

  /// @param line     bytes in the code page; a byte order mark before the first line is skipped
  /// @param samples  receives the sample of a row; it shares texts with the last one there
  void Read(std::string_view line, std::vector<tagKVPosEvent>& samples);

  bool IsInRows() const { return columns_.has_value(); }  ///< the header has ended

  /// Names of the required columns that the header lacks, separated by ", "; all of them while it has not ended.
  std::wstring MissingColumns() const { return columns_.value_or(ApplanixColumns()).Missing(); }

  /// A date was given, or the header had one that exists. Without it rows give no samples.
  bool IsDated() const { return start_.has_value(); }

  /// False once the header has ended without a date or a required column: no later line gives a sample.
  bool IsReadable() const { return !columns_ || (start_ && columns_->Missing().empty()); }

  std::size_t Skipped() const { return skipped_; }  ///< rows that could not be read; blank lines are not counted

  std::wstring_view Datum() const { return header_.Datum(); }  ///< of the mapping frame
  std::wstring_view Projection() const { return header_.Projection(); }

 private:
  void ReadRow(std::vector<tagKVPosEvent>& samples);

  ByteOrderMark mark_;
  std::wstring line_;
  std::array<std::wstring_view, ApplanixHeader::kMostColumns> tokens_;
  ApplanixHeader header_;
  std::optional<ApplanixColumns> columns_;
  std::optional<WeekStart> start_;
  CStringW datum_, projection_, kind_;
  std::optional<std::int32_t> week_;  // of the latest sample
  CStringW weekText_;
  tagKVPosEvent none_;  // stands for the row before the first
  PosClock clock_;
  std::size_t skipped_ = 0;
};

}  // namespace kv
