#include "time/Instants.h"

#include <gtest/gtest.h>

namespace kv::mission {
namespace {

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
