#include "photos/PixelLoops.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <numeric>
#include <opencv2/core.hpp>
#include <opencv2/core/hal/intrin.hpp>

// AVX2 code stands in functions of its own, called only where the processor has AVX2.
#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define KV_WIDE __attribute__((target("avx2")))
#endif

namespace kv {
namespace {

// The Laplacian of 8-bit values lies in -1020..1020, so the squares of a large block's pixels fit 32 bits.
constexpr int kLargeBlock = 256, kSmallBlock = 32;  // pixels

int Laplacian(const RowTriple& rows, int column, int left, int right) {
  return rows.above[column] + rows.below[column] + rows.row[left] + rows.row[right] - 4 * rows.row[column];
}

// Takes a fixed number of pixels, none at the left or right edge, as products of 16-bit numbers, which compilers turn
// into vector code.
template <int kPixels>
std::int32_t SquaresOfBlock(const RowTriple& rows, int first) {
  const std::uint8_t* above = rows.above + first;
  const std::uint8_t* left = rows.row + first - 1;
  const std::uint8_t* centre = rows.row + first;
  const std::uint8_t* right = rows.row + first + 1;
  const std::uint8_t* below = rows.below + first;
  std::int32_t squares = 0;
  for (int i = 0; i < kPixels; ++i) {
    const auto laplacian = static_cast<std::int16_t>(above[i] + below[i] + left[i] + right[i] - 4 * centre[i]);
    squares += laplacian * laplacian;
  }
  return squares;
}

std::int64_t Square(int laplacian) { return std::int64_t{laplacian} * laplacian; }

// @param column  the first; advanced as far as whole blocks reach
std::int64_t SquaresOfBlocks(const RowTriple& rows, int& column, int end) {
  std::int64_t squares = 0;
  for (; column + kLargeBlock <= end; column += kLargeBlock) squares += SquaresOfBlock<kLargeBlock>(rows, column);
  for (; column + kSmallBlock <= end; column += kSmallBlock) squares += SquaresOfBlock<kSmallBlock>(rows, column);
  return squares;
}

template <class OfBlocks>
std::int64_t SquaresOfRow(const RowTriple& rows, int columns, OfBlocks ofBlocks) {
  const int last = columns - 1;
  const int besideEdge = std::min(1, last);  // replaces the pixel beyond an edge; with one column, the pixel itself
  std::int64_t squares = Square(Laplacian(rows, 0, besideEdge, besideEdge));
  int column = 1;
  squares += ofBlocks(rows, column, last);
  for (; column < last; ++column) squares += Square(Laplacian(rows, column, column - 1, column + 1));
  if (last > 0) squares += Square(Laplacian(rows, last, last - besideEdge, last - besideEdge));
  return squares;
}

// OpenCV's weights for its conversion 7, in units of 2^-15: the first channel has that of red, on purpose.
constexpr short kWeights[] = {9798, 19235, 3735};
constexpr int kHalf = 1 << 14, kShift = 15;

std::uint8_t GreyOf(const std::uint8_t* pixel) {
  return static_cast<std::uint8_t>((pixel[0] * kWeights[0] + pixel[1] * kWeights[1] + pixel[2] * kWeights[2] + kHalf) >>
                                   kShift);
}

// Four pixels, each in four bytes. The last byte is the fourth channel, or belongs to the next pixel.
template <int kChannels>
cv::v_uint16x8 FourPixels(const std::uint8_t* pixels) {
  if constexpr (kChannels == 4) return cv::v_reinterpret_as_u16(cv::v_load(pixels));
  const auto pixel = [pixels](int index) {
    int bytes = 0;
    std::memcpy(&bytes, pixels + kChannels * index, sizeof bytes);
    return bytes;
  };
  return cv::v_reinterpret_as_u16(cv::v_int32x4(pixel(0), pixel(1), pixel(2), pixel(3)));
}

// Products of the first and third bytes, then of the second.
template <int kChannels>
cv::v_int32x4 GreyOfFour(const std::uint8_t* pixels) {
  const auto [a, b, c] = kWeights;
  const cv::v_int16x8 outer(a, c, a, c, a, c, a, c), middle(b, 0, b, 0, b, 0, b, 0);
  const cv::v_uint16x8 pairs = FourPixels<kChannels>(pixels);
  const auto signedPairs = [](const cv::v_uint16x8& numbers) { return cv::v_reinterpret_as_s16(numbers); };
  return (cv::v_dotprod(signedPairs(pairs & cv::v_setall_u16(0xFF)), outer) +
          cv::v_dotprod(signedPairs(pairs >> 8), middle) + cv::v_setall_s32(kHalf)) >>
         kShift;
}

// Pictures of three channels are whole in memory, beyond the caches. The processor itself looks ahead within a page of
// memory only, and a row has several.
constexpr int kPixelsAhead = 512;

#if defined(__GNUC__)
void AskFor(const std::uint8_t* pixel) { __builtin_prefetch(pixel); }
#else
void AskFor(const std::uint8_t*) {}
#endif

// Does what OpenCV does, without what its conversion costs for each call; several rows at once would leave the cache.
template <int kChannels>
void ConvertRow(const std::uint8_t* pixels, int columns, std::uint8_t* grey) {
  int column = 0;
  for (; column + 16 < columns; column += 16) {  // another pixel follows: the last four bytes may reach into it
    if constexpr (kChannels == 3) AskFor(pixels + kChannels * std::min(column + kPixelsAhead, columns));
    const auto four = [at = pixels + kChannels * column](int index) {
      return GreyOfFour<kChannels>(at + 4 * kChannels * index);
    };
    cv::v_store(grey + column, cv::v_pack_u(cv::v_pack(four(0), four(1)), cv::v_pack(four(2), four(3))));
  }
  for (; column < columns; ++column) grey[column] = GreyOf(pixels + kChannels * column);
}

std::int64_t PlainSquares(const RowTriple& rows, int columns) { return SquaresOfRow(rows, columns, SquaresOfBlocks); }

#if defined(KV_WIDE)

KV_WIDE inline __m256i Load(const std::uint8_t* bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

// Squares of sixteen pixels, in eight sums.
// @param aboveAndBelow, leftAndRight  bytes in turn
// @param centre                       16-bit numbers
KV_WIDE inline __m256i SquaresOfSixteen(__m256i aboveAndBelow, __m256i leftAndRight, __m256i centre) {
  const __m256i ones = _mm256_set1_epi8(1);
  const __m256i around = _mm256_add_epi16(_mm256_maddubs_epi16(aboveAndBelow, ones),  //
                                          _mm256_maddubs_epi16(leftAndRight, ones));
  const __m256i laplacians = _mm256_sub_epi16(around, _mm256_slli_epi16(centre, 2));
  return _mm256_madd_epi16(laplacians, laplacians);
}

// As `SquaresOfBlocks`.
KV_WIDE std::int64_t WideSquaresOfBlocks(const RowTriple& rows, int& column, int end) {
  constexpr int kMostBlocks = 256;  // whose sums fit 32 bits
  std::int64_t squares = 0;
  while (column + kSmallBlock <= end) {
    __m256i sums = _mm256_setzero_si256();
    for (int block = 0; block < kMostBlocks && column + kSmallBlock <= end; ++block, column += kSmallBlock) {
      const __m256i above = Load(rows.above + column), below = Load(rows.below + column);
      const __m256i left = Load(rows.row + column - 1), right = Load(rows.row + column + 1);
      const __m256i centre = Load(rows.row + column), zeros = _mm256_setzero_si256();
      const __m256i low = SquaresOfSixteen(_mm256_unpacklo_epi8(above, below), _mm256_unpacklo_epi8(left, right),
                                           _mm256_unpacklo_epi8(centre, zeros));
      const __m256i high = SquaresOfSixteen(_mm256_unpackhi_epi8(above, below), _mm256_unpackhi_epi8(left, right),
                                            _mm256_unpackhi_epi8(centre, zeros));
      sums = _mm256_add_epi32(sums, _mm256_add_epi32(low, high));
    }
    std::int32_t each[8];
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(each), sums);
    squares = std::accumulate(std::begin(each), std::end(each), squares);
  }
  return squares;
}

std::int64_t WideSquares(const RowTriple& rows, int columns) {
  return SquaresOfRow(rows, columns, WideSquaresOfBlocks);
}

// As `GreyOfFour`.
KV_WIDE inline __m256i GreyOfEight(const std::uint8_t* pixels) {
  const __m256i pairs = Load(pixels);
  const __m256i outer = _mm256_madd_epi16(_mm256_and_si256(pairs, _mm256_set1_epi16(0xFF)),
                                          _mm256_set1_epi32(kWeights[0] | kWeights[2] << 16));
  const __m256i middle = _mm256_madd_epi16(_mm256_srli_epi16(pairs, 8), _mm256_set1_epi32(kWeights[1]));
  return _mm256_srli_epi32(_mm256_add_epi32(_mm256_add_epi32(outer, middle), _mm256_set1_epi32(kHalf)), kShift);
}

KV_WIDE void WideGrey(const std::uint8_t* pixels, int columns, std::uint8_t* grey) {
  const __m256i inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);  // packing takes both halves by themselves
  int column = 0;
  for (; column + 32 <= columns; column += 32) {
    const std::uint8_t* const at = pixels + 4 * column;
    const __m256i first = _mm256_packs_epi32(GreyOfEight(at), GreyOfEight(at + 32));
    const __m256i second = _mm256_packs_epi32(GreyOfEight(at + 64), GreyOfEight(at + 96));
    const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(first, second), inOrder);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(grey + column), packed);
  }
  ConvertRow<4>(pixels + 4 * column, columns - column, grey + column);
}

#endif

}  // namespace

const PixelLoops& PlainLoops() {
  static constexpr PixelLoops kLoops{ConvertRow<3>, ConvertRow<4>, PlainSquares};
  return kLoops;
}

const PixelLoops& WideLoops() {
#if defined(KV_WIDE)
  static constexpr PixelLoops kLoops{ConvertRow<3>, WideGrey, WideSquares};
  if (__builtin_cpu_supports("avx2")) return kLoops;
#endif
  return PlainLoops();
}

}  // namespace kv
