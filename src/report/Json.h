#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "mission/inputs/ApplanixExport.h"
#include "mission/inputs/OrientationFile.h"
#include "mission/inputs/Readings.h"
#include "mission/inputs/TimestampFile.h"
#include "mission/inputs/Trajectory.h"

/// Pieces that the summary and the file information share.
namespace kv::mission {

using Json = nlohmann::ordered_json;

Json JsonOf(const Bounds& bounds);                ///< null when empty
Json JsonOf(const std::optional<Instant>& time);  ///< null when there is none
Json JsonOfLines(const NmeaCounts& counts);
Json JsonOf(const std::vector<Gap>& gaps);
Json JsonOf(const std::vector<ReadingRange>& readings);
Json JsonOf(const DroneTimestamps& timestamps);
Json JsonOf(const OrientationFile& orientation);
Json JsonOf(const ApplanixFile& applanix);

/// Indented, with a final line end; text that is no UTF-8 is replaced, control characters are escaped.
std::string Written(const Json& json);

}  // namespace kv::mission
