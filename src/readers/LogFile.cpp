#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KVUtilities.h"
#include "platform/TextStream.h"
#include "readers/FieldFile.h"
#include "readers/HousekeepingEntry.h"

std::vector<tagKVLogEvent> KVUtilities::ScanKVLogFile(std::wstring path, std::wstring& error) {
  error.clear();
  std::vector<tagKVLogEvent> events;
  kv::HousekeepingReader reader;
  kv::TextStream file(path);
  for (std::string_view line; file.ReadLine(line, kv::kLongestBoundedLine);) {
    auto entry = reader.Read(line);
    if (!entry) continue;
    error += entry->errorLine;
    events.push_back(std::move(entry->event));
  }
  return events;
}
