#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/TextStream.h"

/// Files read with care: a file that cannot be opened or read is a failure with the system's reason.
namespace kv::mission {

/// The first bytes of a file, as far as it has them.
/// @throws Failure when the file cannot be read, or is a folder
std::string ReadBeginning(const std::filesystem::path& path, std::size_t length);

/// @throws Failure for a pipe or a device, which cannot be read twice
void RefuseUnlessRegular(const std::filesystem::path& path);

/// The lines of a file in one pass and in fixed memory. LF and CR LF end a line; the last line needs no end. Of a line
/// longer than 256 KiB only the beginning is given: no field file has such lines.
class LineReader {
 public:
  /// @throws Failure when the file cannot be opened, or is a folder
  LineReader(const std::filesystem::path& path, CtrlZ ctrlZ);

  /// @param line  receives the next line without its end; valid until the next call
  /// @return      false at the end
  /// @throws      Failure when reading fails or the user interrupts
  bool Next(std::string_view& line);

  std::uint64_t BytesRead() const { return stream_.BytesRead(); }
  std::uint64_t FileSize() const { return stream_.FileBytes(); }  ///< 0 when it is not known, as of a pipe

 private:
  std::filesystem::path path_;
  TextStream stream_;
  std::uint64_t bytesChecked_ = 0;  // for an interrupt, once a block
  bool isInLine_ = false;           // the rest of a line that was too long comes next
};

}  // namespace kv::mission
