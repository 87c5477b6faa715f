#include "report/PosRows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include "support/TestSize.h"

namespace kv::mission {
namespace {

TEST(PosRows, DecimalsAreThoseOfPrintf) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  std::vector<double> values{0.0,
                             -0.0,
                             0.5,
                             -0.25,
                             5e-7,
                             2.5e-6,
                             0.9999995,
                             0.9999994999,
                             999999.9999995,
                             5e-324,
                             0x1p52,
                             0x1.8p32,
                             4503599627.3704955,
                             1e300,
                             kInfinity,
                             -kInfinity};
  std::mt19937_64 random(6);
  for (int i = TestSize(20'000, 3'000'000); i > 0; --i) {
    const double size = std::pow(10.0, static_cast<int>(random() % 26) - 12);
    const double value = std::uniform_real_distribution(-size, size)(random);
    values.push_back(value);
    values.push_back((std::floor(value) + 0.5) / 1e6);  // as near to the middle of two decimals as may be
  }
  for (const int decimals : {6, 10}) {
    for (const double value : values) {
      PosBlock block;
      block.samples.resize(1);
      block.samples[0].X = value, block.samples[0].Y = -value, block.samples[0].Z = value;
      char expected[1024];
      std::snprintf(expected, sizeof expected, "%.*f %.*f %.6f\n", decimals, value, decimals, -value, value);
      std::string row;
      PosXyzRows(block, decimals, row);
      ASSERT_EQ(row, expected) << value;
    }
  }
}

}  // namespace
}  // namespace kv::mission
