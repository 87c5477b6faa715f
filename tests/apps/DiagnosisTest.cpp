#include <gtest/gtest.h>

#include <string>

#include "support/CommandTest.h"

namespace {

/// What a run says of mistakes that surveyors make. Each row simulates a mission "m", spoils it, and reads it.
class DiagnosisTest : public CommandTest {
 protected:
  struct Mistake {
    std::string script;
    int code;
    std::string finding;  // its code; empty for a failure
    std::string said;     // part of its sentence
    Json values;          // those that must be among its values
  };

  static Json FindingOf(const Json& summary, const std::string& code) {
    for (const Json& finding : summary["findings"]) {
      if (finding["code"] == code) return finding;
    }
    return nullptr;
  }

  void Expect(const Mistake& mistake) {
    SCOPED_TRACE(mistake.script);
    if (mistake.script.find("ulimit") != std::string::npos && IsUnderWine()) return;  // whose errors are other ones
    std::filesystem::remove_all(temp_.Path() / "m");
    EXPECT_EQ(Shell(mistake.script), mistake.code) << Errors();
    if (mistake.finding.empty()) {
      EXPECT_NE(Errors().find(mistake.said), std::string::npos) << Errors();
      return;
    }
    const Json summary = Json::parse(temp_.Read("out"));
    const Json finding = FindingOf(summary, mistake.finding);
    ASSERT_FALSE(finding.is_null()) << summary["findings"];
    std::string text = finding["text"];
    std::replace(text.begin(), text.end(), '\\', '/');  // of Windows
    EXPECT_NE(text.find(mistake.said), std::string::npos) << text;
    for (const auto& [name, value] : mistake.values.items()) EXPECT_EQ(finding["values"][name], value) << finding;
  }
};

TEST_F(DiagnosisTest, SaysWhatWasSeenWhatItMeansAndWhatToDo) {
  const std::string make = "$K simulate m -q --no-faults --minutes 3 --photo-size 16x16 ";
  const std::string run = "$K run m --dry-run --json -q --no-sharpness";
  const Mistake mistakes[] = {
      {make + "&& " + run, 0, "", "", {}},
      {make + "--event-clock local && " + run,
       4,
       "events-outside-trajectory",
       "--event-offset -7200",
       {{"count", 116}}},
      {make + "--event-clock local && " + run + " --event-offset -7200", 0, "", "", {}},
      {make + "--event-clock gps && " + run, 4, "events-in-gps-time", "--event-offset -18", {{"count", 2}}},
      {make + "--photo-folders dcim && " + run, 3, "photo-folders-missing", "m/DCIM1 (58 JPEGs)", {}},
      {make + "--photo-folders nested && " + run,
       4,
       "photo-folder-empty",
       "m/cam1/100DSC (58 JPEGs): name it with --cam1",
       {{"camera", 1}}},
      {make + "--swap-cameras --names exif && " + run, 4, "cameras-swapped", "exchange --cam1 and --cam2", {}},
      {make + "--cam1-clock 37 && " + run,
       4,
       "camera-clock-off",
       "run again with --cam1-offset -37",
       {{"moved", 58}, {"photos", 58}, {"used", 0.0}}},
      {make + "&& echo x > m/events.txt && " + run,
       1,
       "",
       "events.txt: no heartbeat and no camera event in 1 line",
       {}},
      {make + "&& rm m/trajectory.nmea && " + run, 1, "", "no trajectory found", {}},
      {make + "--gpx && rm m/trajectory.nmea && " + run, 1, "", "rover.gpx (GPX track)", {}},
      {"mkdir m && " + run, 1, "", "m is empty: no trajectory found", {}},
      {make + "&& mkdir n && mv m n/flight && mv n m && " + run, 1, "", "m holds folder flight: no trajectory", {}},
      {"mkdir m && printf '\\265b\\1\\7' > m/a && echo x > m/b && " + run,
       1,
       "",
       "m holds a (u-blox binary: convert it to NMEA), b (unknown): no trajectory found",
       {}},
      {make + "&& (trap '' 25; ulimit -f 4; $K run m -o o --no-sharpness)", 1, "", "File too large", {}},
      {make + "--event-clock gps --start '2012-03-01 09:00' && " + run,
       4,
       "events-in-gps-time",
       "--event-offset -15",
       {}},
      {make + "--triggers nonstop --cam1-clock 2 && " + run,
       4,
       "camera-clock-contradicted",
       "offsets that do: -2.",
       {}},
      {make + "&& sed -i '/GGA,093050.00/{s/,N,/,S,/;s/[*].*//}' m/trajectory.nmea && " + run,
       0,
       "fixes-outlying",
       "1 fix impossibly far",
       {{"count", 1}}},
      {make + "&& sed -i '/GGA,093050.00/{p;s/,N,/,S,/;s/[*].*//}' m/trajectory.nmea && " + run,
       4,
       "fixes-contradict",
       "1 position sentence more",
       {}},
      {make + "&& sed -i '/GGA,0931/{s/,N,/,S,/;s/[*].*//}' m/trajectory.nmea && " + run,
       4,
       "trajectory-jumps",
       "2 jumps",
       {}},
      {make +
           "--drone && cp -r m n && rm m/*.JPG && $K simulate n -q --overwrite --drone --no-faults --minutes 3 "
           "--start '2025-06-19 11:00' --photo-size 16x16 && cp n/*.JPG m && " +
           run,
       4,
       "photos-of-other-events",
       "",
       {}},
      {"echo PK > base.zip; $K run base.zip -o o", 2, "", "base.zip: a ZIP file; unzip it", {}},
      {make + "&& $K grade m/cam1 -q && $K grade m", 1, "", "m: a folder without JPEG photos", {}},
  };
  for (const Mistake& mistake : mistakes) Expect(mistake);
}

}  // namespace
