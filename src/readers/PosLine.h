#pragma once

#include <KVMission.h>

#include <span>
#include <string_view>

#include "readers/PosSamples.h"

/// Lines of POS files: what each is, and why those that are not a sample are left out.
namespace kv::mission {

using namespace KVMission;

inline constexpr double kLargestLatitude = 90, kLargestLongitude = 360;  ///< degrees; what is beyond is garbled

/// Stricter than the rule of the strict scan, which takes what is not finite for numbers, and degrees, minutes and
/// seconds for a place.
/// @param tokens   the first `kPosTokens` of the line, as far as it has them
/// @param numbers  filled for kinds with numbers as of a sample
/// @see   docs/formats/pos.md
PosLineKind ClassifyPos(std::span<const std::string_view> tokens, PosNumbers& numbers);

/// Whether a line has all columns of a POS file, in a form that is read or in another one.
bool IsPosLine(std::string_view line);

}  // namespace kv::mission
