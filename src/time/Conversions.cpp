#include "KVUtilities.h"
#include "platform/FileTime.h"
#include "time/Angles.h"
#include "time/FileTimes.h"
#include "time/TimeStamps.h"

namespace {

constexpr const wchar_t* kErrorConvertingStamp =
    L"Unknown error occurred converting YYMMDD_HHMMSS string to System Time.";

}  // namespace

FILETIME KVUtilities::Int64ToFiletime(std::int64_t ticks) {
  return kv::FileTimeFromTicks(static_cast<std::uint64_t>(ticks));
}

std::int64_t KVUtilities::FiletimeToInt64(FILETIME time) { return static_cast<std::int64_t>(kv::Ticks(time)); }

FILETIME KVUtilities::AddSecondsToFileTime(FILETIME time, double seconds) {
  return kv::AddTicks(time, kv::SecondsToTicks(seconds));
}

SYSTEMTIME KVUtilities::AddSecondsToSystemTime(SYSTEMTIME time, double seconds) {
  return kv::SystemTimeOrZero(AddSecondsToFileTime(kv::FileTimeOrZero(time), seconds));
}

double KVUtilities::DeltaSecondsBetweenFileTimes(FILETIME a, FILETIME b) { return kv::SecondsBetween(a, b); }

double KVUtilities::DeltaSecondsBetweenSystemTimes(SYSTEMTIME a, SYSTEMTIME b) {
  return kv::SecondsBetween(kv::FileTimeOrZero(a), kv::FileTimeOrZero(b));
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

double KVUtilities::NMEA_DMtoDD(std::wstring text, wchar_t hemisphere) {
  return kv::DegreesFromNmea(std::wstring_view(text), hemisphere);
}
