#include "text/Numbers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "baseline/StrictNumbers.h"
#include "platform/CodePage.h"
#include "support/TestSize.h"
#include "support/ThrownText.h"
#include "time/Angles.h"

namespace {

using namespace std::string_literals;

// Expected values of this file were measured on the C runtime that the rules are named after.
TEST(Numbers, LeadingInteger) {
  struct {
    std::wstring text;
    int value;
  } const rows[] = {
      {L"", 0},
      {L" ", 0},
      {L"42", 42},
      {L"\t\v\f\r\n 42", 42},
      {L"\x00A0"
       L"42",
       42},
      {L"+42", 42},
      {L"-42", -42},
      {L"- 42", 0},
      {L"+-42", 0},
      {L"42abc", 42},
      {L"0x1F", 0},
      {L"010", 10},
      {L"1.9", 1},
      {L".5", 0},
      {L"1e3", 1},
      {L" +7 8", 7},
      {L"\x0664\x0662", 42},
      {L"4\xFF12", 42},
      {L"\x00B2", 0},
      {L"\xFEFF"
       L"42",
       0},
      {L":1", 0},
      {L"/1", 0},
      {L"2147483647", 2147483647},
      {L"2147483648", 2147483647},
      {L"-2147483648", -2147483647 - 1},
      {L"-99999999999999999999", -2147483647 - 1},
      {L"4294967297", 2147483647},
  };
  for (const auto& [text, value] : rows) EXPECT_EQ(kv::LeadingInteger(text), value) << value;
}

TEST(Numbers, WholeInteger) {
  struct {
    std::wstring text;
    std::optional<std::int64_t> value;
  } const rows[] = {
      {L"1", 1},
      {L"+1", 1},
      {L"-1", -1},
      {L"-0", 0},
      {L"010", 10},
      {L"+00000010124", 10124},
      {L"", {}},
      {L"+", {}},
      {L"-", {}},
      {L"++1", {}},
      {L" 1", {}},
      {L"1 ", {}},
      {L"1.", {}},
      {L"1e5", {}},
      {L"0x10", {}},
      {L"1,000", {}},
      {L"\xFF11", {}},
      {std::wstring(L"1\0", 2), {}},
      {L"00000000000000000000000000000007", 7},
      {L"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {L"9223372036854775808", {}},
      {L"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
      {L"-9223372036854775809", {}},
      {L"18446744073709551617", {}},
  };
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(kv::WholeInteger(text), value) << std::string(text.begin(), text.end());
  }
}

TEST(Numbers, DigitsAndFiniteNumbersAreNarrower) {
  struct {
    const char* text;
    std::optional<int> digits;
    std::optional<double> finite;
  } const rows[] = {
      {"007", 7, 7},           {"999999999", 999999999, 999999999},
      {"1000000000", {}, 1e9}, {"", {}, {}},
      {"+7", {}, 7},           {"-7", {}, -7},
      {"7.", {}, 7},           {"1e3", {}, 1e3},
      {" 7", {}, {}},          {"7:", {}, {}},
      {"7/", {}, {}},          {"+-7", {}, {}},
      {"1e-400", {}, 0},       {"1e400", {}, {}},
      {"inf", {}, {}},         {"-nan(1)", {}, {}},
      {"0x10", {}, {}},
  };
  for (const auto& [text, digits, finite] : rows) {
    EXPECT_EQ(kv::Digits(text), digits) << text;
    EXPECT_EQ(kv::FiniteNumber(text), finite) << text;
  }
}

TEST(Numbers, WholeInteger32HasItsOwnRange) {
  struct {
    std::wstring text;
    std::optional<std::int32_t> value;
  } const rows[] = {
      {L"+2147483647", 2147483647},
      {L"2147483648", {}},
      {L"-2147483648", -2147483647 - 1},
      {L"-2147483649", {}},
      {L"4294967296", {}},
      {L"9223372036854775808", {}},
      {L"0000000000000042", 42},
      {L"2200.0", {}},
      {L"-0", 0},
      {L"", {}},
      {L" 1", {}},
  };
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(kv::WholeInteger32(text), value) << std::string(text.begin(), text.end());
  }
}

// Measured on Boost's lexical conversion of wide text, which names the rule.
TEST(Numbers, WholeDouble) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  struct {
    std::wstring text;
    double value;
  } const rows[] = {
      {L"+1", 1},
      {L"-.5", -0.5},
      {L"5.", 5},
      {L"08", 8},
      {L"1.e5", 1e5},
      {L"1E+05", 1e5},
      {L"37.79468641", 37.794686409999997},
      {L"9007199254740993", 9007199254740992},
      {L"123456789012345678901234567890", 1.2345678901234568e+29},
      {L"1.7976931348623157e308", 1.7976931348623157e+308},
      {L"2.2250738585072011e-308", 2.2250738585072009e-308},
      {L"4.9406564584124654e-324", 4.9406564584124654e-324},
      {L"0e400", 0},
      {L"1e-400", 0},
      {L"1e-99999999999", 0},
      {L"0." + std::wstring(400, L'0') + L"1e5", 0},
      {L"1" + std::wstring(400, L'0') + L"e-400", 1},
      {L"INF", kInfinity},
      {L"-Infinity", -kInfinity},
  };
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(kv::WholeDouble(text), value) << std::string(text.begin(), text.end());
  }
  for (const auto* text : {L"-0", L"-0.0", L"-1e-400"})
    EXPECT_TRUE(std::signbit(kv::WholeDouble(text).value())) << text;
  for (const auto* text : {L"nan", L"+NAN", L"-nan", L"nan()", L"nan(12 x)"}) {
    EXPECT_TRUE(std::isnan(kv::WholeDouble(text).value())) << text;
    EXPECT_EQ(std::signbit(kv::WholeDouble(text).value()), text[0] == L'-');
  }
  for (const std::wstring& text : {L""s,
                                   L"."s,
                                   L"-"s,
                                   L"+."s,
                                   L"++1"s,
                                   L"+-1"s,
                                   L"--1"s,
                                   L" 1"s,
                                   L"1 "s,
                                   L"1\r"s,
                                   L"1x"s,
                                   L"1e"s,
                                   L"1e-"s,
                                   L"1+"s,
                                   L".e5"s,
                                   L"e5"s,
                                   L"1d5"s,
                                   L"1.5.5"s,
                                   L"1e5e5"s,
                                   L"1,5"s,
                                   L"0x10"s,
                                   L"1e400"s,
                                   L"-1e400"s,
                                   L"1e99999999999"s,
                                   L"1.7976931348623159e308"s,
                                   std::wstring(400, L'9'),
                                   L"infinit"s,
                                   L"nanx"s,
                                   L"nan("s,
                                   L"inf()"s,
                                   L"1.#INF"s,
                                   L"\x0661"s,
                                   L"1\0"s}) {
    EXPECT_EQ(kv::WholeDouble(text), std::nullopt) << std::string(text.begin(), text.end());
  }
}

