#include <filesystem>
#include <string>

#include "Comparison.h"
#include "Measures.h"
#include "SimulatedMission.h"

namespace {

namespace fs = std::filesystem;

// 1,016 photos whose EXIF data tell the time, and a track of 10 fixes a second.
const SimulatedMission& Mission() {
  static const SimulatedMission mission("--minutes 22 --interval 2 --photo-size 640x480 --names exif --gpx");
  return mission;
}

/// Processor seconds of a command that writes into the photos of the folders "photos/cam1" and "photos/cam2".
Side TagFreshPhotos(const std::string& command) {
  return {By::Processor, [time = ProcessorTime([=] { Mission().InFolder(command); })] {
            fs::remove_all(Mission() / "photos");
            for (const char* camera : {"cam1", "cam2"}) {
              fs::create_directories(Mission() / "photos" / camera);
              fs::copy(Mission() / "mission" / camera, Mission() / "photos" / camera);
            }
            return time.measure();
          }};
}

}  // namespace

Row GeotaggingByTrack(const Plan&) {
  Mission();
  const Side byExiftool = TagFreshPhotos(
      "exiftool -q -overwrite_original -geotag mission/rover.gpx '-geotime<${DateTimeOriginal}+00:00' photos/cam1 "
      "photos/cam2");
  const Side byGpscorrelate =
      TagFreshPhotos("gpscorrelate -g mission/rover.gpx -z 0:00 photos/cam1/*.jpg photos/cam2/*.jpg");
  const std::string inputs = " mission --trajectory mission/rover.gpx --cam1 photos/cam1 --cam2 photos/cam2 ";
  const std::string geotag = KVMISSION_PROGRAM " geotag" + inputs + "--in-place --yes";
  const std::string grade = KVMISSION_PROGRAM " run" + inputs + "-o out --outputs json --overwrite";
  const Side ours = TagFreshPhotos(geotag), oursGraded = TagFreshPhotos(geotag + " && " + grade);
  const std::string what = "geotag 1,000 photos by a GPX track", graded = what + ", and grade";
  return {
      {what, "exiftool", AtLeast(20), byExiftool, ours, "exiftool"},
      {what, "gpscorrelate", AtLeast(1), byGpscorrelate, ours, "gpscorrelate"},
      {graded, "exiftool, which does not grade", kNoGoal, byExiftool, oursGraded, "exiftool"},
      {graded, "gpscorrelate, which does not grade", kNoGoal, byGpscorrelate, oursGraded, "gpscorrelate"},
  };
}
