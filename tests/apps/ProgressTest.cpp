#include <gtest/gtest.h>

#include "terminal/Messages.h"

namespace {

TEST(ProgressLine, IsCutToTheWidth) {
  const KVMission::Progress half{"reading", "lines", 1280, 50, 100}, beyond{"reading", "lines", 1280, 300, 100},
      unknown{"reading", "lines", 1280, 50, 0}, none{"reading", "lines", 1280, 0, 100};
  const std::string line = "reading 1280 lines, 640/s [############            ] 2 s left";
  struct {
    KVMission::Progress progress;
    std::size_t width;
    std::string line;
  } const rows[] = {
      {half, 200, line},
      {half, line.size(), line},
      {half, line.size() - 1, "reading 1280 lines, 640/s [############            ] 2 s lef"},
      {half, 20, "reading 1280 lines, "},
      {half, 1, "r"},
      {half, 0, ""},
      {beyond, 200, "reading 1280 lines, 640/s [########################] 0 s left"},
      {unknown, 200, "reading 1280 lines, 640/s"},
      {none, 200, "reading 1280 lines, 640/s"},
      {unknown, 10, "reading 12"},
  };
  for (const auto& [progress, width, expected] : rows)
    EXPECT_EQ(kv::command::ProgressLine(progress, 2.0, width), expected) << width;
}

}  // namespace
