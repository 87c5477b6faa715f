#include <filesystem>
#include <string>

#include "Comparison.h"
#include "Measures.h"
#include "SimulatedMission.h"

namespace {

namespace fs = std::filesystem;

// 1,016 photos whose EXIF data tell the time, and a track of 10 fixes a second.
const SimulatedMission& Mission() {
  static const SimulatedMission mission("--minutes 22 --interval 2 --photo-size 640x480 --names exif --gpx",
                                        ScratchFolder::kInMemory);
  return mission;
}

/// Processor seconds of a command that tags the photos of "fresh", or copies of them into "tagged".
Side TagPhotos(const std::string& command) {
  return {By::Processor, [=] {
            fs::remove_all(Mission() / "tagged");
            fs::remove_all(Mission() / "fresh");
            for (const char* camera : {"cam1", "cam2"}) {
              fs::create_directories(Mission() / "fresh" / camera);
              fs::copy(Mission() / "mission" / camera, Mission() / "fresh" / camera);
            }
            const double before = ProcessorSeconds();
            Mission().InFolder(command);
            return ProcessorSeconds() - before;
          }};
}

}  // namespace

Row GeotaggingByTrack(const Plan&) {
  Mission();
  const Side byExiftool = TagPhotos(
      "exiftool -q -o tagged/%d%f.%e -geotag mission/rover.gpx '-geotime<${DateTimeOriginal}+00:00' fresh/cam1 "
      "fresh/cam2");
  const Side byGpscorrelate = TagPhotos("gpscorrelate -g mission/rover.gpx -z 0:00 fresh/cam1/*.jpg fresh/cam2/*.jpg");
  const std::string inputs = " mission --trajectory mission/rover.gpx --cam1 fresh/cam1 --cam2 fresh/cam2 --jobs 1 ";
  const std::string geotag = KVMISSION_PROGRAM " geotag" + inputs + "-o tagged";
  const std::string grade = KVMISSION_PROGRAM " run" + inputs + "-o out --outputs json --overwrite";
  const Side ours = TagPhotos(geotag), oursGraded = TagPhotos(geotag + " && " + grade);
  const std::string what = "geotag 1,000 photos by a GPX track", graded = what + ", and grade";
  return {
      {what, "exiftool", AtLeast(20), byExiftool, ours, "exiftool"},
      {what, "gpscorrelate", AtLeast(1), byGpscorrelate, ours, "gpscorrelate"},
      {graded, "exiftool, which does not grade", kNoGoal, byExiftool, oursGraded, "exiftool", 0, true},
      {graded, "gpscorrelate, which does not grade", kNoGoal, byGpscorrelate, oursGraded, "gpscorrelate", 0, true},
  };
}
