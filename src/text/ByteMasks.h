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
inline constexpr char kFiller = '\x7F';  // DEL, which nobody searches for

/// Which of sixteen bytes equal a character: a bit for each, the first byte lowest.
inline std::uint64_t EqualInSixteenPortably(char character, const char* bytes) {
  const auto equal = [character](std::uint64_t eight) {
    constexpr std::uint64_t kGather = 0x0102'0408'1020'4080;  // the lowest bits of eight bytes, as the highest byte
    return (ZeroBytes(eight ^ kEachByte * static_cast<unsigned char>(character)) >> 7) * kGather >> 56;
  };
  return equal(LoadBytes(bytes)) | equal(LoadBytes(bytes + 8)) << 8;
}

/// Which of sixteen bytes are lower than an ASCII character; bytes that are not ASCII count as lower.
inline std::uint64_t LowerInSixteenPortably(char character, const char* bytes) {
  std::uint64_t found = 0;
  for (int i = 0; i < 16; ++i) found |= std::uint64_t{static_cast<signed char>(bytes[i]) < character} << i;
  return found;
}

#if defined(__SSE2__) || defined(_M_X64)

inline std::uint64_t LowerInSixteen(char character, const char* bytes) {
  const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmplt_epi8(text, _mm_set1_epi8(character))));
}

inline std::uint64_t EqualInSixteen(char character, const char* bytes) {
  const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(text, _mm_set1_epi8(character))));
}

#else

inline std::uint64_t LowerInSixteen(char character, const char* bytes) {
  return LowerInSixteenPortably(character, bytes);
}

inline std::uint64_t EqualInSixteen(char character, const char* bytes) {
  return EqualInSixteenPortably(character, bytes);
}

#endif

/// Two sets of bytes that are searched for at once.
struct TwoMasks {
  std::uint64_t first = 0, second = 0;

  TwoMasks operator|(const TwoMasks& other) const { return {first | other.first, second | other.second}; }
  TwoMasks operator<<(std::size_t bytes) const { return {first << bytes, second << bytes}; }
  TwoMasks operator>>(std::size_t bytes) const { return {first >> bytes, second >> bytes}; }
};

/// Which of the 64 bytes of a text from `begin` on are wanted: a bit for each, the first byte lowest.
/// @param inSixteen  tells it of sixteen bytes, as one mask or two; `kFiller` is not wanted
template <class InSixteen>
auto BytesWanted(InSixteen inSixteen, std::string_view text, std::size_t begin) {
  constexpr std::size_t kSixteen = 16;
  const char* const bytes = text.data() + begin;
  const std::size_t count = std::min(text.size() - begin, kBytesAtOnce);
  if (count == kBytesAtOnce)
    return inSixteen(bytes) | inSixteen(bytes + 16) << 16 | inSixteen(bytes + 32) << 32 | inSixteen(bytes + 48) << 48;
  decltype(inSixteen(bytes)) found{};
  std::size_t at = 0;
  for (; at + kSixteen <= count; at += kSixteen) found = found | inSixteen(bytes + at) << at;
  if (at == count) return found;
  if (text.size() >= kSixteen) {  // the last sixteen of the text; nothing beyond its end may be read
    const auto last = inSixteen(bytes + count - kSixteen);
    return found | (count >= kSixteen ? last << (count - kSixteen) : last >> (kSixteen - count));
  }
  char padded[kSixteen];
  std::memset(padded, kFiller, kSixteen);
  std::memcpy(padded, bytes, count);
  return inSixteen(padded);
}

/// @param character  not `kFiller`
inline std::uint64_t BytesEqual(char character, std::string_view text, std::size_t begin) {
  return BytesWanted([=](const char* sixteen) { return EqualInSixteen(character, sixteen); }, text, begin);
}

}  // namespace kv
