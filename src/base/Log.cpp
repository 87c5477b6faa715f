#include "base/Log.h"

#include <cstdio>

#include "platform/FileNames.h"
#include "platform/System.h"

namespace kv::mission {

void Log::AddWarning(std::string sentence) {
  if (verbosity_ != Verbosity::Quiet) Say("warning: ", sentence);
  warnings_.push_back(std::move(sentence));
}

void Log::Say(const char* label, const std::string& sentence) {
  ShowText(fmt::format("kvmission: {}{}\n", label, Visible(sentence)));
}

bool Log::ShowsProgress() const { return verbosity_ != Verbosity::Quiet && StandardErrorIsTerminal(); }

std::string Counted(std::size_t count, const char* noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string Visible(std::string_view text, std::optional<char> kept) {
  std::string visible;
  for (std::size_t i = 0; i < text.size(); ++i) {
    // U+0080 to U+009F are C2 80 to C2 9F; the first byte of another character is never followed by a control.
    const bool isPair = text[i] == '\xC2' && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    const auto byte = static_cast<unsigned char>(text[i + isPair]);
    const bool isControl = isPair || byte < 0x20 || byte == 0x7F;
    if (isControl && text[i] != kept) {
      visible += fmt::format("\\u{:04x}", byte);
      i += isPair;
    } else {
      visible += text[i];
    }
  }
  return visible;
}

std::string PathForOutput(const std::filesystem::path& path) {
  return StandardOutputIsTerminal() ? Visible(Utf8(path)) : path.string();
}

void ShowText(const std::string& text) { std::fputs(text.c_str(), stderr); }

void SayError(const std::string& sentence) { ShowText(fmt::format("kvmission: error: {}\n", Visible(sentence))); }

}  // namespace kv::mission
