#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// Text as it stands in XML and HTML, also between quotes. A character that XML cannot hold becomes U+FFFD.
/// @param text  UTF-8
std::string Escaped(std::string_view text);

/// A path as the reference of a link: every byte but letters, digits and "-._~/" is percent-encoded.
std::string LinkTo(std::string_view path);

}  // namespace kv::mission
