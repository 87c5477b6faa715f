#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// Decodes a JPEG file once, at an eighth of its size: what a decoder fills up or guesses would look sound in a copy.
/// @param file  below 2^32 bytes
/// @return      the decoder's first complaint about the picture; empty for a whole one
std::string JpegDamage(std::string_view file);

}  // namespace kv::mission
