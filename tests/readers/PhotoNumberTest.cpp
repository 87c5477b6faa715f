#include "readers/PhotoNumber.h"

#include <gtest/gtest.h>

namespace kv {
namespace {

TEST(PhotoNumber, StandsBeforeTheMarksOfAName) {
  struct {
    const wchar_t* name;
    std::optional<std::int64_t> number;
  } const rows[] = {{L"100_0067_0012.JPG", 12},
                    {L"DJI_20230816103011_0012_W.JPG", 12},
                    {L"DJI-0012_MS_G.JPG", 12},
                    {L"7.jpg", 7},
                    {L"x12.jpg", {}},
                    {L"12_W2.jpg", {}},
                    {L"_V.jpg", {}},
                    {L"", {}}};
  for (const auto& [name, number] : rows) {
    const auto found = PhotoNumberIn(name);
    EXPECT_EQ(found ? std::optional(found->number) : std::nullopt, number) << testing::PrintToString(name);
  }
}

}  // namespace
}  // namespace kv
