#include "mission/OutputFolder.h"

#include <gtest/gtest.h>

#include "mission/Steps.h"
#include "support/TempFolder.h"
#include "support/TestJob.h"

namespace kv::mission {
namespace {

TEST(OutputFolder, GivesNamesOnlyAtTheEnd) {
  const TempFolder temp;
  TestJob job;
  const auto path = temp.Path() / "a/b";
  {
    OutputFolder abandoned(path, false, RunResults(), job);
    EXPECT_TRUE(std::filesystem::exists(abandoned.Staging()));
  }
  EXPECT_FALSE(std::filesystem::exists(path.parent_path()));
  OutputFolder output(path, false, RunResults(), job);
  const auto staged = std::filesystem::relative(output.Staging(), temp.Path()).string();
  temp.Write(staged + "/photos.shp", "new");
  temp.Write(staged + "/summary.json", "{}");
  temp.Write(staged + "/fixes", "scratch");
  EXPECT_FALSE(std::filesystem::exists(path / "photos.shp"));
  output.Commit(job);
  EXPECT_EQ(temp.Read("a/b/photos.shp"), "new");
  EXPECT_FALSE(std::filesystem::exists(path / "fixes"));
}

TEST(OutputFolder, RefusesWhatItMustNotReplace) {
  const TempFolder temp;
  TestJob job;
  temp.Write("photos.qix", "a companion's");
  EXPECT_THROW(OutputFolder(temp.Path(), false, RunResults(), job), Failure);
  temp.Write("trajectory_line.dbf", "old");
  EXPECT_NO_THROW(OutputFolder(temp.Path(), true, RunResults(), job));
  std::filesystem::create_directory(temp.Path() / "photos.shp");
  EXPECT_THROW(OutputFolder(temp.Path(), true, RunResults(), job), Failure);
  EXPECT_THROW(OutputFolder(temp.Path() / "trajectory_line.dbf", true, RunResults(), job), Failure);
  EXPECT_EQ(temp.Read("trajectory_line.dbf"), "old");
}

TEST(OutputFolder, FailsWithoutLossWhenAnotherRunWasFaster) {
  const TempFolder temp;
  TestJob job;
  OutputFolder output(temp.Path(), false, RunResults(), job);
  const auto staging = output.Staging().filename().string();
  temp.Write(staging + "/photos.shp", "slow");
  temp.Write("photos.shp", "fast");
  EXPECT_THROW(output.Commit(job), Failure);
  EXPECT_EQ(temp.Read("photos.shp"), "fast");
}

TEST(OutputFolder, PutsTheOldResultsBackWhenOneCannotBeMoved) {
  const TempFolder temp;
  const std::vector<const char*> names{"photos.prj", "photos.dbf", "photos.shp", "photos.cpg", "summary.json"};
  TestJob job;
  {
    OutputFolder output(temp.Path(), true, RunResults(), job);
    const auto staging = output.Staging().filename().string();
    for (const char* name : names) {
      temp.Write(name, "old");
      temp.Write(staging + "/" + name, "new");
    }
    std::filesystem::create_directories(output.Staging() / "earlier/photos.dbf");  // where that one would be kept
    EXPECT_THROW(output.Commit(job), Failure);
  }
  for (const char* name : names) EXPECT_EQ(temp.Read(name), "old") << name;
}

/// The most records: those of which a .dbf of 2^31 - 1 bytes has room for, behind 8 KiB.
TEST(OutputFolder, TakesNoLayerThatAShapefileCannotHold) {
  constexpr std::size_t kRoom = 2'147'483'647 - 8192;
  struct {
    const char* layer;
    std::size_t most;
  } const rows[] = {{kTrajectoryPoints, kRoom / 243},
                    {kHousekeepingPoints, kRoom / 781},
                    {kPhotos, kRoom / 1937},
                    {kStations, kRoom / 926},
                    {kPosPoints, kRoom / 531}};
  const auto refusal = [](const char* layer, std::size_t records) {
    return FailureOf([&] { RefuseOversized(layer, "a", records, "do this"); }, Failure::Reason::Failed);
  };
  for (const auto& [layer, most] : rows) {
    EXPECT_EQ(refusal(layer, most), "") << layer;
    EXPECT_EQ(refusal(layer, most + 1),
              "a: " + std::to_string(most + 1) +
                  " records need a table of more than 2 GiB, which a Shapefile cannot hold; do this");
  }
  EXPECT_EQ(refusal(kTrajectoryLine, 1), "");
}

/// What a kill can leave: an exchange that moves earlier results out, or one that gives new ones their names.
TEST(OutputFolder, PutsAKilledExchangeInOrder) {
  struct {
    const char *replaced, *photos, *line;  // where the earlier ones are; whose results there are afterwards
    std::size_t findings;
  } const rows[] = {{"earlier", "old", "old", 1}, {"replaced", "new", "new", 1}, {"unfinished", "", "old", 0}};
  for (const auto& [replaced, photos, line, findings] : rows) {
    const TempFolder temp;
    TestJob job;
    for (const char* folder : {".kvmission-2", ".kvmission-7", ".kvmission-9"})
      std::filesystem::create_directory(temp.Path() / folder);
    temp.Write(".kvmission-2/.kvmission-lock", "");
    temp.Write(".kvmission-9/somebodys", "file");
    std::filesystem::create_directory(temp.Path() / ".kvmission-2" / replaced);
    const bool isNamed = *line == 'n';
    temp.Write(std::string(".kvmission-2/") + replaced + "/photos.shp", "old");
    temp.Write(".kvmission-2/photos.shp", "new");
    temp.Write("trajectory_line.shp", isNamed ? "new" : "old");
    if (findings > 0) {  // a link is in the way of them: once it is gone, they are put in order all the same
      const std::string csv = std::string(".kvmission-2/") + (isNamed ? "" : "earlier/") + "csv";
      std::filesystem::create_directory(temp.Path() / csv);
      temp.Write(csv + "/photos.csv", "moved");
      if (temp.Link(temp.Path(), "csv")) {
        EXPECT_THROW(OutputFolder(temp.Path(), true, RunResults(), job), Failure) << replaced;
      }
      std::filesystem::remove(temp.Path() / "csv");
    }
    EXPECT_NO_THROW(OutputFolder(temp.Path(), true, RunResults(), job));
    EXPECT_EQ(temp.Read("csv/photos.csv"), findings > 0 ? "moved" : "") << replaced;
    EXPECT_EQ(temp.Read("photos.shp"), photos) << replaced;
    EXPECT_EQ(temp.Read("trajectory_line.shp"), line) << replaced;
    EXPECT_EQ(job.Findings().size(), findings) << replaced;
    for (const char* folder : {".kvmission-2", ".kvmission-7"})
      EXPECT_FALSE(std::filesystem::exists(temp.Path() / folder)) << replaced;
    EXPECT_EQ(temp.Read(".kvmission-9/somebodys"), "file");
  }
}

}  // namespace
}  // namespace kv::mission
