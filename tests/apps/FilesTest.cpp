#include <gtest/gtest.h>

#include "base/Failure.h"
#include "base/Log.h"
#include "platform/System.h"
#include "readers/LineReader.h"
#include "support/TempFolder.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using Lines = std::vector<std::string>;

Lines LinesOf(const std::filesystem::path& path) {
  LineReader reader(path);
  Lines lines;
  for (std::string_view line; reader.Next(line);) lines.emplace_back(line);
  return lines;
}

TEST(LineReader, GivesLinesWithoutTheirEnds) {
  const std::string half(128 * 1024, 'x'), three(3 * 256 * 1024, 'y');
  struct {
    const char* what;
    std::string content;
    Lines lines;
  } const rows[] = {
      {"empty", "", {}},
      {"both line ends", "a\r\nb\n\nc\r\r\n", {"a", "b", "", "c\r"}},
      {"no final end", "a\nb", {"a", "b"}},
      {"only an end", "\n", {""}},
      {"NUL and high bytes", std::string("a\0b\xFF\n", 5), {std::string("a\0b\xFF", 4)}},
      {"across the buffer's end", half + "\n" + half + "\n" + half, {half, half, half}},
      {"a line longer than the buffer, and the next", three + "\r\nz\n", {three.substr(0, 256 * 1024), "z"}},
      {"the same as the last", three, {three.substr(0, 256 * 1024)}},
  };
  const TempFolder folder;
  for (const auto& [what, content, lines] : rows) {
    folder.Write("file", content);
    EXPECT_EQ(LinesOf(folder.Path() / "file"), lines) << what;
  }
  EXPECT_THROW(LinesOf(folder.Path()), Failure);
  EXPECT_THROW(LinesOf(folder.Path() / "none"), Failure);
}

// Sequences from the Unicode standard's table of well-formed UTF-8, and what lies just outside it.
TEST(System, NamesBecomeValidText) {
  constexpr const char* kBad = "\xEF\xBF\xBD";
  struct {
    std::string bytes, text;
  } const rows[] = {
      {"plain", "plain"},
      {"\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x93\xB7", "\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x93\xB7"},
      {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
      {"a\xFFz", std::string("a") + kBad + "z"},
      {"\xC3", kBad},
      {"\xC0\x80", std::string(kBad) + kBad},             // overlong
      {"\xED\xA0\x80", std::string(kBad) + kBad + kBad},  // a surrogate
      {"\xE0\x80\x80", std::string(kBad) + kBad + kBad},
      {"\xF4\x90\x80\x80", std::string(kBad) + kBad + kBad + kBad},  // beyond U+10FFFF
  };
  for (const auto& [bytes, text] : rows) EXPECT_EQ(Utf8(std::filesystem::path(bytes)), text) << text;
  EXPECT_EQ(WidePath("a\xFF"), (std::wstring{L'a', wchar_t{0xDCFF}}));
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
