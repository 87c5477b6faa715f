#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kv::mission {

/// UTF-8 text as it stands between tags or double quotes of an XML or HTML document. U+FFFD replaces what XML cannot
/// hold.
std::string XmlText(std::string_view text);

/// Text in which U+FFFD stands for what XML cannot hold.
std::string WithoutControls(std::string_view text);

/// A path as the reference of a link: every byte but letters, digits and "-._~/" is percent-encoded, so that names that
/// are not UTF-8 lead to their files too.
std::string LinkTo(const std::filesystem::path& path);

}  // namespace kv::mission
