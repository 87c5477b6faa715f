#include <fmt/format.h>

#include "platform/FileNames.h"
#include "report/Json.h"

std::string kv::mission::Visible(const std::string& text, std::optional<char> kept) {
  std::string visible;
  for (std::size_t i = 0; i < text.size(); ++i) {
    // U+0080 to U+009F are C2 80 to C2 9F; the first byte of another character is never followed by a control.
    const bool isPair = text[i] == '\xC2' && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    const auto code = static_cast<unsigned char>(text[i + isPair]);
    const bool isControl = isPair || code < 0x20 || code == 0x7F;
    if (isControl && text[i] != kept) {
      visible += fmt::format("\\u{:04x}", code);
      i += isPair;
    } else {
      visible += text[i];
    }
  }
  return visible;
}

std::string KVMission::Utf8(const std::filesystem::path& path) { return kv::Utf8(path); }

std::string KVMission::Visible(const std::string& text) { return kv::mission::Visible(text, std::nullopt); }

const char* KVMission::Version() { return KVMISSION_VERSION; }
