#include <filesystem>
#include <fstream>
#include <string>

#include "Comparison.h"
#include "Measures.h"
#include "SimulatedMission.h"

namespace {

namespace fs = std::filesystem;

// 1,000 photos.
const SimulatedMission& Mission() {
  static const SimulatedMission mission("--minutes 22 --interval 2 --photo-size 640x480", ScratchFolder::kInMemory);
  return mission;
}

/// The tags of each photo for exiftool. The attitude and accuracies of the namespace Camera are left to ours: exiftool
/// does not know it.
void WriteTable() {
  std::ofstream table(Mission() / "tags.csv");
  table << "SourceFile,GPSVersionID,GPSLatitude,GPSLatitudeRef,GPSLongitude,GPSLongitudeRef,GPSAltitude,GPSAltitudeRef,"
           "GPSTimeStamp,GPSDateStamp,GPSSatellites,GPSDOP,GPSImgDirection,GPSImgDirectionRef,GPSMapDatum,"
           "GPSDifferential,XMP-drone-dji:FlightYawDegree,XMP-drone-dji:FlightPitchDegree,"
           "XMP-drone-dji:FlightRollDegree\n";
  for (const fs::path photo : Mission().Photos())
    table << "mission/" << photo.parent_path().filename().string() << '/' << photo.filename().string()
          << ",2.3.0.0,47.650196468,N,9.4486016769,E,465.7386,0,09:30:31.432689,2025:06:18,16,0.7,281.6,T,WGS-84,1,"
             "281.6,0.9538,-0.1865\n";
}

/// Processor seconds of a command that writes photos into a folder that is not there.
double SecondsOf(const std::string& command) {
  fs::remove_all(Mission() / "o");
  const double before = ProcessorSeconds();
  Mission().InFolder(command);
  return ProcessorSeconds() - before;
}

}  // namespace

Row Geotagging(const Plan&) {
  WriteTable();
  const Side peer{By::Processor,
                  [] { return SecondsOf("exiftool -q -n -csv=tags.csv -o o/%d%f.%e mission/cam1 mission/cam2"); }};
  // The command reads, places and pairs as well: what a run without outputs takes is subtracted, as exiftool is given
  // the places.
  const Side ours{By::Processor, [] {
                    const std::string program = KVMISSION_PROGRAM;
                    return SecondsOf(program + " geotag mission -q --jobs 1 -o o") -
                           SecondsOf(program + " run mission -q --jobs 1 --dry-run --no-sharpness");
                  }};
  return {{"geotag 1,000 photos, places known", "exiftool", AtLeast(20), peer, ours, "exiftool"}};
}
