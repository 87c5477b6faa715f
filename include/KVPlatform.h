#pragma once
/// @file
/// The platform types that cross the library's boundary. On Windows they are the system's own; elsewhere this header
/// declares types of the same layout and meaning, so that a caller's code reads the same on both.

#if defined(_WIN32)

#include <windows.h>

#if defined(KVUTILITIES_BUILD)
#define KVUTILITIES_API __declspec(dllexport)
#elif defined(KVUTILITIES_STATIC)
#define KVUTILITIES_API
#else
#define KVUTILITIES_API __declspec(dllimport)
#endif

#else

#include <cstdint>

#define KVUTILITIES_API __attribute__((visibility("default")))

/// 100-nanosecond ticks since 1601-01-01 00:00:00 UTC, unsigned 64 bits in two halves.
struct FILETIME {
  std::uint32_t dwLowDateTime;
  std::uint32_t dwHighDateTime;
};

/// A calendar time; `wDayOfWeek` counts from 0 = Sunday.
struct SYSTEMTIME {
  std::uint16_t wYear;
  std::uint16_t wMonth;
  std::uint16_t wDayOfWeek;
  std::uint16_t wDay;
  std::uint16_t wHour;
  std::uint16_t wMinute;
  std::uint16_t wSecond;
  std::uint16_t wMilliseconds;
};

#endif

#if defined(_WIN32) && __has_include(<atlstr.h>)

#include <atlstr.h>

#else

#include <atomic>
#include <cstddef>
#include <new>
#include <string_view>
#include <utility>

/// A wide string of one pointer: copies share one buffer, which knows its length and counts its owners. Copying is safe
/// from several threads at once; changing one object from several threads is not.
class CStringW {
 public:
  CStringW() noexcept = default;
  CStringW(const wchar_t* text) { Assign(View(text), {}); }
  CStringW(const wchar_t* text, int length) {
    if (text && length > 0) Assign({text, static_cast<std::size_t>(length)}, {});
  }
  CStringW(const CStringW& other) noexcept : buffer_(other.buffer_) {
    if (buffer_) buffer_->owners.fetch_add(1, std::memory_order_relaxed);
  }
  CStringW(CStringW&& other) noexcept : buffer_(std::exchange(other.buffer_, nullptr)) {}
  CStringW& operator=(CStringW other) noexcept {
    std::swap(buffer_, other.buffer_);
    return *this;
  }
  ~CStringW() { Release(); }

  const wchar_t* GetString() const noexcept { return buffer_ ? Text(buffer_) : L""; }
  operator const wchar_t*() const noexcept { return GetString(); }
  int GetLength() const noexcept { return static_cast<int>(View().size()); }
  bool IsEmpty() const noexcept { return !buffer_; }

  CStringW& operator+=(const CStringW& tail) {
    CStringW joined;
    joined.Assign(View(), tail.View());
    return *this = std::move(joined);
  }
  CStringW& operator+=(const wchar_t* tail) { return *this += CStringW(tail); }

  friend bool operator==(const CStringW& a, const CStringW& b) noexcept { return a.View() == b.View(); }
  friend bool operator!=(const CStringW& a, const CStringW& b) noexcept { return a.View() != b.View(); }
  friend bool operator==(const CStringW& a, const wchar_t* b) noexcept { return a.View() == View(b); }
  friend bool operator==(const wchar_t* a, const CStringW& b) noexcept { return b == a; }
  friend bool operator!=(const CStringW& a, const wchar_t* b) noexcept { return !(a == b); }
  friend bool operator!=(const wchar_t* a, const CStringW& b) noexcept { return !(b == a); }

  // By character values. Every pair of operands needs an overload, or the conversion to a pointer compares addresses.
  friend bool operator<(const CStringW& a, const CStringW& b) noexcept { return a.View() < b.View(); }
  friend bool operator<(const CStringW& a, const wchar_t* b) noexcept { return a.View() < View(b); }
  friend bool operator<(const wchar_t* a, const CStringW& b) noexcept { return View(a) < b.View(); }
  friend bool operator>(const CStringW& a, const CStringW& b) noexcept { return b < a; }
  friend bool operator>(const CStringW& a, const wchar_t* b) noexcept { return b < a; }
  friend bool operator>(const wchar_t* a, const CStringW& b) noexcept { return b < a; }
  friend bool operator<=(const CStringW& a, const CStringW& b) noexcept { return !(b < a); }
  friend bool operator<=(const CStringW& a, const wchar_t* b) noexcept { return !(b < a); }
  friend bool operator<=(const wchar_t* a, const CStringW& b) noexcept { return !(b < a); }
  friend bool operator>=(const CStringW& a, const CStringW& b) noexcept { return !(a < b); }
  friend bool operator>=(const CStringW& a, const wchar_t* b) noexcept { return !(a < b); }
  friend bool operator>=(const wchar_t* a, const CStringW& b) noexcept { return !(a < b); }

 private:
  struct Buffer {  // the characters and a closing zero follow it in the same allocation
    std::atomic<long> owners;
    std::size_t length;
  };

  static std::wstring_view View(const wchar_t* text) noexcept {  // a null pointer is an empty text
    return text ? std::wstring_view(text) : std::wstring_view();
  }
  static wchar_t* Text(Buffer* buffer) noexcept { return reinterpret_cast<wchar_t*>(buffer + 1); }
  std::wstring_view View() const noexcept {
    return buffer_ ? std::wstring_view(Text(buffer_), buffer_->length) : std::wstring_view();
  }

  void Assign(std::wstring_view head, std::wstring_view tail) {
    const std::size_t length = head.size() + tail.size();
    if (length == 0) return;
    void* memory = ::operator new(sizeof(Buffer) + (length + 1) * sizeof(wchar_t));
    buffer_ = new (memory) Buffer{{1}, length};
    head.copy(Text(buffer_), head.size());
    tail.copy(Text(buffer_) + head.size(), tail.size());
    Text(buffer_)[length] = L'\0';
  }
  void Release() noexcept {
    if (buffer_ && buffer_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      buffer_->~Buffer();
      ::operator delete(buffer_);
    }
  }

  Buffer* buffer_ = nullptr;
};

#endif
