#include "conversions/Numbers.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "baseline/StrictNumbers.h"

namespace {

constexpr std::size_t kTokens = 100'000;

// Numbers as field files have them: degrees, metres, ticks, weeks.
std::vector<std::wstring> Printed(const char* format, double least, double largest) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> values(least, largest);
  std::vector<std::wstring> tokens;
  char text[64];
  while (tokens.size() < kTokens) {
    const int length = std::snprintf(text, sizeof text, format, values(random));
    tokens.emplace_back(text, text + length);
  }
  return tokens;
}

template <class Convert>
void ConvertAll(benchmark::State& state, const std::vector<std::wstring>& tokens, Convert convert) {
  for (auto _ : state) {
    for (const std::wstring& token : tokens) benchmark::DoNotOptimize(convert(token));
  }
}

void Doubles(benchmark::State& state) { ConvertAll(state, Printed("%.8f", -180, 180), kv::WholeDouble); }
void DoublesByBoost(benchmark::State& state) {
  ConvertAll(state, Printed("%.8f", -180, 180), baseline::WholeNumber<double>);
}
void Integers32(benchmark::State& state) { ConvertAll(state, Printed("%.0f", -2e9, 2e9), kv::WholeInteger32); }
void Integers32ByBoost(benchmark::State& state) {
  ConvertAll(state, Printed("%.0f", -2e9, 2e9), baseline::WholeNumber<std::int32_t>);
}
void Integers64(benchmark::State& state) { ConvertAll(state, Printed("%.0f", -9e18, 9e18), kv::WholeInteger); }
void Integers64ByBoost(benchmark::State& state) {
  ConvertAll(state, Printed("%.0f", -9e18, 9e18), baseline::WholeNumber<std::int64_t>);
}
BENCHMARK(Doubles);
BENCHMARK(DoublesByBoost);
BENCHMARK(Integers32);
BENCHMARK(Integers32ByBoost);
BENCHMARK(Integers64);
BENCHMARK(Integers64ByBoost);

}  // namespace
