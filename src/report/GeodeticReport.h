#pragma once

#include <string>

#include "report/Json.h"

/// The geodetic data that transformations use on this machine.
namespace kv::mission {

/// @throws Failure with the library's sentence
Json DescribeGeodeticData();

/// The same for people, with the grids that are present.
std::string GeodeticText(const Json& description);

}  // namespace kv::mission
