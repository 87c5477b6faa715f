#include "simulation/GroundTexture.h"

#include <algorithm>
#include <array>

namespace kv::simulation {
namespace {

constexpr std::size_t kSide = GroundTexture::kSide;
constexpr std::size_t kBlurRadius = 3;  // pixels

/// One scale of the relief: random values on a lattice, blended between its points.
struct Octave {
  std::size_t cell;  // pixels, a power of two
  int amplitude;     // of 255
};
constexpr auto kRelief = std::to_array<Octave>({{128, 60}, {32, 50}, {8, 40}, {2, 60}, {1, 30}});
constexpr auto kSoil = std::to_array<Octave>({{256, 140}, {64, 100}});  // where the ground is bare

/// Adds an octave of values around zero. Integer arithmetic makes it identical on every processor.
void AddOctave(std::vector<int>& field, const Octave& octave, Random& random) {
  const std::size_t cells = kSide / octave.cell;
  const int cell = static_cast<int>(octave.cell);
  std::vector<int> lattice(cells * cells);
  for (int& value : lattice) value = static_cast<int>(random.Index(256)) - 128;

  for (std::size_t y = 0; y < kSide; ++y) {
    const int* upper = &lattice[y / octave.cell * cells];
    const int* lower = &lattice[(y / octave.cell + 1) % cells * cells];
    const int down = static_cast<int>(y % octave.cell);
    for (std::size_t x = 0; x < kSide; ++x) {
      const std::size_t left = x / octave.cell, right = (left + 1) % cells;
      const int across = static_cast<int>(x % octave.cell);
      const int top = upper[left] * (cell - across) + upper[right] * across;
      const int bottom = lower[left] * (cell - across) + lower[right] * across;
      field[y * kSide + x] += (top * (cell - down) + bottom * down) / (cell * cell) * octave.amplitude / 128;
    }
  }
}

template <std::size_t N>
std::vector<int> Field(const std::array<Octave, N>& octaves, Random& random) {
  std::vector<int> field(kSide * kSide);
  for (const Octave& octave : octaves) AddOctave(field, octave, random);
  return field;
}

unsigned char Byte(int value) { return static_cast<unsigned char>(std::clamp(value, 0, 255)); }

/// Replaces each of kSide bytes, `stride` apart, by the mean of itself and its neighbours; the ends are neighbours too.
void BlurLine(unsigned char* first, std::size_t stride) {
  std::array<int, kSide> line;
  for (std::size_t k = 0; k < kSide; ++k) line[k] = first[k * stride];
  for (std::size_t k = 0; k < kSide; ++k) {
    int sum = 0;
    for (std::size_t n = k + kSide - kBlurRadius; n <= k + kSide + kBlurRadius; ++n) sum += line[n % kSide];
    first[k * stride] = Byte(sum / static_cast<int>(2 * kBlurRadius + 1));
  }
}

}  // namespace

GroundTexture::GroundTexture(Random random) : pixels_(kSide * kSide * kChannels) {
  const std::vector<int> relief = Field(kRelief, random), soil = Field(kSoil, random);
  for (std::size_t i = 0; i < relief.size(); ++i) {
    const int bare = std::clamp(soil[i] + 64, 0, 128);  // from 0, grass, to 128, soil
    unsigned char* pixel = &pixels_[i * kChannels];
    pixel[0] = Byte(80 + relief[i] + bare * 5 / 8);
    pixel[1] = Byte(115 + relief[i]);
    pixel[2] = Byte(60 + relief[i] * 3 / 4 + bare / 4);
  }
}

GroundTexture GroundTexture::Blurred() const {
  GroundTexture blurred(*this);
  constexpr std::size_t rowBytes = kSide * kChannels;
  for (std::size_t channel = 0; channel < kChannels; ++channel) {
    for (std::size_t y = 0; y < kSide; ++y) BlurLine(&blurred.pixels_[y * rowBytes + channel], kChannels);
  }
  for (std::size_t x = 0; x < rowBytes; ++x) BlurLine(&blurred.pixels_[x], rowBytes);
  return blurred;
}

void GroundTexture::CopyRow(std::size_t x, std::size_t y, std::span<unsigned char> row) const {
  const unsigned char* line = &pixels_[y % kSide * kSide * kChannels];
  std::size_t from = x % kSide * kChannels;
  while (!row.empty()) {
    const std::size_t count = std::min(row.size(), kSide * kChannels - from);
    std::copy_n(line + from, count, row.begin());
    row = row.subspan(count);
    from = 0;
  }
}

}  // namespace kv::simulation
