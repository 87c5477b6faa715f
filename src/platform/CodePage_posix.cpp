#include "platform/CodePage.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace kv {
namespace {

// Windows-1252, bytes 0x80 to 0x9F; every other byte is the character of the same value.
constexpr unsigned char kTableBegin = 0x80, kTableEnd = 0xA0;
constexpr std::array<wchar_t, kTableEnd - kTableBegin> kTable = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

wchar_t Widen(unsigned char byte) {
  return byte < kTableBegin || byte >= kTableEnd ? wchar_t{byte} : kTable[byte - kTableBegin];
}

char Narrow(wchar_t character) {
  const bool isOwnByte = static_cast<std::uint32_t>(character) < 0x100;
  if (isOwnByte && (character < kTableBegin || character >= kTableEnd)) return static_cast<char>(character);
  const auto found = std::find(kTable.begin(), kTable.end(), character);
  return found == kTable.end() ? '?' : static_cast<char>(kTableBegin + (found - kTable.begin()));
}

}  // namespace

void WidenAnsi(std::string_view narrow, std::wstring& wide) {
  wide.resize(narrow.size());
  const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < kTableBegin; };
  const auto tail = std::find_if_not(narrow.begin(), narrow.end(), isAscii);
  const auto rest = std::copy(narrow.begin(), tail, wide.begin());
  std::transform(tail, narrow.end(), rest, [](char byte) { return Widen(static_cast<unsigned char>(byte)); });
}

std::size_t NarrowAnsi(std::wstring_view wide, std::span<char> narrow) {
  const std::wstring_view kept = wide.substr(0, narrow.size());
  std::transform(kept.begin(), kept.end(), narrow.begin(), Narrow);
  return kept.size();
}

}  // namespace kv
