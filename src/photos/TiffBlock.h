#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The structure in which EXIF data are stored: directories of tags, linked by offsets from the beginning of the block.
namespace kv::mission {

enum class TiffType : std::uint16_t { Byte = 1, Ascii = 2, Short = 3, Long = 4, Rational = 5, Undefined = 7 };

struct TiffEntry {
  std::uint16_t tag;
  std::uint16_t type;
  std::uint32_t count;
  std::string value;  ///< bytes in the order of the block
  std::size_t at;     ///< where the bytes stand in the block
};

/// A block that is changed by overwriting numbers and by appending: whatever else it holds stays where it is, so that
/// offsets inside maker notes, which only their makers understand, stay right.
class TiffBlock {
 public:
  /// @throws Failure when the block does not begin as it must
  explicit TiffBlock(std::string bytes);

  const std::string& Bytes() const { return bytes_; }
  bool IsBigEndian() const { return isBigEndian_; }

  std::uint32_t FirstDirectory() const { return Long(4); }
  /// @throws Failure when the directory, or the value of an entry, is not inside the block
  std::vector<TiffEntry> Directory(std::size_t at) const;

  /// Adds an entry to the first directory, which is copied to the end of the block for that.
  void AddToFirstDirectory(std::uint16_t tag, std::uint32_t value);

  /// Appends a directory with its values, on an even offset. @return its offset
  std::uint32_t Append(const std::vector<TiffEntry>& entries);

  /// Removes a directory and its values if they are the end of the block, written as `Append` does.
  void RemoveLast(std::size_t at);

  std::uint32_t Long(std::size_t at) const;
  void SetLong(std::size_t at, std::uint32_t value);

 private:
  std::uint16_t Short(std::size_t at) const;
  void Check(std::size_t at, std::size_t length) const;
  std::string Written(const std::vector<TiffEntry>& entries, std::size_t at) const;
  void PadToEven();

  std::string bytes_;
  bool isBigEndian_ = false;
};

/// A number as it stands in a block, of one to four bytes.
std::string TiffNumber(std::uint32_t value, std::size_t bytes, bool isBigEndian);

}  // namespace kv::mission
