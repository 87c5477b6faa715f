#include "time/TimeStamps.h"

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
