#include "platform/CodePage.h"

#include <gtest/gtest.h>

namespace {

std::string Narrowed(std::wstring_view wide, std::size_t room = 1000) {
  std::string narrow(room, '\0');
  narrow.resize(kv::NarrowAnsi(wide, narrow));
  return narrow;
}

TEST(CodePage, EveryByteComesBack) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  std::wstring wide;
  kv::WidenAnsi(bytes, wide);
  EXPECT_EQ(Narrowed(wide), bytes);
  EXPECT_EQ(wide.substr(0x80, 4), std::wstring({0x20AC, 0x0081, 0x201A, 0x0192}));
  EXPECT_EQ(wide.substr(0x9E, 4), std::wstring({0x017E, 0x0178, 0x00A0, 0x00A1}));
}

TEST(CodePage, ACharacterItLacksIsAQuestionMark) {
  struct {
    std::wstring wide;
    std::string narrow;
  } const rows[] = {
      {L"abc", "abc"},
      {{0x0152, 0x2122, 0x00E9}, "\x8C\x99\xE9"},
      {{0x0080, 0x0085, 0x009F}, "???"},
      {{L'x', 0x03B1, 0x4E2D, 0x2212, L'y'}, "x???y"},  // no similar character is looked for
      {{L'e', 0x0301}, "e?"},
      {std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
      {{static_cast<wchar_t>(0xFFFFFFFF), static_cast<wchar_t>(0x1F600)}, "??"},
  };
  for (const auto& [wide, narrow] : rows) EXPECT_EQ(Narrowed(wide), narrow);
  EXPECT_EQ(Narrowed(L"abcd", 3), "abc");
}

}  // namespace
