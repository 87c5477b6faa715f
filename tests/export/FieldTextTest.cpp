#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>

#include "export/FieldText.h"
#include "support/TestSize.h"

namespace {

std::string Decimal(double value, int width, int decimals) {
  std::string field(static_cast<std::size_t>(width), ' ');
  kv::PutDecimal(field, value, decimals);
  return field;
}

std::string Printed(double value, int width, int decimals) {
  char text[400];
  std::snprintf(text, sizeof text, "%*.*f", width, decimals, value);
  if (std::isnan(value))
    std::snprintf(text, sizeof text, "%*s", width, std::signbit(value) ? "-nan" : "nan");  // as Linux
  return std::string(text).substr(0, static_cast<std::size_t>(width));
}

TEST(FieldText, DecimalsAreThoseOfPrintf) {
  std::mt19937_64 random(7);
  constexpr std::pair<int, int> kColumns[] = {{14, 8}, {14, 4}, {14, 1}, {16, 6}, {10, 0}, {254, 15}, {254, 8}, {5, 2}};
  for (int i = 0; i < TestSize(20'000, 1'000'000); ++i) {
    const auto bits = random();
    const double scale = std::ldexp(1.0, static_cast<int>(bits % 80) - 40);
    const double values[] = {std::bit_cast<double>(bits),                                           // any double
                             static_cast<double>(static_cast<std::int64_t>(bits) >> 20) * 0x1p-20,  // degrees, metres
                             static_cast<double>(bits % 4096) / 16,                                 // many halves
                             (static_cast<double>(bits % 100'000) + 0.5) * 1e-8,                    // nearly halves
                             static_cast<double>(bits >> 11) * scale};
    for (const double value : values) {
      for (const auto& [width, decimals] : kColumns) {
        ASSERT_EQ(Decimal(value, width, decimals), Printed(value, width, decimals)) << value << " " << decimals;
      }
    }
  }
}

}  // namespace
