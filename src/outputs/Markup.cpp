#include "outputs/Markup.h"

#include <fmt/format.h>

#include <algorithm>

namespace kv::mission {

std::string Escaped(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&#39;";
        break;
      case '\t':
      case '\n':
      case '\r':
        escaped += c;
        break;
      default:
        static_cast<unsigned char>(c) < 0x20 ? escaped += "\xEF\xBF\xBD" : escaped += c;
    }
  }
  return escaped;
}

std::string LinkTo(std::string_view path) {
  constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  std::string link;
  for (const char c : path)
    kPlain.find(c) == kPlain.npos ? link += fmt::format("%{:02X}", static_cast<unsigned char>(c)) : link += c;
  return link;
}

}  // namespace kv::mission
