#pragma once

#include <KVRecords.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Log.h"
#include "mission/inputs/PosFile.h"
#include "report/Json.h"
#include "time/Instants.h"

/// The samples of a POS file in a target coordinate system.
namespace kv::mission {

struct PosSummary {
  std::filesystem::path file;
  PosCounts counts;
  std::string system;                      ///< name of the target
  bool isGeographic = false;               ///< degrees
  std::string heights;                     ///< what they are above, in words
  std::string geoidGrid;                   ///< empty when none is used
  std::size_t points = 0;                  ///< transformed
  std::optional<std::size_t> endedAtLine;  ///< from 1; that of the sample that could not be transformed
  TimeSpan span;
  Bounds bounds;  ///< in the target's coordinates

  /// Samples that were not transformed.
  std::size_t Lost() const { return counts.Of(PosLineKind::Sample) - points; }
  bool IsComplete() const { return counts.Dropped() == 0 && !endedAtLine; }
};

/// Samples that follow each other.
struct PosBlock {
  std::vector<tagKVPosEvent> samples;  ///< with the easting, or longitude, in `X`
  std::vector<std::size_t> lines;      ///< number of each sample's line, from 1; may be more
  std::size_t first = 0;               ///< number of the first sample, from 0
  std::string text;                    ///< for `prepare` to fill
};

/// What becomes of the blocks.
struct PosUse {
  std::function<void(PosBlock&)> prepare;  ///< called in several threads at once
  std::function<void(PosBlock&&)> take;    ///< called in the caller's thread, in the order of the file
};

/// Reads a POS file, transforms its samples, and warns of what is left out.
/// @param jobs  threads; 0 for as many as there are processors
/// @throws Failure when no sample is left, or none can be transformed; when the file cannot be read, or the user
///         interrupts
PosSummary TransformPos(const std::filesystem::path& path, const tagKVCoordinateSystem& target, unsigned jobs, Log& log,
                        const PosUse& use);

struct PosPoints {
  PosSummary summary;
  std::vector<tagKVPosEvent> samples;  ///< with the easting, or longitude, in `X`
};

/// The same with all samples at once.
PosPoints TransformPos(const std::filesystem::path& path, const tagKVCoordinateSystem& target, unsigned jobs, Log& log);

}  // namespace kv::mission
