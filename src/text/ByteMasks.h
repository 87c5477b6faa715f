#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "text/EightBytes.h"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

/// Searches for characters in up to 64 bytes of a text at once.
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

/// Which of sixteen bytes are one of a row of characters.
inline std::uint64_t BetweenInSixteenPortably(char first, char last, const char* bytes) {
  std::uint64_t found = 0;
  for (int i = 0; i < 16; ++i) found |= std::uint64_t{first <= bytes[i] && bytes[i] <= last} << i;
  return found;
}

#if defined(__SSE2__) || defined(_M_X64)

inline std::uint64_t EqualInSixteen(char character, const char* bytes) {
  const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(text, _mm_set1_epi8(character))));
}

inline std::uint64_t BetweenInSixteen(char first, char last, const char* bytes) {
  const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  const __m128i isOutside = _mm_or_si128(_mm_cmplt_epi8(text, _mm_set1_epi8(first)),  //
                                         _mm_cmpgt_epi8(text, _mm_set1_epi8(last)));
  return static_cast<std::uint32_t>(_mm_movemask_epi8(isOutside)) ^ 0xFFFF;
}

#else

inline std::uint64_t EqualInSixteen(char character, const char* bytes) {
  return EqualInSixteenPortably(character, bytes);
}

inline std::uint64_t BetweenInSixteen(char first, char last, const char* bytes) {
  return BetweenInSixteenPortably(first, last, bytes);
}

#endif

/// Which of the 64 bytes of a text from `begin` on are wanted: a bit for each, the first byte lowest.
/// @param inSixteen  tells it of sixteen bytes; NUL is not wanted
template <class InSixteen>
std::uint64_t BytesWanted(InSixteen inSixteen, std::string_view text, std::size_t begin) {
  constexpr std::size_t kSixteen = 16;
  const char* const bytes = text.data() + begin;
  const std::size_t count = std::min(text.size() - begin, kBytesAtOnce);
  std::uint64_t found = 0;
  std::size_t at = 0;
  for (; at + kSixteen <= count; at += kSixteen) found |= inSixteen(bytes + at) << at;
  if (at == count) return found;
  if (text.size() >= kSixteen) {  // the last sixteen of the text; nothing beyond its end may be read
    const std::uint64_t last = inSixteen(bytes + count - kSixteen);
    return found | (count >= kSixteen ? last << (count - kSixteen) : last >> (kSixteen - count));
  }
  char padded[kSixteen] = {};
  std::memcpy(padded, bytes, count);
  return inSixteen(padded);
}

/// @param character  not NUL
inline std::uint64_t BytesEqual(char character, std::string_view text, std::size_t begin) {
  return BytesWanted([=](const char* sixteen) { return EqualInSixteen(character, sixteen); }, text, begin);
}

/// @param first,last  of a row of ASCII characters without NUL
inline std::uint64_t BytesBetween(char first, char last, std::string_view text, std::size_t begin) {
  return BytesWanted([=](const char* sixteen) { return BetweenInSixteen(first, last, sixteen); }, text, begin);
}

}  // namespace kv