// Tokens of field files, and others with a character changed, added or lost.
class Tokens {
 public:
  std::wstring Next() {
    static constexpr std::wstring_view kCharacters = L"0123456789/:.+-eE infatyINFATY()xX,\x0661\x00A0\0";
    static const std::wstring kStarts[] = {L"",
                                           L"2178",
                                           L"48.11750000",
                                           L"-0.0035",
                                           L"273854.474686",
                                           L"9007199254740993",
                                           L"1.7976931348623157e308",
                                           L"4.9e-324",
                                           L"2147483648",
                                           L"-9223372036854775808",
                                           L"inf",
                                           L"nan(1)",
                                           L"1e-400",
                                           L"0.000000000000000000001e25"};
    std::wstring token = random_() % 3 ? kStarts[random_() % std::size(kStarts)] : Digits();
    for (auto changes = random_() % 4; changes > 0; --changes) {
      const std::size_t at = random_() % (token.size() + 1);
      const wchar_t character = kCharacters[random_() % kCharacters.size()];
      switch (random_() % 3) {
        case 0:
          token.insert(at, 1, character);
          break;
        case 1:
          token.erase(at, 1);
          break;
        default:
          token.replace(at, 1, 1, character);
      }
    }
    return token;
  }

 private:
  std::wstring Digits() {
    std::wstring digits(random_() % 25, L'0');
    for (wchar_t& digit : digits) digit = static_cast<wchar_t>(L'0' + random_() % 10);
    if (random_() % 2) digits.insert(random_() % (digits.size() + 1), 1, L'.');
    return (random_() % 3 ? L"" : L"-") + digits;
  }

  std::mt19937_64 random_{20231222};
};

template <class Number>
std::optional<std::int64_t> Bits(const std::optional<Number>& value) {
  if (!value) return std::nullopt;
  if constexpr (std::is_integral_v<Number>)
    return *value;
  else
    return std::bit_cast<std::int64_t>(*value);
}

