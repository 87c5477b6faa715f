#pragma once

#include <KVRecords.h>

#include <cstddef>
#include <string>

/// Transformed samples as a table with commas (RFC 4180), with a decimal point whatever the locale.
namespace kv::mission {

void AppendPosCsvHeader(std::string& text);

/// @param index     from 0
/// @param line      number of the sample's line in its file, from 1
/// @param decimals  of X and Y
void AppendPosCsvRow(const tagKVPosEvent& sample, std::size_t index, std::size_t line, int decimals, std::string& text);

}  // namespace kv::mission
