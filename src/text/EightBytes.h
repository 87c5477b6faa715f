#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Text read and written eight bytes at a time, the first byte lowest.
namespace kv {

static_assert(std::endian::native == std::endian::little);

inline constexpr std::uint64_t kEachByte = 0x0101'0101'0101'0101;

/// @param count  at most eight; the remaining bytes are zero
inline std::uint64_t LoadBytes(const char* from, std::size_t count = sizeof(std::uint64_t)) {
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, from, count);
  return bytes;
}

inline void StoreBytes(std::uint64_t bytes, char* to) { std::memcpy(to, &bytes, sizeof bytes); }

/// @return  the highest bit of every byte that is zero
constexpr std::uint64_t ZeroBytes(std::uint64_t bytes) {
  // No sum carries into the next byte, so the result is exact for every byte.
  constexpr std::uint64_t kLowBits = 0x7F * kEachByte;
  return ~(((bytes & kLowBits) + kLowBits) | bytes | kLowBits);
}

/// @param found  highest bits of bytes, as from `ZeroBytes`
/// @return       the index of the first, eight if there is none
constexpr std::size_t FirstByte(std::uint64_t found) { return static_cast<unsigned>(std::countr_zero(found)) / 8; }

/// The values of eight characters, each 0-9 if it is a digit.
constexpr std::uint64_t DigitValues(std::uint64_t characters) { return characters ^ '0' * kEachByte; }

/// The highest bit of every byte that is not a digit's value; bits after the first such byte are undefined.
constexpr std::uint64_t OtherThanDigits(std::uint64_t values) {
  return ((values + (0x7F - 9) * kEachByte) | values) & 0x80 * kEachByte;
}

/// The numbers of pairs of digits: that of the first two in the lowest byte, that of the next two in the third.
constexpr std::uint64_t PairsOf(std::uint64_t values) { return (values * 10 + (values >> 8)) & 0x00FF'00FF'00FF'00FF; }

/// The digits of a number below 10^8, with leading zeros.
constexpr std::uint64_t EightDigits(std::uint64_t number) {
  // Halves the number in all lanes at once. The products stand for divisions by 100 and 10, exact for lanes this small.
  const std::uint64_t fours = number / 10'000 | number % 10'000 << 32;
  const std::uint64_t hundreds = fours * 10'486 >> 20 & 0x0000'007F'0000'007F;
  const std::uint64_t twos = hundreds | (fours - 100 * hundreds) << 16;
  const std::uint64_t tens = twos * 103 >> 10 & 0x000F'000F'000F'000F;
  return (tens | (twos - 10 * tens) << 8) + '0' * kEachByte;
}

}  // namespace kv