TEST(Numbers, StrictNumbersAreThoseOfTheConversionThatNamesTheRule) {
  Tokens tokens;
  for (int i = TestSize(300'000, 5'000'000); i > 0; --i) {
    const std::wstring token = tokens.Next();
    const std::string shown(token.begin(), token.end());
    ASSERT_EQ(Bits(kv::WholeDouble(token)), Bits(baseline::WholeNumber<double>(token))) << shown;
    ASSERT_EQ(Bits(kv::WholeInteger(token)), Bits(baseline::WholeNumber<std::int64_t>(token))) << shown;
    ASSERT_EQ(Bits(kv::WholeInteger32(token)), Bits(baseline::WholeNumber<std::int32_t>(token))) << shown;
  }
}

// A number, or why there is none.
template <class Read>
std::string OutcomeOf(Read read) try {
  return std::to_string(std::bit_cast<std::int64_t>(read()));
} catch (const std::exception& thrown) {
  return thrown.what();
}

TEST(Numbers, BytesOfTheCodePageReadAsTheirWideText) {
  Tokens tokens;
  for (int i = TestSize(100'000, 2'000'000); i > 0; --i) {
    std::wstring text = i % 8 ? tokens.Next() : L" \t" + tokens.Next();
    std::string bytes(text.size(), ' ');
    kv::NarrowAnsi(text, bytes);
    kv::WidenAnsi(bytes, text);
    const std::vector<char> exact(bytes.begin(), bytes.end());  // no byte more to read
    const std::string_view ansi(exact.data(), exact.size());
    const std::wstring_view wide = text;
    ASSERT_EQ(Bits(kv::WholeDouble(ansi)), Bits(kv::WholeDouble(wide))) << bytes;
    ASSERT_EQ(kv::WholeInteger(ansi), kv::WholeInteger(wide)) << bytes;
    ASSERT_EQ(kv::WholeInteger32(ansi), kv::WholeInteger32(wide)) << bytes;
    ASSERT_EQ(kv::LeadingInteger(ansi), kv::LeadingInteger(wide)) << bytes;
    ASSERT_EQ(OutcomeOf([&] { return kv::LeadingDouble(ansi); }), OutcomeOf([&] { return kv::LeadingDouble(wide); }))
        << bytes;
    ASSERT_EQ(OutcomeOf([&] { return kv::DegreesFromNmea(ansi, 'S'); }),
              OutcomeOf([&] { return kv::DegreesFromNmea(wide, L'S'); }))
        << bytes;
  }
}

TEST(Numbers, LeadingDouble) {
  struct {
    std::wstring text;
    double value;
  } const rows[] = {
      {L"+1", 1},
      {L"\v\f\r1", 1},
      {L"\x00A0"
       L"1",
       1},
      {L"\x3000"
       L"1",
       1},
      {L"1 x", 1},
      {L".5", 0.5},
      {L"5.", 5},
      {L"-.5", -0.5},
      {L"1e", 1},
      {L"1e+", 1},
      {L"1e+05", 1e5},
      {L"1d5", 1},
      {L"1,5", 1},
      {L"1.5.5", 1.5},
      {L"1.#INF", 1},
      {L"0x10", 16},
      {L"0X1p4", 16},
      {L"0x.8", 0.5},
      {L"0x1p", 1},
      {L"0x", 0},
      {L"0xg", 0},
      {L"-0x1.8p1", -3},
      {L"0e400", 0},
      {L"1e-310", 1e-310},
      {L"4.9406564584124654e-324", 4.9406564584124654e-324},
      {L"2.4703282292062328e-324", 4.9406564584124654e-324},
      {L"1.7976931348623158e308", 1.7976931348623157e308},
      {L"9007199254740993", 9007199254740992},
      {L"9007199254740993.0000000001", 9007199254740994},
      {L"0x1.fffffffffffff8p0", 2},
      {L"-infinity", -std::numeric_limits<double>::infinity()},
      {L"infx", std::numeric_limits<double>::infinity()},
      {L"0." + std::wstring(800, L'3'), 1.0 / 3},
  };
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(kv::LeadingDouble(text), value) << std::string(text.begin(), text.end());
  }
  EXPECT_TRUE(std::signbit(kv::LeadingDouble(L"-0.0")));
  for (const auto* text : {L"nan", L"+NAN", L"nan(ind)", L"nanx"}) EXPECT_TRUE(std::isnan(kv::LeadingDouble(text)));
}

TEST(Numbers, LeadingDoubleSaysWhyItRefuses) {
  const std::string invalid = "invalid stod argument", range = "stod argument out of range";
  struct {
    std::wstring text;
    std::string message;
  } const rows[] = {
      {L"", invalid},
      {L".", invalid},
      {L"+.", invalid},
      {L"+-1", invalid},
      {L"--1", invalid},
      {L"- 1", invalid},
      {L".e5", invalid},
      {L"M", invalid},
      {L"e5", invalid},
      {L"\xFF11", invalid},
      {L"1e400", range},
      {L"-1e400", range},
      {L"1.8e308", range},
      {L"1e-400", range},
      {L"1e99999999999", range},
      {L"1e-99999999999", range},
      {L"0x1p1024", range},
      {L"0x1p-1076", range},
      {L"2.4703282292062327e-324", range},
      {std::wstring(400, L'9'), range},
      {L"0." + std::wstring(400, L'0') + L"1", range},
  };
  for (const auto& [text, message] : rows) {
    EXPECT_EQ(ThrownText([&] { kv::LeadingDouble(text); }), message) << std::string(text.begin(), text.end());
  }
}

}  // namespace
