#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>

#include "Comparison.h"
#include "Measures.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSamples = 1'000'000;

// UTM 33 and heights on EGM96, expressed for each program.
constexpr const char* kTransform =
    KVMISSION_PROGRAM " transform --target EPSG:32633+5773 --quiet --overwrite --output ours.xyz samples.pos";
constexpr const char* kCct =
    "cct -d 6 -t 0 -c 4,3,5 +proj=pipeline +step +inv +proj=vgridshift +grids=egm96_15.gtx +multiplier=1 "
    "+step +proj=utm +zone=33 +ellps=WGS84 samples.pos";
constexpr const char* kCs2cs = "cs2cs -f %.6f EPSG:4979 EPSG:32633+5773 places";

// A POS file of random places around the zone, and for cs2cs a file of its latitude, longitude and height.
class Samples {
 public:
  Samples() {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> latitude(40, 60), longitude(12, 18), height(0, 4000);
    const File pos(std::fopen((folder_ / "samples.pos").c_str(), "wb"), std::fclose);
    const File places(std::fopen((folder_ / "places").c_str(), "wb"), std::fclose);
    for (int i = 0; i < kSamples; ++i) {
      char place[64];
      std::snprintf(place, sizeof place, "%.9f %.9f %.4f", latitude(random), longitude(random), height(random));
      std::fprintf(places.get(), "%s\n", place);
      std::fprintf(pos.get(), "2200 %.3f %s 1 10 0.0035 0.0024 0.0075 -0.0009 0.0020 -0.0005 0.00 999.9\n",
                   100 + 0.1 * i, place);
    }
  }

  /// Runs a command in the folder and writes its output to the file `printed`.
  void Transform(const std::string& command, const char* printed) const {
    Run("cd '" + Path("") + "' && " + command + " > " + printed);
  }
  std::string Path(const char* file) const { return (folder_ / file).string(); }

 private:
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  ScratchFolder folder_;
};

const Samples& AllSamples() {
  static const Samples samples;
  return samples;
}

using Place = std::array<double, 3>;

// Reads the coordinates at the start of a line.
bool ReadPlace(std::ifstream& lines, Place& place) {
  std::string line;
  if (!std::getline(lines, line)) return false;
  const char* at = line.c_str();
  for (double& coordinate : place) {
    char* end = nullptr;
    coordinate = std::strtod(at, &end);
    at = end;
  }
  return true;
}

// Largest difference between our coordinates and a peer's, in metres; infinite if one file has fewer places.
double LargestDifference(const char* peersResult) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  std::ifstream ours(AllSamples().Path("ours.xyz")), peers(AllSamples().Path(peersResult));
  Place our, peer;
  double largest = 0;
  for (int i = 0; i < kSamples; ++i) {
    if (!ReadPlace(ours, our) || !ReadPlace(peers, peer)) return kInfinity;
    for (std::size_t axis = 0; axis < our.size(); ++axis) {
      const double difference = std::abs(our[axis] - peer[axis]);
      if (!(difference <= largest)) largest = difference;
    }
  }
  return largest;
}

Side TransformBy(const char* name, const char* command) {
  return ProcessorTime([=] { AllSamples().Transform(command, name); });
}

// Compares the coordinates as well: a peer that is faster because it is less exact does not count.
Side TransformByPeer(const char* name, const char* command) {
  constexpr double kTenthOfMillimetre = 1e-4;
  return {By::Processor, [=, time = TransformBy(name, command)] {
            const double seconds = time.measure();
            if (!(LargestDifference(name) <= kTenthOfMillimetre))
              throw std::runtime_error("its coordinates are not ours");
            return seconds;
          }};
}

}  // namespace

Row Transforming(const Plan&) {
  AllSamples().Transform(kTransform, "nothing");
  const char* const what = "1,000,000 lines to UTM 33 + EGM96";
  const Side ours = TransformBy("nothing", kTransform);
  return {
      {what, "cct", AtLeast(2), TransformByPeer("cct", kCct), ours, "cct"},
      {what, "cs2cs", AtLeast(2), TransformByPeer("cs2cs", kCs2cs), ours, "cs2cs"},
  };
}
