#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "KVRecords.h"
#include "readers/FieldFile.h"

/// Entries of the housekeeping log. See docs/formats/housekeeping.md.
namespace kv {

/// A device whose lines are kept whole. A line with exactly one field per reading after the device is a reading line;
/// its fields are the readings, decimals first.
struct HousekeepingDevice {
  std::wstring_view prefix;
  const wchar_t* readingLine = nullptr;  ///< description of a reading line
  std::span<double tagKVLogEvent::*const> decimals{};
  std::span<std::int32_t tagKVLogEvent::*const> integers{};
};

/// One entry, with details that its record cannot hold.
struct HousekeepingEntry {
  tagKVLogEvent event;
  const HousekeepingDevice* device = nullptr;  ///< of a reading line, else null
  std::bitset<8> numbers;  ///< which readings of the device were numbers, including infinite ones; the others are 0
  std::wstring errorLine;  ///< for an error entry, its line in the scan's error text with the line end; else empty
};

/// Turns the lines of a housekeeping log into entries and follows the firmware that wrote them. Use one reader per
/// file.
class HousekeepingReader {
 public:
  HousekeepingReader();

  /// @param line  bytes, each of which is one character in every code page; a line longer than `kLongestBoundedLine`
  ///              may be read only in part
  /// @return      nothing for a line of fewer than three fields
  std::optional<HousekeepingEntry> Read(std::string_view line);

 private:
  using Tokens = std::span<const std::wstring_view>;

  void WatchFirmware(Tokens tokens);
  void ReadDevice(Tokens deviceAndRest, HousekeepingEntry& entry);

  static constexpr std::size_t kDevices = 6;

  std::optional<std::int64_t> firmware_;  // version, once the log has stated it
  std::wstring line_, scratch_;
  std::array<std::wstring_view, (kLongestBoundedLine + 1) / 2> tokens_;  // one character and a delimiter each
  CStringW type_, source_, description_;  // the latest: an entry that repeats them shares their buffers
  std::array<CStringW, kDevices> readingLines_;
};

}  // namespace kv
