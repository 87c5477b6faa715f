#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "text/EightBytes.h"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

/// Searches for a character in up to 64 bytes of a text at once.
namespace kv {

inline constexpr std::size_t kBytesAtOnce = 64;

/// Which of sixteen bytes equal a character: a bit for each, the first byte lowest.
inline std::uint64_t EqualInSixteenPortably(char character, const char* bytes) {
  const auto equal = [character](std::uint64_t eight) {
    constexpr std::uint64_t kGather = 0x0102'0408'1020'4080;  // the lowest bits of eight bytes, as the highest byte
    return (ZeroBytes(eight ^ kEachByte * static_cast<unsigned char>(character)) >> 7) * kGather >> 56;
  };
  return equal(LoadBytes(bytes)) | equal(LoadBytes(bytes + 8)) << 8;
}

#if defined(__SSE2__) || defined(_M_X64)

inline std::uint64_t EqualInSixteen(char character, const char* bytes) {
  const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(text, _mm_set1_epi8(character))));
}

#else

inline std::uint64_t EqualInSixteen(char character, const char* bytes) {
  return EqualInSixteenPortably(character, bytes);
}

#endif

/// Which of the 64 bytes of a text from `begin` on equal each of some characters: a bit for each, the first byte lowest.
/// @param characters  not NUL
template <std::size_t kCount>
std::array<std::uint64_t, kCount> BytesEqual(const std::array<char, kCount>& characters, std::string_view text,
                                             std::size_t begin) {
  constexpr std::size_t kSixteen = 16;
  const char* const bytes = text.data() + begin;
  const std::size_t count = std::min(text.size() - begin, kBytesAtOnce);
  std::array<std::uint64_t, kCount> found{};
  const auto add = [&](const char* sixteen, auto place) {
    for (std::size_t i = 0; i < kCount; ++i) found[i] |= place(EqualInSixteen(characters[i], sixteen));
  };
  std::size_t at = 0;
  for (; at + kSixteen <= count; at += kSixteen) add(bytes + at, [at](std::uint64_t bits) { return bits << at; });
  if (at == count) return found;
  if (text.size() >= kSixteen) {  // the last sixteen of the text; nothing beyond its end may be read
    add(bytes + count - kSixteen, [count](std::uint64_t bits) {
      return count >= kSixteen ? bits << (count - kSixteen) : bits >> (kSixteen - count);
    });
    return found;
  }
  char padded[kSixteen] = {};
  std::memcpy(padded, bytes, count);
  add(padded, [](std::uint64_t bits) { return bits; });
  return found;
}

inline std::uint64_t BytesEqual(char character, std::string_view text, std::size_t begin) {
  return BytesEqual(std::array{character}, text, begin)[0];
}

}  // namespace kv
