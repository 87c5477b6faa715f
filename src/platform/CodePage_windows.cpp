#include "platform/CodePage.h"

#include <windows.h>

namespace kv {

void WidenAnsi(std::string_view narrow, std::wstring& wide) {
  const int length = static_cast<int>(narrow.size());
  // A character never needs more units than bytes, so one call suffices.
  wide.resize(narrow.size());
  const int written = length == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, narrow.data(), length, wide.data(), length);
  wide.resize(static_cast<std::size_t>(written));
}

std::size_t NarrowAnsi(std::wstring_view wide, std::span<char> narrow) {
  if (wide.empty()) return 0;
  const int length = static_cast<int>(wide.size());
  const bool lacksCharacters = GetACP() != CP_UTF8;  // UTF-8 has them all and allows neither flag nor substitute
  const auto convert = [&](char* target, int room) {
    return WideCharToMultiByte(CP_ACP, lacksCharacters ? WC_NO_BEST_FIT_CHARS : 0, wide.data(), length, target, room,
                               lacksCharacters ? "?" : nullptr, nullptr);
  };
  const int written = convert(narrow.data(), static_cast<int>(narrow.size()));
  if (written > 0) return static_cast<std::size_t>(written);
  std::string whole(static_cast<std::size_t>(convert(nullptr, 0)), '\0');  // too long: the system writes all or nothing
  convert(whole.data(), static_cast<int>(whole.size()));
  return whole.copy(narrow.data(), narrow.size());
}

}  // namespace kv
