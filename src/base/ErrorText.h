#pragma once

#include <new>
#include <string>

namespace kv {

/// Puts a sentence into a caller's error text. When even that much memory is missing the text stays empty: operations
/// that promise not to throw report through here.
inline void Report(std::wstring& error, const wchar_t* sentence) noexcept {
  try {
    error = sentence;
  } catch (const std::bad_alloc&) {
    error.clear();
  }
}

}  // namespace kv
