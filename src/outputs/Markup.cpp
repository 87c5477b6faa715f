#include "outputs/Markup.h"

#include <fmt/format.h>

namespace kv::mission {

std::string XmlText(std::string_view text) {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  constexpr std::string_view kEntities = "&<>\"\n\r\t";
  constexpr const char* kReferences[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&#10;", "&#13;", "&#9;"};
  std::string xml;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (const auto entity = kEntities.find(c); entity != kEntities.npos) {
      xml += kReferences[entity];
    } else if (static_cast<unsigned char>(c) < ' ') {
      xml += kReplacement;
    } else if (const auto three = text.substr(i, 3); three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF") {
      xml += kReplacement;
      i += 2;
    } else {
      xml += c;
    }
  }
  return xml;
}

std::string LinkTo(std::string_view path) {
  constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  std::string link;
  for (const char c : path)
    kPlain.find(c) == kPlain.npos ? link += fmt::format("%{:02X}", static_cast<unsigned char>(c)) : link += c;
  return link;
}

}  // namespace kv::mission
