#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Job.h"
#include "mission/inputs/PostProcessed.h"

/// SBET files: trajectories with attitude from post-processing, binary.
/// @see docs/formats/sbet.md
namespace kv::mission {

/// Whether bytes begin like an SBET file: records of places, attitudes and times that follow each other.
bool BeginsLikeSbet(std::string_view head);

/// Reads an SBET file.
/// @param date   on which the file begins, or shortly before; for seconds of week. Without one times are those of week 0
/// @param fixes  receives those of all records that can be used
/// @throws Failure when the size is not a whole number of records, or no record is of a place on the Earth; when the file
///         cannot be read; (Stopped)
SbetFile ReadSbetFile(const std::filesystem::path& path, std::optional<Instant> date, std::vector<RawFix>& fixes,
                      Job& job);

}  // namespace kv::mission
