#pragma once

#include <filesystem>
#include <string_view>

namespace kv::mission {

enum class FileKind {
  Unknown,
  Trajectory,
  Events,
  HousekeepingLog,
  Pos,
  DroneTimestamps,
  DatedOrientation,
  ClockedOrientation,
  Applanix,
  Jpeg,
  Shapefile,
};

/// Recognises the beginning of a file by what stands in it.
/// @param head  its first bytes, some kilobytes of them
FileKind KindOfContent(std::string_view head);

/// The same for a file. @throws Failure when it cannot be read
FileKind KindOfFile(const std::filesystem::path& path);

}  // namespace kv::mission
