#include <gtest/gtest.h>

#include "report/Json.h"

namespace kv::mission {
namespace {

TEST(VisibleText, ControlCharactersAreShown) {
  struct {
    std::string text, visible;
  } const rows[] = {
      {"\x1b[2Jb\r\n", "\\u001b[2Jb\\u000d\\u000a"},
      {"\x7F\xC2\x9B\xC2\xA0\xC2", "\\u007f\\u009b\xC2\xA0\xC2"},
      {"\xE4\xC2\x80", "\xE4\\u0080"},
      {std::string(1, '\0'), "\\u0000"},
      {"\xC3\xA4 \xE4\xB8\xAD", "\xC3\xA4 \xE4\xB8\xAD"},
  };
  for (const auto& [text, visible] : rows) EXPECT_EQ(Visible(text), visible);
  EXPECT_EQ(Visible("a\n\t", '\n'), "a\n\\u0009");
}

}  // namespace
}  // namespace kv::mission
