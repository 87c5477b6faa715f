#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/Job.h"
#include "mission/inputs/PosFile.h"

/// The samples of a POS file in a target coordinate system.
namespace kv::mission {

/// Reads the coordinate system to transform into, and finds its geoid grid.
/// @param target  a file with its definition; or the definition: WKT, "EPSG:32633", "EPSG:32633+5773"
/// @throws Failure when a file cannot be read or does not hold a coordinate system, or when heights need a geoid grid
///         that is missing; (WrongUsage) when a text is neither a file nor a coordinate system
tagKVCoordinateSystem ReadTargetSystem(const std::string& target);

/// "heights above the geoid of the grid egm96_15.gtx", or what they are instead
std::string HeightsText(const tagKVCoordinateSystem& system);

/// Warns when the system is not on the ellipsoid that the grid is made for: heights are then not above the geoid.
void TellOfEllipsoid(const tagKVCoordinateSystem& system, Job& job);

/// Consecutive samples.
struct PosBlock {
  std::vector<tagKVPosEvent> samples;  ///< with the easting, or longitude, in `X`
  LineNumbers lines;                   ///< line number of each sample; may be more than the samples
  std::size_t first = 0;               ///< number of the first sample, from 0
  std::string text;                    ///< for `prepare` to fill
};

/// What to do with the blocks.
struct PosUse {
  PosDetail detail = PosDetail::Records;   ///< of the samples: places or records
  std::function<void(PosBlock&)> prepare;  ///< called in several threads at once
  std::function<void(PosBlock&)> take;     ///< called in the caller's thread, in the order of the file
};

/// Reads a POS file, transforms its samples and reports what is left out.
/// @param jobs  threads; 0 for as many as there are processors
/// @return      without samples
/// @throws Failure when no sample is left, or none can be transformed; when the file cannot be read; (Stopped)
PosPoints TransformPosFile(const std::filesystem::path& path, const tagKVCoordinateSystem& target, unsigned jobs,
                           const PosUse& use, Job& job);

/// Like `TransformPosFile`, with all samples at once.
PosPoints ReadPosPoints(const std::filesystem::path& path, const tagKVCoordinateSystem& target, unsigned jobs,
                        Job& job);

}  // namespace kv::mission
