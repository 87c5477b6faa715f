#include "mission/OutputFolder.h"

#include <gtest/gtest.h>

#include "mission/Steps.h"
#include "support/TempFolder.h"
#include "support/TestJob.h"

namespace kv::mission {
namespace {

TEST(OutputFolder, GivesNamesOnlyAtTheEnd) {
  const TempFolder temp;
  const auto path = temp.Path() / "a/b";
  {
    OutputFolder abandoned(path, false, RunResults());
    EXPECT_TRUE(std::filesystem::exists(abandoned.Staging()));
  }
  EXPECT_FALSE(std::filesystem::exists(path.parent_path()));
  TestJob job;
  OutputFolder output(path, false, RunResults());
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
  temp.Write("photos.qix", "a companion's");
  EXPECT_THROW(OutputFolder(temp.Path(), false, RunResults()), Failure);
  temp.Write("trajectory_line.dbf", "old");
  EXPECT_NO_THROW(OutputFolder(temp.Path(), true, RunResults()));
  std::filesystem::create_directory(temp.Path() / "photos.shp");
  EXPECT_THROW(OutputFolder(temp.Path(), true, RunResults()), Failure);
  EXPECT_THROW(OutputFolder(temp.Path() / "trajectory_line.dbf", true, RunResults()), Failure);
  EXPECT_EQ(temp.Read("trajectory_line.dbf"), "old");
}

TEST(OutputFolder, FailsWithoutLossWhenAnotherRunWasFaster) {
  const TempFolder temp;
  TestJob job;
  OutputFolder output(temp.Path(), false, RunResults());
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
    OutputFolder output(temp.Path(), true, RunResults());
    const auto staging = output.Staging().filename().string();
    for (const char* name : names) {
      temp.Write(name, "old");
      temp.Write(staging + "/" + name, "new");
    }
    std::filesystem::create_directory(output.Staging() / "photos.dbf.earlier");  // where that one would be kept
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

}  // namespace
}  // namespace kv::mission
