#include "platform/FileNames.h"

#include <gtest/gtest.h>

#include "support/TempFolder.h"

namespace {

TEST(FileNames, Utf8AndWideAreTheSameText) {
  struct {
    std::string utf8;
    std::wstring wide;
    std::string readable;  // with "?" for U+FFFD
  } const rows[] = {
      {"plain", L"plain", "plain"},
      {"\xC3\xA9\xCE\xA9\xE4\xB8\xAD", {0xE9, 0x03A9, 0x4E2D}, "\xC3\xA9\xCE\xA9\xE4\xB8\xAD"},
      {"\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", L"\U0001F600\U0010FFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
      {"a\xFF"
       "b\xC3",
       {L'a', 0xDCFF, L'b', 0xDCC3},  // bytes that are not UTF-8 are kept
       "a?b?"},
      {"\xC0\xAF\xED\xA0\x80", {0xDCC0, 0xDCAF, 0xDCED, 0xDCA0, 0xDC80}, "?????"},  // overlong; a surrogate
      {"\xE0\x80\x80\xF4\x90\x80\x80",
       {0xDCE0, 0xDC80, 0xDC80, 0xDCF4, 0xDC90, 0xDC80, 0xDC80},  // overlong; beyond U+10FFFF
       "???????"},
  };
  for (const auto& [utf8, wide, readable] : rows) {
    EXPECT_EQ(kv::WideFromUtf8(utf8), wide) << utf8;
    EXPECT_EQ(kv::Utf8FromWide(wide), utf8) << utf8;
    std::string text;
    for (const char c : readable) text += c == '?' ? std::string("\xEF\xBF\xBD") : std::string(1, c);
    EXPECT_EQ(kv::Utf8(wide), text) << utf8;
    EXPECT_EQ(kv::Utf8(kv::PathFromText(utf8)), text) << utf8;
  }
  EXPECT_EQ(kv::Utf8FromWide(std::wstring(1, wchar_t{0xD800})), "\xEF\xBF\xBD");
}

TEST(FileNames, BothSeparatorsOpenAndAFolderIsNoFile) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.Path() / TempFolder::Native("\xCE\xA9"));
  const std::wstring slash = folder.Wide() + L"/\x03A9/\x4E2D.txt";
  std::wstring backslash = folder.Wide() + L"\\\x03A9\\\x4E2D.txt";
  EXPECT_FALSE(kv::PathExists(slash));
  EXPECT_FALSE(kv::FileSize(slash));
  std::fputs("12345", kv::OpenFile(backslash, "wb").get());
  EXPECT_EQ(kv::FileSize(slash), 5u);
  EXPECT_TRUE(kv::IsSameFile(slash, backslash));
#if !defined(_WIN32)  // which does not mind
  EXPECT_FALSE(kv::PathExists(slash + L"/"));
#endif
  EXPECT_FALSE(kv::PathExists(L""));
  EXPECT_TRUE(kv::PathExists(folder.Wide()));
  EXPECT_FALSE(kv::OpenFile(folder.Wide(), "rb"));
  EXPECT_TRUE(kv::RemoveFile(backslash));
  EXPECT_FALSE(kv::PathExists(slash));
}

}  // namespace
