#pragma once

#include <filesystem>
#include <string>

#include "report/Json.h"

namespace kv::mission {

/// Says what a file is and holds.
/// @param maxGap  seconds between fixes or heartbeats from which on it is a gap
/// @return        an object; the key "kind" tells which others there are
/// @throws Failure when the file cannot be read
Json DescribeFile(const std::filesystem::path& path, double maxGap);

/// The same for people: a line for each value, long lists cut short.
std::string DescriptionText(const Json& description);

}  // namespace kv::mission
