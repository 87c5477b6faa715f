#include "run/OutputFolder.h"

#include <gtest/gtest.h>

#include "Failure.h"
#include "support/TempFolder.h"

namespace kv::mission {
namespace {

TEST(OutputFolder, GivesNamesOnlyAtTheEnd) {
  const TempFolder temp;
  const auto path = temp.Path() / "a/b";
  {
    OutputFolder abandoned(path, false);
    EXPECT_TRUE(std::filesystem::exists(abandoned.Staging()));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
  OutputFolder output(path, false);
  const auto staged = std::filesystem::relative(output.Staging(), temp.Path()).string();
  temp.Write(staged + "/photos.shp", "new");
  temp.Write(staged + "/summary.json", "{}");
  temp.Write(staged + "/fixes", "scratch");
  EXPECT_FALSE(std::filesystem::exists(path / "photos.shp"));
  output.Commit();
  EXPECT_EQ(temp.Read("a/b/photos.shp"), "new");
  EXPECT_FALSE(std::filesystem::exists(path / "fixes"));
}

TEST(OutputFolder, RefusesWhatItMustNotReplace) {
  const TempFolder temp;
  temp.Write("trajectory_line.dbf", "old");
  EXPECT_THROW(OutputFolder(temp.Path(), false), Failure);
  EXPECT_NO_THROW(OutputFolder(temp.Path(), true));
  std::filesystem::create_directory(temp.Path() / "photos.shp");
  EXPECT_THROW(OutputFolder(temp.Path(), true), Failure);
  EXPECT_THROW(OutputFolder(temp.Path() / "trajectory_line.dbf", true), Failure);
  EXPECT_EQ(temp.Read("trajectory_line.dbf"), "old");
}

}  // namespace
}  // namespace kv::mission
