#include <gtest/gtest.h>

#include "base/Failure.h"
#include "base/Log.h"
#include "readers/LineReader.h"
#include "support/TempFolder.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using Lines = std::vector<std::string>;

Lines LinesOf(const std::filesystem::path& path, CtrlZ ctrlZ) {
  LineReader reader(path, ctrlZ);
  Lines lines;
  for (std::string_view line; reader.Next(line);) lines.emplace_back(line);
  return lines;
}

TEST(LineReader, GivesLinesWithoutTheirEnds) {
  const std::string half(128 * 1024, 'x'), three(3 * 256 * 1024, 'y');
  struct {
    const char* what;
    std::string content;
    Lines lines;  // where Ctrl-Z ends the text
    Lines whole;  // where it does not; empty: the same
  } const rows[] = {
      {"empty", "", {}, {}},
      {"both line ends, the last one missing", "a\r\nb\n\nc\r\r\nd\r", {"a", "b", "", "c\r", "d\r"}, {}},
      {"Ctrl-Z", "a\r\x1A\nb\n", {"a\r"}, {"a\r\x1A", "b"}},
      {"across the buffer's end", half + "\n" + half + "\n" + half, {half, half, half}, {}},
      {"a line longer than the buffer, and the next", three + "\r\nz\n", {three.substr(0, 256 * 1024), "z"}, {}},
      {"a long line at the end", "z\n" + three, {"z", three.substr(0, 256 * 1024)}, {}},
  };
  const TempFolder folder;
  for (const auto& [what, content, lines, whole] : rows) {
    folder.Write("a\\b", content);  // outside Windows a name may have a backslash
    EXPECT_EQ(LinesOf(folder.Path() / "a\\b", CtrlZ::EndsText), lines) << what;
    EXPECT_EQ(LinesOf(folder.Path() / "a\\b", CtrlZ::IsText), whole.empty() ? lines : whole) << what;
  }
}

TEST(LineReader, SaysWhyAFileCannotBeRead) {
  const TempFolder folder;
  const std::pair<std::filesystem::path, const char*> rows[] = {
      {folder.Path(), "Is a directory"},
      {folder.Path() / "none", "No such file or directory"},
      {"/proc/self/mem", "Input/output error"},  // Linux: opens, but address 0 cannot be read
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

TEST(Log, ControlCharactersAreShown) {
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

TEST(Times, DatesAreChecked) {
  struct {
    const char* text;
    bool valid;
  } const rows[] = {{"2024-02-29", true}, {"2023-02-29", false}, {"2024-13-01", false}, {"2024-1-01", false},
                    {"24-01-01", false},  {"2024-01-00", false}, {"2024/01/01", false}, {"1600-01-01", false},
                    {"", false},          {"2024-01-01 ", false}};
  for (const auto& [text, valid] : rows) {
    const auto date = ParseDate(text);
    EXPECT_EQ(date ? DateText(*date) : "", valid ? text : "");
  }
}

// 2024-05-01 12:34:56.7899 is 133590404967899000 ticks after 1601: 154,618 days and 45,296.7899 s.
TEST(Times, AreThoseOfTheLibrary) {
  constexpr std::int64_t kTicks = (154'618LL * 86'400 + 45'296) * 10'000'000 + 7'899'000;
  const FILETIME time{static_cast<std::uint32_t>(kTicks), static_cast<std::uint32_t>(kTicks >> 32)};
  EXPECT_EQ(TimeText(FromFileTime(time)), "2024-05-01 12:34:56.789");
  EXPECT_EQ(ToSystemTime(FromFileTime(time)).wDayOfWeek, 3);
  EXPECT_EQ(ToFileTime(FromFileTime(time)).dwLowDateTime, time.dwLowDateTime);
  // Beyond the calendar: no time of an event, but no accident either.
  EXPECT_EQ(TimeText(FromFileTime({0, 0x80000000})).substr(0, 6), "30828-");
}

}  // namespace
}  // namespace kv::mission
