#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "base/Job.h"
#include "platform/TextStream.h"

/// Careful reading: a file that cannot be opened or read is a failure with the system's reason.
namespace kv::mission {

/// @throws Failure "PATH: cannot be read: REASON"
[[noreturn]] void FailReading(const std::filesystem::path& path,
                              const std::error_code& reason = {errno, std::generic_category()});

/// The first bytes of a file, or all of it if it is shorter.
/// @throws Failure when the file cannot be read, or is a folder
std::string ReadBeginning(const std::filesystem::path& path, std::size_t length);

/// All of a small file of definitions or settings.
/// @param largest  bytes
/// @param what     for the message: "a mission file"
/// @param reason   of the failure when it is larger
/// @throws Failure when the file cannot be read, or is too large
std::string ReadSmallFile(const std::filesystem::path& path, std::size_t largest, const char* what,
                          Failure::Reason reason);

/// @throws Failure for a pipe or a device, which cannot be read twice
void RefuseUnlessRegular(const std::filesystem::path& path);

/// The lines of a file in one pass and in fixed memory. LF and CR LF end a line; the last line needs no end. A line
/// longer than 64 KiB is cut off there, with a finding: no field file has such lines. Reports progress.
class LineReader {
 public:
  /// @param what  for the progress: "reading the trajectory"
  /// @throws Failure when the file cannot be opened, or is a folder
  LineReader(const std::filesystem::path& path, CtrlZ ctrlZ, Job& job, const char* what);

  /// @param line  receives the next line without its end, the first one without a byte order mark; valid until the next
  ///              call
  /// @return      false at the end
  /// @throws      Failure when reading fails; (Stopped)
  bool Next(std::string_view& line);

  std::size_t Number() const { return number_; }                   ///< of the latest line, from 1
  std::uint64_t BytesLeft() const { return stream_.BytesLeft(); }  ///< after it; 0 when the file's size is not known

 private:
  void CheckStop();
  void Cut(std::string_view& line);
  /// @throws Failure when it is not the end, but reading fails
  void TellOfEnd();
  void ThrowOnError();

  std::filesystem::path path_;
  TextStream stream_;
  Job& job_;
  Meter meter_;
  std::uint64_t bytesChecked_ = 0;  // when a stop was last asked for: once per block
  std::size_t number_ = 0;
  LineNumbers cut_;
  bool isInLine_ = false;  // the rest of a line that was too long comes next
};

}  // namespace kv::mission
