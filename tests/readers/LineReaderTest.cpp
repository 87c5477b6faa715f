#include "readers/LineReader.h"

#include <gtest/gtest.h>

#include "support/TempFolder.h"

namespace kv::mission {
namespace {

using Lines = std::vector<std::string>;

Lines LinesOf(const std::filesystem::path& path, CtrlZ ctrlZ) {
  Observer nobody;
  Job job(nobody);
  LineReader reader(path, ctrlZ, job, "reading");
  Lines lines;
  for (std::string_view line; reader.Next(line);) lines.emplace_back(line);
  return lines;
}

TEST(LineReader, GivesLinesWithoutTheirEnds) {
  const std::string part(50 * 1000, 'x'), three(3 * 256 * 1024, 'y');
  constexpr std::size_t kLongest = 64 * 1024;
  struct {
    const char* what;
    std::string content;
    Lines lines;  // where Ctrl-Z ends the text
    Lines whole;  // where it does not; empty: the same
  } const rows[] = {
      {"empty", "", {}, {}},
      {"both line ends, the last one missing", "a\r\nb\n\nc\r\r\nd\r", {"a", "b", "", "c\r", "d\r"}, {}},
      {"Ctrl-Z", "a\r\x1A\nb\n", {"a\r"}, {"a\r\x1A", "b"}},
      {"across the buffer's end",
       part + "\n" + part + "\n" + part + "\n" + part + "\n" + part + "\n" + part,
       Lines(6, part),
       {}},
      {"a line longer than the buffer, and the next", three + "\r\nz\n", {three.substr(0, kLongest), "z"}, {}},
      {"a long line at the end", "z\n" + three, {"z", three.substr(0, kLongest)}, {}},
  };
  const TempFolder folder;
  for (const auto& [what, content, lines, whole] : rows) {
    const std::string name = std::filesystem::path::preferred_separator == '/' ? "a\\b" : "b";  // a backslash in a name
    folder.Write(name, content);
    EXPECT_EQ(LinesOf(folder.Path() / name, CtrlZ::EndsText), lines) << what;
    EXPECT_EQ(LinesOf(folder.Path() / name, CtrlZ::IsText), whole.empty() ? lines : whole) << what;
  }
}

TEST(LineReader, SaysWhyAFileCannotBeRead) {
  const TempFolder folder;
  const std::pair<std::filesystem::path, const char*> rows[] = {
    {folder.Path(), "Is a directory"},
    {folder.Path() / "none", "No such file or directory"},
#if defined(__linux__)
    {"/proc/self/mem", "Input/output error"},  // opens, but address 0 cannot be read
#endif
  };
  for (const auto& [path, reason] : rows) {
    const auto expect = [&, sentence = path.string() + ": cannot be read: " + reason](auto read) {
      try {
        read();
        ADD_FAILURE() << path;
      } catch (const Failure& failure) {
        EXPECT_EQ(failure.what(), sentence);
      }
    };
    expect([&] { LinesOf(path, CtrlZ::IsText); });
    expect([&] { ReadBeginning(path, 10); });
  }
}

}  // namespace
}  // namespace kv::mission
