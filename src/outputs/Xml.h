#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// UTF-8 text as it stands between tags or double quotes of an XML document. U+FFFD replaces what XML cannot hold.
std::string XmlText(std::string_view text);

}  // namespace kv::mission
