#include "text/Tokens.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/TestSize.h"

namespace {

using Tokens = std::vector<std::string>;

// The rule, character by character.
Tokens Literally(const std::string& line, std::size_t most) {
  Tokens tokens;
  std::string token;
  for (const char c : line + '\t') {
    if (c != '\t' && c != ' ') {
      token += c;
    } else if (!token.empty() && tokens.size() < most) {
      tokens.push_back(token);
      token.clear();
    }
  }
  return tokens;
}

// Lines of every length around the blocks that are searched at once, at every offset in memory.
TEST(Tokens, AreThoseOfTheLiteralRule) {
  std::mt19937 random(16);
  for (int i = TestSize(20'000, 1'000'000); i > 0; --i) {
    std::string line(random() % 150, '\0');
    const auto sparse = 1 + random() % 20;
    for (char& c : line) c = random() % sparse == 0 ? "\t "[random() % 2] : static_cast<char>(random());
    std::vector<std::string_view> tokens(1 + random() % 40);
    const std::string held = std::string(random() % 16, ' ') + line;
    const auto view = std::string_view(held).substr(held.size() - line.size());
    const auto found = kv::Tokenise(view, kv::Delimiters("\t "), std::span(tokens));
    ASSERT_EQ(Tokens(found.begin(), found.end()), Literally(line, tokens.size())) << line;
  }
}

TEST(Tokens, SixteenBytesAreSearchedAlikeOnAllMachines) {
  std::mt19937_64 random(17);
  for (int i = 0; i < 20'000; ++i) {
    char bytes[16];
    for (char& byte : bytes) byte = static_cast<char>(random() % 4 ? ',' ^ (1 << random() % 8) : ',');
    ASSERT_EQ(kv::EqualInSixteenPortably(',', bytes), kv::EqualInSixteen(',', bytes));
    ASSERT_EQ(kv::LowerInSixteenPortably('-', bytes), kv::LowerInSixteen('-', bytes));
  }
}

}  // namespace
