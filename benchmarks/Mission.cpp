#include <string>

#include "Comparison.h"
#include "Measures.h"
#include "SimulatedMission.h"
#include "baseline/JpegRows.h"

namespace {

constexpr double kAtMost5Percent = 1 / 0.95;  // of the whole is everything else

// An hour of fixes at 10 Hz and some 3,600 photos, without turns; a tenth of it when quick.
const SimulatedMission& HourOfMission(const Plan& plan) {
  static const SimulatedMission mission(std::string(plan.isQuick ? "--minutes 6" : "--minutes 60") +
                                        " --rate 10 --interval 1.53 --photo-size 1280x960");
  return mission;
}

std::string Length(const Plan& plan) { return plan.isQuick ? "six minutes" : "an hour"; }

/// One thread: two share caches and memory, so that each takes more processor time.
Side RunMission(const SimulatedMission& mission, const std::string& options) {
  return ProcessorTime([&mission, options] { mission.Do("run mission -o out --overwrite --jobs 1 " + options); });
}

Side DecodePhotos(const SimulatedMission& mission) {
  return ProcessorTime([&mission] {
    for (const std::string& photo : mission.Photos()) Keep(baseline::DecodeRows(photo));
  });
}

}  // namespace

Row WholeMission(const Plan& plan) {
  const SimulatedMission& mission = HourOfMission(plan);
  const std::string what = "run: " + Length(plan) + ", two cameras";
  return {
      {what, "decoding its photos alone", AtMost(kAtMost5Percent), DecodePhotos(mission), RunMission(mission, "")},
      {what + ", without grading", "the whole run", AtLeast(10), RunMission(mission, ""),
       RunMission(mission, "--no-sharpness")},
  };
}

Row WritingReport(const Plan& plan) {
  const SimulatedMission& mission = HourOfMission(plan);
  return {{"run with report.html: " + Length(plan), "the run without it", AtMost(kAtMost5Percent),
           RunMission(mission, "--outputs shp,gpkg,json"), RunMission(mission, "--outputs shp,gpkg,report,json")}};
}
