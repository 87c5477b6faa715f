#pragma once

#include <KVRecords.h>

#include <string>

#include "base/Log.h"

namespace kv::mission {

/// The coordinate system to transform into, with its geoid grid.
/// @param target  a file with its definition; or the definition: WKT, "EPSG:32633", "EPSG:32633+5773"
/// @throws Failure when a file cannot be read or holds no coordinate system, or when heights need a geoid grid that is
///         not there; one for wrong usage when a text is neither file nor coordinate system
tagKVCoordinateSystem ReadTargetSystem(const std::string& target);

/// "heights above the geoid of the grid egm96_15.gtx", or what they are instead
std::string HeightsText(const tagKVCoordinateSystem& system);

/// The grid's heights are above the geoid only if the system is on the ellipsoid that the grid is made for.
void WarnOfEllipsoid(const tagKVCoordinateSystem& system, Log& log);

}  // namespace kv::mission
