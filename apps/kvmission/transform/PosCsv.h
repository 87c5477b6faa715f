#pragma once

#include <string>

#include "transform/PosPoints.h"

/// Transformed samples as a table with commas (RFC 4180), with a decimal point whatever the locale.
namespace kv::mission {

std::string PosCsvHeader();

/// @param decimals  of X and Y
std::string PosCsvRows(const PosBlock& block, int decimals);

}  // namespace kv::mission
