#include "text/Numbers.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <initializer_list>
#include <optional>
#include <random>
#include <string>
#include <vector>

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
void ConvertAll(benchmark::State& state, const Tokens& tokens) {
  for (auto _ : state) {
    tokens.ForEach([](std::wstring_view token) { benchmark::DoNotOptimize(kConvert(token)); });
  }
}

// Seconds of week, latitude, longitude, height, roll, pitch and heading of a position file.
template <Convert<double> kConvert>
void ConvertFields(benchmark::State& state) {
  ConvertAll<double, kConvert>(state, Tokens({{"%.3f", 2e5, 3e5},
                                              {"%.9f", 48, 49},
                                              {"%.9f", 11, 12},
                                              {"%.4f", 500, 900},
                                              {"%.4f", -3, 3},
                                              {"%.4f", -3, 3},
                                              {"%.4f", 0, 360}}));
}
template <Convert<std::int32_t> kConvert>
void Convert32Bits(benchmark::State& state) {
  ConvertAll<std::int32_t, kConvert>(state, Tokens({{"%.0f", -2e9, 2e9}}));
}
template <Convert<std::int64_t> kConvert>
void Convert64Bits(benchmark::State& state) {
  ConvertAll<std::int64_t, kConvert>(state, Tokens({{"%.0f", -9e18, 9e18}}));
}

void Doubles(benchmark::State& state) { ConvertFields<kv::WholeDouble>(state); }
void DoublesByBoost(benchmark::State& state) { ConvertFields<baseline::WholeNumber<double>>(state); }
void Integers32(benchmark::State& state) { Convert32Bits<kv::WholeInteger32>(state); }
void Integers32ByBoost(benchmark::State& state) { Convert32Bits<baseline::WholeNumber<std::int32_t>>(state); }
void Integers64(benchmark::State& state) { Convert64Bits<kv::WholeInteger>(state); }
void Integers64ByBoost(benchmark::State& state) { Convert64Bits<baseline::WholeNumber<std::int64_t>>(state); }
BENCHMARK(Doubles);
BENCHMARK(DoublesByBoost);
BENCHMARK(Integers32);
BENCHMARK(Integers32ByBoost);
BENCHMARK(Integers64);
BENCHMARK(Integers64ByBoost);

}  // namespace
