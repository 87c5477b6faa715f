#include "base/Findings.h"

#include <gtest/gtest.h>

#include <chrono>

namespace kv::mission {
namespace {

constexpr Instant kNoon = Date{Date::duration{19844}} + std::chrono::milliseconds{43'200'125};  // 2024-05-01

TEST(Findings, SentencesTakeTheirValuesByName) {
  const Values values{{"none", std::int64_t{0}}, {"one", std::int64_t{1}}, {"two", std::int64_t{2}},
                      {"seconds", 12.346},       {"whole", 37.0},          {"time", kNoon},
                      {"name", "a{b}.jpg"}};
  struct {
    const char *form, *text;
  } const rows[] = {
      {"nothing to fill in", "nothing to fill in"},
      {"{two} of {one}{two}", "2 of 12"},
      {"{none:line}, {one:line}, {two:line}", "0 lines, 1 line, 2 lines"},
      {"{none:entry|entries}, {one:entry|entries}, {two:entry|entries}", "0 entries, 1 entry, 2 entries"},
      {"{one:photo serves|photos serve} more", "1 photo serves more"},
      {"{two:photo serves|photos serve} more", "2 photos serve more"},
      {"{seconds} {seconds:.1f} {seconds:.0f} {whole} {whole:.3f}", "12.346 12.3 12 37 37.000"},
      {"at {time}", "at 2024-05-01 12:00:00.125"},
      {"{name}: {seconds}", "a{b}.jpg: 12.346"},  // a value is not a form
      {"{missing} and {missing:line}", "missing and missing:line"},
  };
  for (const auto& [form, text] : rows) EXPECT_EQ(SentenceOf(form, values), text);
}

TEST(Findings, AreMadeFromTheirRow) {
  struct {
    const FindingKind& kind;
    Values values;
    const char* code;
    Severity severity;
    const char* text;
  } const rows[] = {
      {Found::InputFound, {{"file", "log.txt"}}, "input-found", Severity::Note, "found log.txt"},
      {Found::TrajectoryGap,
       {{"trajectory", "trajectory"}, {"seconds", 2.04}, {"from", kNoon}, {"latitude", -48.1173}, {"longitude", 11.0}},
       "trajectory-gap",
       Severity::Warning,
       "trajectory: gap of 2.0 s from 2024-05-01 12:00:00.125 at -48.1173000, 11.0000000"},
      {Found::TicksJump,
       {{"from", 4294967295.0}, {"to", 9223372036854775808.0}},
       "ticks-jump",
       Severity::Doubt,
       "the tick count jumps, first from 4294967295 to 9223372036854775808: the times of all camera events are "
       "doubtful"},
      {Found::EntriesWithoutPlace,
       {{"count", std::int64_t{1}}, {"entries", std::int64_t{2}}, {"from", kNoon}, {"to", "no time"}},
       "entries-without-place",
       Severity::Warning,
       "housekeeping log: 1 of 2 entries dropped, without a place on the trajectory; the log is from 2024-05-01 "
       "12:00:00.125 to no time"},
      {Found::StationsAllSingle,
       {{"seconds", 0.05}},
       "stations-all-single",
       Severity::Warning,
       "no exposures of the two cameras are less than 0.05 s apart: all stations are single; is --tolerance right?"},
      {Found::LayerWritten,
       {{"layer", "photos"}, {"records", std::int64_t{1}}},
       "layer-written",
       Severity::Note,
       "writing photos, 1 record"},
  };
  for (const auto& [kind, values, code, severity, text] : rows) {
    const Finding finding = MakeFinding(kind, values, {.file = "a", .line = 3});
    EXPECT_EQ(finding.code, code);
    EXPECT_EQ(finding.severity, severity) << code;
    EXPECT_EQ(finding.text, text);
    EXPECT_EQ(finding.values, values) << code;
    EXPECT_EQ(finding.subject.line, 3u) << code;
  }
}

TEST(Findings, NameAtMostFiveLines) {
  const std::pair<LineNumbers, const char*> rows[] = {
      {{7}, "line 7"}, {{1, 2, 3, 4, 5}, "line 1, 2, 3, 4, 5"}, {{1, 2, 3, 4, 5, 9}, "line 1, 2, 3, 4, 5, ..."}};
  for (const auto& [lines, text] : rows) EXPECT_EQ(Named(lines), text);
}

}  // namespace
}  // namespace kv::mission
