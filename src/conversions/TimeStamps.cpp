#include "conversions/TimeStamps.h"

#include "KVUtilities.h"

namespace {

constexpr const wchar_t* kErrorConvertingStamp =
    L"Unknown error occurred converting YYMMDD_HHMMSS string to System Time.";

}  // namespace

SYSTEMTIME kv::CalendarTime(std::wstring_view text) {
  const auto field = [&](std::size_t begin, std::size_t count) {
    return static_cast<std::uint16_t>(LeadingInteger(Piece(text, begin, count)));
  };
  SYSTEMTIME time{};
  time.wYear = field(0, 4);
  time.wMonth = field(5, 2);
  time.wDay = field(8, 2);
  time.wHour = field(11, 2);
  time.wMinute = field(14, 2);
  time.wSecond = field(17, 2);
  return time;
}

SYSTEMTIME KVUtilities::GetSystemTimeFromYYMMDD_HHMMSS(std::wstring stamp, std::wstring& error) {
  SYSTEMTIME time{};
  try {
    error.clear();
    const std::wstring_view text = stamp;
    const auto field = [&](std::size_t begin) { return static_cast<std::uint16_t>(kv::TwoDigits(text, begin)); };
    time.wYear = static_cast<std::uint16_t>(field(0) + 2000);
    time.wMonth = field(2);
    time.wDay = field(4);
    time.wHour = field(7);  // the separator at 6 may be anything
    time.wMinute = field(9);
    time.wSecond = field(11);
  } catch (...) {
    error = kErrorConvertingStamp;
  }
  return time;
}

std::wstring KVUtilities::GetSkyvaneDateTimeFromPrettyDateTime(std::wstring prettyDateTime) {
  try {
    if (prettyDateTime.empty()) return {};
    const std::wstring_view text = prettyDateTime;
    std::wstring stamp;
    for (const std::size_t begin : {2u, 5u, 8u}) stamp += kv::Piece(text, begin, 2);
    stamp += L'_';
    for (const std::size_t begin : {11u, 14u, 17u}) stamp += kv::Piece(text, begin, 2);
    return stamp;
  } catch (...) {
    return {};
  }
}
