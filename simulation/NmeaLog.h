#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "simulation/MissionOptions.h"
#include "simulation/OutputFile.h"
#include "simulation/Random.h"

namespace kv::simulation {

/// A file of NMEA sentences, with the trouble of the mission's log.
/// @throws std::system_error when the file cannot be written
class NmeaLog {
 public:
  NmeaLog(const std::filesystem::path& path, const MissionOptions& options)
      : file_(path), trouble_(options.trouble.log), random_(options.seed, Stream::Log) {}

  /// Writes the sentence between "$" and "*", then its checksum, the exclusive or of its characters.
  void Write(std::string_view sentence);

  /// Writes the sentence of a fix, or keeps it until later ones are written.
  void WriteFix(std::string sentence);

  void Close();

 private:
  void WriteBytes();
  void WriteKept();

  OutputFile file_;
  LogTrouble trouble_;
  Random random_;
  std::string kept_;  // sentence of a fix
  int sentences_ = 0, fixes_ = 0;
};

/// Writes an echo sounder's log of one depth a second.
/// @throws std::system_error when the file cannot be written
void WriteInstrumentFile(const std::filesystem::path& path, const MissionOptions& options);

}  // namespace kv::simulation
