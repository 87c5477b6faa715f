#pragma once

#include <string>
#include <string_view>

namespace kv::mission {

/// Appends a field of a table with commas; as RFC 4180 has it, one is quoted only where it must be.
inline void AppendCsvField(std::string_view field, std::string& text) {
  if (field.find_first_of(",\"\r\n") == std::string_view::npos) {
    text += field;
    return;
  }
  text += '"';
  for (const char c : field) {
    if (c == '"') text += '"';
    text += c;
  }
  text += '"';
}

}  // namespace kv::mission
