#include <proj.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Comparison.h"
#include "KVUtilities.h"
#include "Measures.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSamples = 1'000'000;

// UTM 33 and heights on EGM96, expressed for each program.
const std::string kTransform =
    KVMISSION_PROGRAM " transform --target EPSG:32633+5773 --quiet --overwrite --output ours.xyz samples.pos --jobs ";
constexpr const char* kPipeline =
    "+proj=pipeline +step +inv +proj=vgridshift +grids=egm96_15.gtx +multiplier=1 "
    "+step +proj=utm +zone=33 +ellps=WGS84";
const std::string kCct = std::string("cct -d 6 -t 0 -c 4,3,5 ") + kPipeline + " samples.pos";
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
  void Transform(const std::string& command, const std::string& printed) const {
    Run("cd '" + Path("") + "' && " + command + " > " + printed);
  }
  std::string Path(const std::string& file) const { return (folder_ / file).string(); }

 private:
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  ScratchFolder folder_;
};

const Samples& AllSamples() {
  static const Samples samples;
  return samples;
}

using Place = std::array<double, 3>;

// The coordinates at the start of each line.
std::vector<Place> PlacesIn(const std::string& path) {
  std::ifstream file(path);
  std::vector<Place> places;
  for (std::string line; std::getline(file, line);) {
    const char* at = line.c_str();
    Place place;
    for (double& coordinate : place) {
      char* end = nullptr;
      coordinate = std::strtod(at, &end);
      at = end;
    }
    places.push_back(place);
  }
  return places;
}

// A peer that is faster because it is less exact does not count.
bool AreNear(const Place& a, const Place& b) {
  constexpr double kTenthOfMillimetre = 1e-4;
  return std::equal(a.begin(), a.end(), b.begin(),
                    [](double x, double y) { return std::abs(x - y) <= kTenthOfMillimetre; });
}

Call TransformBy(const std::string& printed, const std::string& command) {
  return [=] { AllSamples().Transform(command, printed); };
}
Call Transform(const char* jobs) { return TransformBy("nothing", kTransform + jobs); }

Side Checked(const Side& time, const std::string& printed) {
  return {time.by, [=] {
            const double seconds = time.measure();
            static const std::vector<Place> ours = PlacesIn(AllSamples().Path("ours.xyz"));
            const std::vector<Place> places = PlacesIn(AllSamples().Path(printed));
            if (!std::equal(ours.begin(), ours.end(), places.begin(), places.end(), AreNear))
              throw std::runtime_error("its coordinates are not ours");
            return seconds;
          }};
}

/// The same points in memory: transformed by PROJ alone, with the pipeline of cct, and by the strict class.
class Points {
 public:
  explicit Points(std::size_t count) {
    std::vector<Place> places = PlacesIn(AllSamples().Path("places"));
    places.resize(count);
    for (const auto& [latitude, longitude, height] : places) {
      given_.push_back(proj_coord(proj_torad(longitude), proj_torad(latitude), height, 0));
      tagKVPosEvent& sample = samples_.emplace_back();
      sample.Latitude = latitude;
      sample.Longitude = longitude;
      sample.Height = height;
    }
    results_.resize(count);
    std::wstring error;
    wkt_ = KVUtilities::DescribeCoordinateSystem(L"EPSG:32633+5773", error).Wkt.GetString();
    Check();
  }
  void TransformByProj() {
    for (std::size_t i = 0; i < given_.size(); ++i) results_[i] = proj_trans(pipeline_.get(), PJ_FWD, given_[i]);
  }
  void Transform() {
    std::size_t transformed = 0;
    std::wstring error;
    if (!KVUtilities::TransformPosEvents(samples_, wkt_, transformed, error)) throw std::runtime_error("no transform");
  }

 private:
  void Check() {
    Transform();
    TransformByProj();
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      const tagKVPosEvent& sample = samples_[i];
      if (!AreNear({results_[i].xyz.x, results_[i].xyz.y, results_[i].xyz.z}, {sample.X, sample.Y, sample.Z}))
        throw std::runtime_error("PROJ's coordinates are not ours");
    }
  }

  std::unique_ptr<PJ, PJ* (*)(PJ*)> pipeline_{proj_create(PJ_DEFAULT_CTX, kPipeline), proj_destroy};
  std::wstring wkt_;
  std::vector<PJ_COORD> given_, results_;
  std::vector<tagKVPosEvent> samples_;
};

}  // namespace

Row Transforming(const Plan&) {
  Transform("2")();
  const auto points = std::make_shared<Points>(kSamples / 10);
  const std::string what = "1,000,000 lines to UTM 33 + EGM96";
  const Side oneThread = ProcessorTime(Transform("1")), twoCores = WallTime(Transform("2"));
  const Call cct = TransformBy("cct", kCct), cs2cs = TransformBy("cs2cs", kCs2cs);
  return {
      {what + ", one thread", "cct", AtLeast(2), Checked(ProcessorTime(cct), "cct"), oneThread, "cct"},
      {what + ", one thread", "cs2cs", AtLeast(2), Checked(ProcessorTime(cs2cs), "cs2cs"), oneThread, "cs2cs", 0, true},
      {what + ", two cores", "cct", AtLeast(3.5), Checked(WallTime(cct), "cct"), twoCores, "cct", 2},
      {what + ", two cores", "cs2cs", AtLeast(3.5), Checked(WallTime(cs2cs), "cs2cs"), twoCores, "cs2cs", 2, true},
      {"100,000 points in memory, one thread", "bare PROJ on the same points", AtMost(1.6),
       ProcessorTime([=] { points->TransformByProj(); }), ProcessorTime([=] { points->Transform(); })},
  };
}
