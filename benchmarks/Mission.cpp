#include "KVMission.h"

#include <malloc.h>

#include <chrono>
#include <string>

#include "Comparison.h"
#include "KVUtilities.h"
#include "Measures.h"
#include "SimulatedMission.h"
#include "baseline/JpegRows.h"
#include "platform/FileNames.h"

namespace {

constexpr double kAtMost5Percent = 1 / 0.95;  // of the whole is everything else

// An hour of fixes at 10 Hz and some 3,600 photos, without turns; a twentieth of it when quick.
const SimulatedMission& HourOfMission(const Plan& plan) {
  static const SimulatedMission mission(std::string(plan.isQuick ? "--minutes 3" : "--minutes 60") +
                                        " --rate 10 --interval 1.53 --photo-size 1280x960");
  return mission;
}

std::string Length(const Plan& plan) { return plan.isQuick ? "three minutes" : "an hour"; }

/// One thread: two share caches and memory, so that each takes more processor time.
Side RunMission(const SimulatedMission& mission, const std::string& options) {
  return ProcessorTime([&mission, options] { mission.Do("run mission -o out --overwrite --jobs 1 " + options); });
}

/// An hour without photos, and the position sentences of its receiver: the strict scan takes every sentence for one.
const SimulatedMission& HourOfFiles() {
  static const SimulatedMission mission("--minutes 60 --rate 10 --interval 1.53 --no-photos");
  mission.InFolder("grep GGA mission/trajectory.nmea > positions.nmea");
  return mission;
}

/// What a call frees stays for the next one. Otherwise malloc returns 6 MB of the engine's to the system after each call,
/// or keeps them, by chance of where the program lies in memory.
void KeepFreedMemory() {
  constexpr int kMmapped = 1 << 25, kTrimmed = 1 << 30;  // bytes
  [[maybe_unused]] static const int kDone = mallopt(M_MMAP_THRESHOLD, kMmapped) + mallopt(M_TRIM_THRESHOLD, kTrimmed);
}

/// The engine's reading, checking and placing, within this process: no start-up, no photos, no output.
void ReadCheckAndPlace(const SimulatedMission& mission) {
  KeepFreedMemory();
  KVMission::Settings settings;
  settings.trajectory = mission / "positions.nmea";
  settings.date = std::chrono::sys_days{std::chrono::year{2025} / 6 / 18};
  settings.events = mission / "mission/events.txt";
  settings.housekeeping = mission / "mission/housekeeping.log";
  KVMission::Observer observer;
  Keep(KVMission::RunMission(settings, observer).exposures.data());
}

/// The strict class's scans of the same files.
void ScanAll(const SimulatedMission& mission) {
  KeepFreedMemory();
  std::wstring error;
  constexpr FILETIME kDate = {0, 31'000'000};
  Keep(KVUtilities::ScanKVTrajectoryFile(kv::WidePath(mission / "positions.nmea"), kDate, error).data());
  Keep(KVUtilities::ScanKVSystemEventFile(kv::WidePath(mission / "mission/events.txt"), error).data());
  Keep(KVUtilities::ScanKVLogFile(kv::WidePath(mission / "mission/housekeeping.log"), error).data());
}

Side DecodePhotos(const SimulatedMission& mission) {
  return ProcessorTime([&mission] {
    for (const std::string& photo : mission.Photos()) Keep(baseline::DecodeRows(photo));
  });
}

}  // namespace

Row WholeMission(const Plan& plan) {
  const SimulatedMission& mission = HourOfMission(plan);
  const SimulatedMission& files = HourOfFiles();
  const bool isSlow = !plan.isQuick;
  const std::string length = Length(plan), run = "run: " + length + ", two cameras";
  return {
      {run,
       "decoding its photos alone",
       AtMost(kAtMost5Percent),
       DecodePhotos(mission),
       RunMission(mission, ""),
       {},
       0,
       isSlow},
      {run + ", without grading",
       "the whole run",
       AtLeast(10),
       RunMission(mission, ""),
       RunMission(mission, "--no-sharpness"),
       {},
       0,
       isSlow},
      {"read, check and place an hour", "strict scans of the same files", AtMost(1.5),
       ProcessorTime([&files] { ScanAll(files); }), ProcessorTime([&files] { ReadCheckAndPlace(files); })},
  };
}

Row WritingReport(const Plan& plan) {
  const SimulatedMission& mission = HourOfMission(plan);
  const Side without = RunMission(mission, "--outputs shp,gpkg,json");
  const Side with = RunMission(mission, "--outputs shp,gpkg,report,json");
  return {{"run with report.html: " + Length(plan),
           "the run without it",
           AtMost(kAtMost5Percent),
           without,
           with,
           {},
           0,
           !plan.isQuick}};
}
