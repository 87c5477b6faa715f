#include <gtest/gtest.h>

#include <limits>

#include "KVUtilities.h"
#include "support/ThrownText.h"

namespace {

TEST(Angles, DegreesOfAnNmeaAngle) {
  struct {
    std::wstring text;
    wchar_t hemisphere;
    double degrees;
  } const rows[] = {
      {L"4807.038", L'N', 48 + 7.038 / 60},
      {L"4807.038", L'S', -(48 + 7.038 / 60)},
      {L"01131.000", L'E', 11 + 31.0 / 60},
      {L"01131.000", L'w', -(11 + 31.0 / 60)},
      {L"01131.000", L's', -(11 + 31.0 / 60)},
      {L"01131.000", L'?', 11 + 31.0 / 60},
      {L"-0130.25", L'N', -1 + (-30 + 0.25) / 60},  // the sign belongs to the whole part alone
      {L"12e2.5", L'N', 12 + 0.5 / 60},
  };
  for (const auto& [text, hemisphere, degrees] : rows) {
    EXPECT_NEAR(KVUtilities::NMEA_DMtoDD(text, hemisphere), degrees, 1e-13);
  }
}

TEST(Angles, WhatIsNoAngleThrows) {
  struct {
    std::wstring text;
    std::string message;
  } const rows[] = {
      {L"4807", "invalid string position"},       {L"A", "invalid string position"},
      {L"", "invalid string position"},           {L".5", "invalid stod argument"},
      {L"4807.", "invalid stod argument"},        {L"48x.x", "invalid stod argument"},
      {L"1e400.5", "stod argument out of range"},
  };
  for (const auto& [text, message] : rows) {
    EXPECT_EQ(ThrownText([&] { KVUtilities::NMEA_DMtoDD(text, L'N'); }), message);
  }
  // A whole part beyond 32 bits is defined, if meaningless.
  const double lowest = std::numeric_limits<int>::min() / 100 + -48.0 / 60;
  for (const auto* text : {L"1e300.0", L"nan.0", L"inf.0", L"-2147483649.0"}) {
    EXPECT_NEAR(KVUtilities::NMEA_DMtoDD(text, L'N'), lowest, 1e-6);
  }
}

}  // namespace
