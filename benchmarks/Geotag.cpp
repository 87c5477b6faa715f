#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "Measures.h"

namespace {

namespace fs = std::filesystem;

/// A mission of two cameras with 1,000 photos, and the tags of each as a table for exiftool.
class PhotosToTag {
 public:
  PhotosToTag() {
    const std::string simulate =
        KVMISSION_PROGRAM " simulate -q --no-faults --minutes 22 --interval 2 --photo-size 640x480 '";
    if (!RunsQuietly(simulate + Path("m") + "'")) std::abort();
    std::ofstream table(Path("tags.csv"));
    table
        << "SourceFile,GPSVersionID,GPSLatitude,GPSLatitudeRef,GPSLongitude,GPSLongitudeRef,GPSAltitude,GPSAltitudeRef,"
           "GPSTimeStamp,GPSDateStamp,GPSSatellites,GPSDOP,GPSImgDirection,GPSImgDirectionRef,GPSMapDatum,"
           "GPSDifferential,XMP-drone-dji:FlightYawDegree,XMP-drone-dji:FlightPitchDegree,"
           "XMP-drone-dji:FlightRollDegree\n";
    for (const char* camera : {"m/cam1", "m/cam2"}) {
      for (const auto& photo : fs::directory_iterator(folder_ / camera))
        table << camera << '/' << photo.path().filename().string()
              << ",2.3.0.0,47.650196468,N,9.4486016769,E,465.7386,0,09:30:31.432689,2025:06:18,16,0.7,281.6,T,WGS-84,1,"
                 "281.6,0.9538,-0.1865\n";
    }
  }

  /// Removes the folder "o", into which the commands write.
  void Clear() const { fs::remove_all(folder_ / "o"); }
  bool Run(const std::string& command) const { return RunsQuietly("cd '" + Path("") + "' && " + command); }

 private:
  std::string Path(const char* name) const { return (folder_ / name).string(); }

  ScratchFolder folder_;
};

const PhotosToTag& Photos() {
  static const PhotosToTag photos;
  return photos;
}

/// Processor seconds, which other programs disturb less than the clock.
double SecondsOf(const std::string& command, benchmark::State& state) {
  const double before = ProgramSeconds();
  if (!Photos().Run(command)) state.SkipWithError("FAILED");
  return ProgramSeconds() - before;
}

// The attitude and accuracies of the namespace Camera are left to ours: exiftool does not know it.
void GeotagByExiftool(benchmark::State& state) {
  if (!HasProgram("exiftool", state)) return;
  for (auto _ : state) {
    Photos().Clear();
    state.counters["seconds"] = SecondsOf("exiftool -q -n -csv=tags.csv -o o/%d%f.%e m/cam1 m/cam2", state);
  }
}
// The command reads, places and pairs as well: what a run without outputs takes is subtracted, as exiftool is given the
// places.
void GeotagPhotos(benchmark::State& state) {
  for (auto _ : state) {
    Photos().Clear();
    const double whole = SecondsOf(KVMISSION_PROGRAM " geotag m -q -o o", state);
    state.counters["seconds"] = whole - SecondsOf(KVMISSION_PROGRAM " run m -q --dry-run --no-sharpness", state);
  }
}
BENCHMARK(GeotagByExiftool)->Iterations(1);
BENCHMARK(GeotagPhotos)->Iterations(1);

}  // namespace
