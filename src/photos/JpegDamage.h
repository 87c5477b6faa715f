#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// Decodes a JPEG file at an eighth of its size to see whether it is whole. A turned copy would hide the damage: decoders
/// fill gaps with guesses.
/// @param file  fewer than 2^32 bytes
/// @return      the decoder's first complaint about the picture; empty when the picture is whole
std::string JpegDamage(std::string_view file);

}  // namespace kv::mission
