#include "outputs/Markup.h"

#include <fmt/format.h>

namespace kv::mission {

std::string WithoutControls(std::string_view text) {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string clean;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const auto three = text.substr(i, 3);
    const bool isNone = three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF";  // U+FFFE, U+FFFF
    if (isNone || (static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\r' && c != '\t')) {
      clean += kReplacement;
      i += isNone ? 2 : 0;
    } else {
      clean += c;
    }
  }
  return clean;
}

std::string XmlText(std::string_view text) {
  constexpr std::string_view kEntities = "&<>\"\n\r\t";
  constexpr const char* kReferences[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&#10;", "&#13;", "&#9;"};
  std::string xml;
  for (const char c : WithoutControls(text)) {
    const auto entity = kEntities.find(c);
    entity == kEntities.npos ? xml += c : xml += kReferences[entity];
  }
  return xml;
}

std::string LinkTo(const std::filesystem::path& path) {
  constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  std::string link;
  for (const char8_t byte : path.generic_u8string()) {
    const char c = static_cast<char>(byte);
    kPlain.find(c) == kPlain.npos ? link += fmt::format("%{:02X}", static_cast<unsigned>(byte)) : link += c;
  }
  return link;
}

}  // namespace kv::mission
