#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/CommandTest.h"
#include "support/JsonSchema.h"

namespace {

namespace fs = std::filesystem;

class SummaryTest : public CommandTest {
 protected:
  JsonSchema schema_{Json::parse(std::ifstream(fs::path(DOCS_FOLDER) / "kvmission/summary.schema.json"))};
};

TEST_F(SummaryTest, IsAsItsSchemaSays) {
  // Samples of a POS file and an export along the way of the simulated mission; the last ones are garbled.
  const std::string added =
      "for s in $(seq 0 90); do echo \"2371 $((293418 + s)) 47.65 9.45 500 1 10 0.1 0.1 0.1 0 0 0 0.5 99.9\"; done > "
      "a.pos\n"
      "printf '2371 293600 97 9 500 1 10 0 0 0 0 0 0 0 1\\n2371 1\\n' >> a.pos\n"
      "(printf ' TIME, LATITUDE, LONGITUDE, ELLIPSOID HEIGHT\\n (time in Sec)\\n'\n"
      " for s in $(seq 0 90); do echo \" $((293418 + s)) 47.65 9.45 500\"; done; echo ' x 1 1 1') > sbet.txt\n";
  struct {
    const char* what;
    std::string script;
    std::vector<const char*> parts;  // that are not null
    std::size_t findings;            // at least
  } const rows[] = {
      {"sensor",
       "$K simulate m -q --minutes 2 --photo-size 32x32; $K run m -o o -q",
       {"trajectory", "events", "stations", "housekeeping", "orientation", "mission"},
       1},
      {"drone",
       "$K simulate m -q --drone --minutes 2 --photo-size 32x32; $K run m -o o -q",
       {"timestamps", "mission"},
       1},
      {"all inputs",
       added + "$K simulate m -q --minutes 1.2 --photo-size 32x32\n"
               "$K run m -o o -q --pos a.pos --target EPSG:32632+5773 --applanix sbet.txt",
       {"trajectory", "events", "pos", "applanix", "orientation"},
       3},
      {"a drone's places twice",
       added + "$K simulate m -q --drone --minutes 1.2 --start '2025-06-18 09:30:00' --photo-size 32x32\n"
               "$K run m -o o -q --applanix sbet.txt --max-gap 3",
       {"positions", "applanix"},
       3},
      {"two trajectories",
       "$K simulate m -q --no-photos --pos llh; $K run m -o o -q --trajectory m/rover.pos",
       {"trajectory", "trajectoryComparison"},
       0},
      {"a log alone", "$K simulate m -q --no-photos; $K run --trajectory m/trajectory.nmea -o o -q", {"trajectory"}, 0},
      {"many findings",
       added + "$K simulate m -q --minutes 1.2 --photo-size 16x16\n"
               "cp m/cam1/$(ls m/cam1 | head -n 1) m/cam1/untimed.jpg; cp m/truth.csv m/cam2/990101_000000.JPEG\n"
               "sed -i -e '20s/^/x/' -e '30s/,.*/,/' -e '40s/^[0-9]*/4000000000/' -e '50s/,[12]$/,9/' m/events.txt\n"
               "sed -i '100,400d' m/trajectory.nmea; sed -i '30s/,[^,]*,/,nan,/;40s/.*/x/' m/orientation.txt\n"
               "sed -i '9s/^[A-Z]*,2025-06/ERR,2025-66/' m/housekeeping.log\n"
               "$K run m -o o -q --pos a.pos --target EPSG:31468+5773 --applanix sbet.txt --tolerance 0",
       {"events"},
       12},
  };
  for (const auto& [what, script, parts, findings] : rows) {
    fs::remove_all(temp_.Path() / "m");
    fs::remove_all(temp_.Path() / "o");
    const int code = Shell(script);
    EXPECT_TRUE(code == 0 || code == 3 || code == 4) << code << what << Errors();
    const Json summary = Summary();
    EXPECT_EQ(schema_.FaultIn(summary), "") << what;
    for (const char* part : parts) EXPECT_FALSE(summary[part].is_null()) << what << part;
    EXPECT_GE(summary["findings"].size(), findings) << what << summary["findings"];
  }
}

TEST_F(SummaryTest, TheSchemaRefusesOtherSummaries) {
  ASSERT_EQ(Shell("$K simulate m -q --minutes 1.2 --photo-size 32x32; $K run m -o o -q; test $? = 3"), 0) << Errors();
  struct {
    const char *place, *value, *fault;
  } const rows[] = {
      {"/log", "null", "/log: unknown"},
      {"/complete", "1", "/complete: not of type boolean"},
      {"/cameras/0/photos", "\"12\"", "/cameras/0/photos: not of type integer"},
      {"/cameras/0/pairedBy", "\"luck\"", "/cameras/0/pairedBy: not a listed value"},
      {"/layers/1", "{\"name\": \"photos\", \"file\": null}", "/layers/1: lacks records"},
      {"/findings/0/values/x", "[1]", "/findings/0/values/x: not of type string"},
      {"/dropped", "{}", "/dropped: not of type array"},
  };
  for (const auto& [place, value, fault] : rows) {
    Json summary = Summary();
    summary[Json::json_pointer(place)] = Json::parse(value);
    EXPECT_NE(schema_.FaultIn(summary).find(fault), std::string::npos) << place << schema_.FaultIn(summary);
  }
}

}  // namespace
