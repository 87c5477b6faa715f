#pragma once

#include <string>
#include <vector>

#include "mission/PosPoints.h"
#include "report/Json.h"

/// What was read from a POS file, what came of it and what was left out.
namespace kv::mission {

/// For people. The file's name comes first, in a line that begins like those of other inputs.
std::vector<std::string> PosReportLines(const PosSummary& summary);

/// For programs.
Json JsonOf(const PosSummary& summary);

/// The keys "lines", "samples" and "leftOut".
Json JsonOfLines(const PosCounts& counts);

}  // namespace kv::mission
