#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <vector>

#include "base/LineNumbers.h"
#include "base/Log.h"
#include "georef/EventRecords.h"
#include "mission/inputs/OrientationFile.h"

/// The orientation sensor's variant, whose readings have the master clock's ticks and times by heartbeats between them.
namespace kv::mission {

struct ClockedOrientation {
  std::vector<EventRecord> records;  ///< readings and heartbeats that stay, with continuous ticks, in file order
  bool heartbeatsAgree = true;

  LineNumbers Readings() const;  ///< their lines
};

/// Looks at every line. Lone ticks far from those beside them and heartbeats off the line of the others are left out, as
/// of an event file.
/// @param file  receives the counts of lines and heartbeats, and what is left out
ClockedOrientation ReadStamps(const std::filesystem::path& path, OrientationFile& file);

/// Writes the lines that stay, with continuous ticks.
void CopyClocked(const std::filesystem::path& path, const std::filesystem::path& copy,
                 const ClockedOrientation& clocked);

/// Takes away times that the heartbeats do not give, and says why.
/// @param readings  as scanned, one for each reading that stays
void ClearUnsoundTimes(const ClockedOrientation& clocked, std::vector<tagKVAosEvent>& readings, Log& log);

}  // namespace kv::mission
