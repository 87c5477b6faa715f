#include "readers/PosLine.h"

#include <gtest/gtest.h>

#include <array>

#include "mission/inputs/Inputs.h"
#include "text/Tokens.h"

namespace kv::mission {
namespace {

const std::string kRest = " 1 10 0.1 0.1 0.1 0 0 0 0.5 99.9\n";

PosLineKind KindOf(std::string_view line) {
  std::array<std::string_view, kPosTokens> tokens;
  PosNumbers numbers;
  return ClassifyPos(Tokenise(line, kPosDelimiters, tokens), numbers);
}

TEST(PosLine, TellsWhatTheScanDoesNotTake) {
  struct {
    std::string line;
    PosLineKind kind;
    bool isPos;
  } const rows[] = {
      {"2200 345600.0\t48.25 15.5 300.0" + kRest, PosLineKind::Sample, true},
      {"-1 1e3 -90 360 -5" + kRest, PosLineKind::Sample, true},
      {"2200 345600 90.001 15.5 300.0" + kRest, PosLineKind::OutOfRange, false},
      {"2200 345600 nan 15.5 300.0" + kRest, PosLineKind::NotANumber, false},
      {"2200.0 345600 48.25 15.5 300.0" + kRest, PosLineKind::NotANumber, false},
      {"2200 345600 48,25 15,5 300,0" + kRest, PosLineKind::NotANumber, false},
      {"2200 345600 -3963426.7841 3350882.1503 3694865.5306" + kRest, PosLineKind::Ecef, true},
      {"2200 345600 10.5 20.5 6356760.0" + kRest, PosLineKind::Ecef, true},  // at a pole
      {"2200 345600 48 15 00.00000 15 30 00.00000 300.0" + kRest, PosLineKind::DegreesMinutesSeconds, true},
      {"2200 345600 -0 15 59.99999 -105 08 50.1 300.0 1 10", PosLineKind::DegreesMinutesSeconds, false},
      {"2200 345600 48.0 15.0 30.5 1 11 0.5 1 1 1 1 1 1 1", PosLineKind::Sample, true},
      {"2024/06/24 08:20:00.000 35.13 136.97 104.8" + kRest, PosLineKind::CalendarTime, true},
      {"2024-06-24T08:20:00 35.13 136.97 104.8", PosLineKind::CalendarTime, false},
      {"1917,265732.000,  22.4, 114.2,  53.2, 1, 7, 0, 0, 0, 0, 0, 0, 0, 9.5", PosLineKind::CommaSeparated, true},
      {"1917;265732.000;22.4", PosLineKind::CommaSeparated, false},
      {"2200 345600.0 48.25 15.5 300.0 1 10", PosLineKind::Short, false},
      {"%  GPST latitude(deg)", PosLineKind::Comment, false},
      {"week seconds", PosLineKind::Comment, false},
      {" \t", PosLineKind::Blank, false},
  };
  for (const auto& [line, kind, isPos] : rows) {
    EXPECT_EQ(KindOf(line), kind) << line;
    EXPECT_EQ(IsPosLine(line.substr(0, line.find('\n'))), isPos) << line;
    EXPECT_EQ(KindOfContent("% comment\n" + line) == FileKind::Pos, isPos) << line;
  }
}

}  // namespace
}  // namespace kv::mission
