#include "text/Numbers.h"

#include <cstdio>
#include <initializer_list>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Comparison.h"
#include "Measures.h"
#include "baseline/StrictNumbers.h"

namespace {

constexpr std::size_t kTokens = 10'000;

struct ColumnOfNumbers {
  const char* format;
  double least, largest;
};

// Tokens in the order of a file's lines, contiguous in memory; the column decides a number's format.
class Tokens {
 public:
  explicit Tokens(std::initializer_list<ColumnOfNumbers> columns) {
    std::mt19937_64 random(1);
    while (lengths_.size() < kTokens) {
      for (const auto& [format, least, largest] : columns) {
        char number[64];
        const int length =
            std::snprintf(number, sizeof number, format, std::uniform_real_distribution(least, largest)(random));
        text_.append(number, number + length);
        lengths_.push_back(static_cast<std::size_t>(length));
      }
    }
  }

  template <class Use>
  void ForEach(Use use) const {
    const wchar_t* at = text_.data();
    for (const std::size_t length : lengths_) {
      use(std::wstring_view(at, length));
      at += length;
    }
  }

 private:
  std::wstring text_;
  std::vector<std::size_t> lengths_;
};

template <class Number>
using Convert = std::optional<Number> (*)(std::wstring_view);

template <class Number, Convert<Number> kConvert>
Side ConvertAll(const Tokens& tokens) {
  return ProcessorTime([=] { tokens.ForEach([](std::wstring_view token) { Keep(kConvert(token)); }); });
}

}  // namespace

Row StrictNumbers(const Plan&) {
  // Seconds of week, latitude, longitude, height, roll, pitch and heading of a position file.
  const Tokens doubles({{"%.3f", 2e5, 3e5},
                        {"%.9f", 48, 49},
                        {"%.9f", 11, 12},
                        {"%.4f", 500, 900},
                        {"%.4f", -3, 3},
                        {"%.4f", -3, 3},
                        {"%.4f", 0, 360}});
  const Tokens integers32({{"%.0f", -2e9, 2e9}}), integers64({{"%.0f", -9e18, 9e18}});
  const char* const peer = "Boost's lexical conversion";
  return {
      {"strict numbers: doubles", peer, AtLeast(20), ConvertAll<double, baseline::WholeNumber<double>>(doubles),
       ConvertAll<double, kv::WholeDouble>(doubles)},
      {"strict numbers: 32-bit integers", peer, AtLeast(2.5),
       ConvertAll<std::int32_t, baseline::WholeNumber<std::int32_t>>(integers32),
       ConvertAll<std::int32_t, kv::WholeInteger32>(integers32)},
      {"strict numbers: 64-bit integers", peer, AtLeast(3),
       ConvertAll<std::int64_t, baseline::WholeNumber<std::int64_t>>(integers64),
       ConvertAll<std::int64_t, kv::WholeInteger>(integers64)},
  };
}
