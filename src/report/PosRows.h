#pragma once

#include <string>

#include "mission/PosPoints.h"

/// Transformed samples as text, with a decimal point whatever the locale.
namespace kv::mission {

std::string PosCsvHeader();

/// A table of all columns with commas (RFC 4180).
/// @param decimals  of X and Y
std::string PosCsvRows(const PosBlock& block, int decimals);

/// The coordinates alone, X, Y and Z with blanks between them.
std::string PosXyzRows(const PosBlock& block, int decimals);

}  // namespace kv::mission
