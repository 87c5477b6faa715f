#include "platform/TextStream.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TempFolder.h"

namespace {

std::vector<std::string> Lines(const std::wstring& path) {
  kv::TextStream file(path);
  std::vector<std::string> lines;
  for (std::string_view line; file.ReadLine(line);) lines.emplace_back(line);
  return lines;
}

TEST(TextStream, LinesEndAsInTextMode) {
  const std::string nul("\0", 1), megabyte(1 << 20, 'x'), block(256 * 1024, 'b');
  struct {
    std::string content;
    std::vector<std::string> lines;
  } const rows[] = {
      {"", {}},
      {"a\nb\n", {"a", "b"}},
      {"a\r\nb\r\n", {"a", "b"}},
      {"\n\r\n", {"", ""}},
      {"a\nno end", {"a", "no end"}},
      {"a\rb\r\r\n", {"a\rb\r"}},
      {"a\x1A\nb\n", {"a"}},
      {"\x1A"
       "b\n",
       {}},
      {"x" + nul + "\xFF\x80\ny", {"x" + nul + "\xFF\x80", "y"}},
      {"1\n" + megabyte + "\r\n2", {"1", megabyte, "2"}},
      {block + "\r\nnext\n", {block, "next"}},
      {block.substr(1) + "\r\nnext\n", {block.substr(1), "next"}},  // the CR ends a block, the LF begins one
      {block.substr(2) + "\r\n", {block.substr(2)}},
  };
  const TempFolder folder;
  for (const auto& [content, lines] : rows)
    EXPECT_TRUE(Lines(folder.Write("file", content)) == lines) << content.size();
}

TEST(TextStream, WhatCannotBeReadHasNoLines) {
  const TempFolder folder;
  EXPECT_TRUE(Lines(folder.Wide("missing")).empty());
  EXPECT_TRUE(Lines(folder.Wide()).empty());
  EXPECT_TRUE(Lines(L"").empty());
}

}  // namespace
