#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// The ANSI code page of field files and attribute tables: the system's on Windows, Windows-1252 elsewhere.
namespace kv {

/// Converts `narrow` into `wide`, whose allocation is kept so that one string can serve many lines. The five bytes that
/// Windows-1252 leaves unassigned become the control characters of the same value.
void WidenAnsi(std::string_view narrow, std::wstring& wide);

/// Writes as many bytes of the text as fit. A character that the code page lacks becomes "?", never a similar one.
/// @return the number of bytes written
std::size_t NarrowAnsi(std::wstring_view wide, std::span<char> narrow);

}  // namespace kv
