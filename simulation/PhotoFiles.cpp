#include "simulation/PhotoFiles.h"

#include <cmath>

#include "simulation/ExifTime.h"
#include "simulation/GroundTexture.h"
#include "simulation/JpegEncoder.h"
#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"
#include "simulation/TruthFile.h"

namespace kv::simulation {
namespace {

constexpr double kPixelsPerMetre = 4.0;
constexpr int kCamera2OffsetPixels = 400;  // camera 2 looks to the side

/// Returns the texture's column or row below the vehicle; the texture repeats in both directions.
std::size_t TexturePixel(double metres, int offset) {
  constexpr auto side = static_cast<std::int64_t>(GroundTexture::kSide);
  const std::int64_t pixel = (std::llround(metres * kPixelsPerMetre) + offset) % side;
  return static_cast<std::size_t>((pixel + side) % side);
}

class Photographer {
 public:
  explicit Photographer(const MissionOptions& options)
      : options_(options),
        sharp_(Random(options.seed, Stream::Ground)),
        blurred_(sharp_.Blurred()),
        encoder_(options.photoWidth, options.photoHeight) {}

  void Write(const std::filesystem::path& path, const Exposure& exposure, const LocalPosition& place) {
    const GroundTexture& texture = exposure.blurred ? blurred_ : sharp_;
    const std::size_t x = TexturePixel(place.east, exposure.camera == 1 ? 0 : kCamera2OffsetPixels);
    const std::size_t y = TexturePixel(-place.north, 0);
    const auto rows = [&](int number, std::span<unsigned char> row) {
      texture.CopyRow(x, y + static_cast<std::size_t>(number), row);
    };
    OutputFile file(path);
    file.Write(encoder_.Encode(rows, Metadata(exposure)));
    file.Close();
  }

 private:
  std::vector<unsigned char> Metadata(const Exposure& exposure) const {
    if (options_.names != PhotoNames::Exif) return {};
    return ExifSegment(options_.start + exposure.time + exposure.clockError, options_.photoWidth, options_.photoHeight);
  }

  const MissionOptions& options_;
  GroundTexture sharp_, blurred_;
  JpegEncoder encoder_;
};

}  // namespace

bool WritePhotos(const std::filesystem::path& mission, const MissionOptions& options, const FlightPath& flight,
                 std::span<const Exposure> exposures, const Progress& progress) {
  const std::size_t all = CountPhotos(exposures);
  if (all == 0) return true;

  Photographer photographer(options);
  std::size_t done = 0;
  for (const Exposure& exposure : exposures) {
    if (exposure.photo.empty()) continue;
    const std::filesystem::path folder = mission / PhotoFolder(options, exposure.camera);
    photographer.Write(folder / exposure.photo, exposure, flight.At(ToSeconds(exposure.time)));
    if (!progress(++done, all)) return false;
  }
  return true;
}

}  // namespace kv::simulation
