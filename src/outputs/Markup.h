#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// UTF-8 text as it stands between tags or double quotes of an XML or HTML document. U+FFFD replaces what XML cannot
/// hold.
std::string XmlText(std::string_view text);

/// A path as the reference of a link: every byte but letters, digits and "-._~/" is percent-encoded.
std::string LinkTo(std::string_view path);

}  // namespace kv::mission
