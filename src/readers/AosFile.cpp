#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "georef/ClockWatch.h"
#include "platform/FileNames.h"
#include "readers/FieldFile.h"
#include "readers/OrientationLine.h"
#include "text/Blanks.h"

namespace {

constexpr const wchar_t* kErrorTicksPerSecond = L"Error computing Ticks/Second from heartbeat in AOS File.";

// Calls `read` with the tokens of every line, widened from the code page.
template <class Read>
void ForEachAosLine(const std::wstring& path, Read read) {
  kv::ByteOrderMark mark;
  std::array<std::string_view, kv::kMostOrientationTokens> used;
  std::array<std::wstring_view, kv::kMostOrientationTokens> tokens;
  std::wstring wide;
  kv::TextStream file(path);
  for (std::string_view line; file.ReadLine(line);) {
    line = mark.Skip(line);
    const auto found = kv::Tokenise(line, kv::Delimiters(","), used);
    if (found.size() < 2) continue;                                                 // fewer than any line that is read
    kv::WidenAnsi({line.data(), found.back().data() + found.back().size()}, wide);  // a line may be a gigabyte
    read(kv::Tokenise(std::wstring_view(wide), kv::Delimiters(","), tokens));
  }
}

}  // namespace

std::vector<tagKVAosEvent> KVUtilities::ScanKVAosFile(std::wstring path, std::wstring& error) {
  error.clear();
  std::vector<tagKVAosEvent> readings;
  ForEachAosLine(path, [&](std::span<const std::wstring_view> tokens) {
    if (const auto reading = kv::ReadDatedReading(tokens)) readings.push_back(*reading);
  });
  return readings;
}

std::vector<tagKVAosEvent> KVUtilities::ScanKVAosFileForQX7(std::wstring path, std::wstring& error) {
  error.clear();
  std::vector<tagKVAosEvent> readings;
  if (!kv::PathExists(path)) return readings;
  kv::LocalCalendar calendar;
  kv::ClockWatch clock;
  ForEachAosLine(path, [&](std::span<const std::wstring_view> tokens) {
    const auto line = kv::ReadClockedReading(tokens, calendar);
    if (!line) return;
    if (line->heartbeat) return clock.Heartbeat(line->reading.MasterTick, line->heartbeat->ValidTime());
    clock.Stamp(line->reading.MasterTick);
    readings.push_back(line->reading);
  });
  if (!clock.SetTimes(readings, [](const auto&) { return true; })) error = kErrorTicksPerSecond;
  return readings;
}
