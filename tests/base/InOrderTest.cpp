#include "base/InOrder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace kv::mission {
namespace {

constexpr int kNever = -1;

/// Makes squares of 0, 1, 2, ...; the later ones of a few are ready first. What is given as number fails there.
struct Squares {
  int count;
  int failsInNext = kNever, failsInMake = kNever, failsInTake = kNever, endsAt = kNever;

  std::vector<int> Made(unsigned threads) const {
    std::vector<int> taken;
    const auto next = [this, i = 0]() mutable {
      if (i == failsInNext) throw std::runtime_error("next");
      return i < count ? std::optional(i++) : std::nullopt;
    };
    const auto make = [this](int i) {
      std::this_thread::sleep_for(std::chrono::microseconds(100 * (3 - i % 4)));
      if (i == failsInMake) throw std::runtime_error("make");
      return i * i;
    };
    MakeInOrder(threads, next, make, [&](int square) {
      if (static_cast<int>(taken.size()) == failsInTake) throw std::runtime_error("take");
      taken.push_back(square);
      return static_cast<int>(taken.size()) != endsAt;
    });
    return taken;
  }
};

TEST(MakeInOrder, HandsOverAllInOrderUntilTheEnd) {
  for (const unsigned threads : {1u, 2u, 5u}) {
    for (const Squares squares : {Squares{0}, Squares{1}, Squares{100}, Squares{.count = 100, .endsAt = 7}}) {
      std::vector<int> expected(static_cast<std::size_t>(squares.endsAt == kNever ? squares.count : squares.endsAt));
      std::iota(expected.begin(), expected.end(), 0);
      for (int& number : expected) number *= number;
      EXPECT_EQ(squares.Made(threads), expected) << threads;
    }
  }
}

TEST(MakeInOrder, PassesOnWhatAnyPartThrows) {
  const std::pair<Squares, const char*> rows[] = {
      {{.count = 50, .failsInNext = 0}, "next"},
      {{.count = 50, .failsInNext = 20}, "next"},
      {{.count = 50, .failsInMake = 20}, "make"},
      {{.count = 50, .failsInTake = 20}, "take"},
      {{.count = 50, .failsInMake = 20, .failsInTake = 19}, "take"},
  };
  for (const auto& [squares, who] : rows) {
    for (const unsigned threads : {1u, 3u}) {
      try {
        squares.Made(threads);
        ADD_FAILURE() << who;
      } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), who);
      }
    }
  }
}

}  // namespace
}  // namespace kv::mission
