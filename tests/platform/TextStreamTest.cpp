#include "platform/TextStream.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <utility>
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
  for (const auto& [content, lines] : rows) {
    EXPECT_TRUE(Lines(folder.Write("file", content)) == lines) << content.size();
  }
}

TEST(TextStream, ALineBeyondTheBoundEndsTheFile) {
  const std::string longest(1023, 'x'), block(300 * 1024, 'b');
  std::string untilBlockEnd;
  for (int i = 0; i < 255; ++i) untilBlockEnd += longest + "\n";  // 1024 bytes each, of 256 KiB
  const std::pair<std::string, std::size_t> rows[] = {
      // content, lines that are read
      {longest + "\n2\n", 2},
      {longest + "\r\n2\n", 2},  // CR LF counts as one
      {longest, 1},
      {longest + "\r", 0},  // an end of file does not make a CR a line end
      {longest + "x\n2\n", 0},
      {longest + "\rx\n2\n", 0},
      {"1\n" + longest + "x", 1},
      {"1\n" + block + "\n2\n", 1},
      {"1\n\n" + longest + "\x1Ax\n", 3},
      {untilBlockEnd + longest + "\r\n2\n", 257},  // the CR ends a block
  };
  const TempFolder folder;
  for (const auto& [content, expected] : rows) {
    kv::TextStream file(folder.Write("file", content));
    std::size_t lines = 0;
    for (std::string_view line; file.ReadLine(line, 1023);) ++lines;
    EXPECT_EQ(lines, expected) << content.substr(0, 3) << content.size();
    std::string_view line;
    EXPECT_FALSE(file.ReadLine(line));  // for good
  }
}

TEST(TextStream, ALongLineComesInPieces) {
  const std::string block(256 * 1024, 'b');
  struct {
    std::string content;
    std::size_t longest;
    std::vector<std::string> pieces;  // each with "\n" if it ended a line
  } const rows[] = {
      {"ab\r\n" + block + block + block + "\nc", 1023, {"ab\n", block.substr(4), block, block, "bbbb\n", "c"}},
      {block + "\n" + block + "\n", 256 * 1024, {block + "\n", block + "\n"}},
      {"a\x1A\nb\n", 1023, {"a\x1A\n", "b\n"}},
  };
  const TempFolder folder;
  for (const auto& [content, longest, pieces] : rows) {
    kv::TextStream file(kv::OpenFile(folder.Write("file", content), "rb"), kv::CtrlZ::IsText);
    std::vector<std::string> read;
    for (std::string_view piece; file.ReadPiece(piece, longest);)
      read.push_back(std::string(piece) + (file.IsAtLineStart() ? "\n" : ""));
    EXPECT_TRUE(read == pieces) << content.size();
    EXPECT_EQ(file.BytesRead(), content.size());
    EXPECT_EQ(file.FileBytes(), content.size());
  }
}

TEST(TextStream, AFileThatGrowsIsReadToItsEnd) {
  const TempFolder folder;
  kv::TextStream file(folder.Write("file", "a\n"));
  folder.Write("file", "a\nb\nc\n");
  std::size_t lines = 0;
  for (std::string_view line; file.ReadLine(line);) ++lines;
  EXPECT_EQ(lines, 3u);
}

TEST(TextStream, WhatCannotBeReadHasNoLines) {
  const TempFolder folder;
  const std::pair<std::wstring, int> rows[] = {
    // path, reason
    {folder.Wide("missing"), ENOENT},
    {folder.Wide(), EISDIR},
    {L"", ENOENT},
#if defined(__linux__)
    {L"/proc/self/mem", EIO},  // opens, but address 0 cannot be read
#endif
    {folder.Write("file", ""), 0},
  };
  for (const auto& [path, reason] : rows) {
    kv::TextStream file(path);
    std::string_view line;
    EXPECT_FALSE(file.ReadLine(line));
    EXPECT_EQ(file.Error(), reason) << reason;
  }
}

}  // namespace
