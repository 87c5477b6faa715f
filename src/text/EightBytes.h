#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Text read eight bytes at a time, the first byte lowest.
namespace kv {

static_assert(std::endian::native == std::endian::little);

inline constexpr std::uint64_t kEachByte = 0x0101'0101'0101'0101;

/// @param count  at most eight; the remaining bytes are zero
inline std::uint64_t LoadBytes(const char* from, std::size_t count = sizeof(std::uint64_t)) {
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, from, count);
  return bytes;
}

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

}  // namespace kv
