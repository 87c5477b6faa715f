#pragma once

#include <string>

#include "mission/PosPoints.h"

/// Transformed samples as text, with a decimal point whatever the locale.
namespace kv::mission {

std::string PosCsvHeader();

/// A table of all columns with commas (RFC 4180).
/// @param decimals  of X and Y
/// @param text      receives it
void PosCsvRows(const PosBlock& block, int decimals, std::string& text);

/// The coordinates alone, X, Y and Z with blanks between them.
void PosXyzRows(const PosBlock& block, int decimals, std::string& text);

}  // namespace kv::mission
