#include <gtest/gtest.h>

#include <filesystem>

#include "support/CommandTest.h"

/// What a machine, another process or a hostile folder can do to a command, and what must not come of it.
namespace {

namespace fs = std::filesystem;

class ReliabilityTest : public CommandTest {
 protected:
  void Prepare() override { ASSERT_EQ(Shell("$K simulate m -q --minutes 1.2 --photo-size 48x32 --no-faults"), 0); }
  /// The cameras of so short a mission may be ambiguous.
  static std::string Run(const std::string& options) { return "$K run m -o o " + options + " || [ $? = 3 ]"; }
  void ExpectError(const std::string& part) {
    EXPECT_NE(temp_.Read("err").find(part), std::string::npos) << part << " is not in:\n" << temp_.Read("err");
  }
};

#if defined(__linux__)

/// The memory of a process is a file that can be opened but not read, by nobody.
TEST_F(ReliabilityTest, AnInputThatCannotBeReadIsAFailureAndKeepsEarlierResults) {
  ASSERT_EQ(Shell(Run("-q --outputs shp")), 0) << temp_.Read("err");
  ASSERT_EQ(Shell("cd m; mv housekeeping.log ..; ln -s /proc/self/mem housekeeping.log"), 0);
  EXPECT_EQ(Shell("$K run m -q -o o --outputs shp --overwrite"), 1);
  ExpectError("housekeeping.log: cannot be read: Input/output error; --skip-unreadable goes on without it");
  EXPECT_TRUE(fs::exists(temp_.Path() / "o/log_points.shp"));
  EXPECT_EQ(Shell("$K rotate m --camera 1 --angle 90 --yes"), 0) << temp_.Read("err");  // which does not need it
  EXPECT_EQ(Shell(Run("--outputs shp --overwrite --skip-unreadable")), 0);
  ExpectError("1 result of an earlier run removed that this one does not make: log_points.shp");
  EXPECT_FALSE(fs::exists(temp_.Path() / "o/log_points.shp"));
}

TEST_F(ReliabilityTest, TwoRunsDoNotWriteIntoOneFolder) {
  ASSERT_EQ(Shell("mkdir o; echo 4711 > o/.kvmission-lock\n"
                  "flock o/.kvmission-lock sh -c \"$K run m -q -o o; echo \\$? > code\""),
            0);
  EXPECT_EQ(temp_.Read("code"), "1\n");
  ExpectError("o: another run writes into this folder (process 4711");
  EXPECT_EQ(Shell(Run("-q --outputs shp")), 0) << temp_.Read("err");  // a lock that a killed run left
  EXPECT_FALSE(fs::exists(temp_.Path() / "o/.kvmission-lock"));
}

/// New files are on the disk before they get their names, and the names before earlier files go.
TEST_F(ReliabilityTest, ResultsAreOnTheDiskBeforeEarlierOnesGo) {
  ASSERT_EQ(Shell(Run("-q --outputs shp,json")), 0);
  // Leaks cannot be looked for in a process that is traced.
  if (Shell("command -v strace") != 0) GTEST_SKIP() << "strace is not installed";
  ASSERT_EQ(Shell("ASAN_OPTIONS=detect_leaks=0 strace -f -qq -y -e "
                  "trace=fsync,rename,renameat,renameat2,unlink,unlinkat -o trace " +
                  Run("-q --outputs shp,json --overwrite")),
            0)
      << temp_.Read("err");
  const std::string trace = temp_.Read("trace");
  const auto first = [&](const std::string& part) { return trace.find(part); };
  const auto last = [&](const std::string& part) { return trace.rfind(part); };
  const std::size_t staged = last("/photos.dbf>)"), moved = first("/earlier/"), named = last("rename("),
                    folder = last("/o>)"), removed = first("unlinkat(");
  ASSERT_NE(staged, trace.npos) << trace;
  EXPECT_LT(staged, moved) << trace;
  EXPECT_LT(moved, named) << trace;
  EXPECT_LT(named, folder) << trace;
  EXPECT_LT(folder, removed) << trace;
}

TEST_F(ReliabilityTest, UnfinishedFilesThatCannotBeRemovedAreNamed) {
  if (Shell("command -v strace") != 0) GTEST_SKIP() << "strace is not installed";
  EXPECT_EQ(Shell("ASAN_OPTIONS=detect_leaks=0 strace -f -qq -e trace=unlinkat,rmdir -e "
                  "inject=unlinkat,rmdir:error=EBUSY -o trace " +
                  Run("--outputs json")),
            0)
      << temp_.Read("err");
  ExpectError("this folder of unfinished files cannot be removed; delete it");
  EXPECT_TRUE(fs::exists(temp_.Path() / "o/summary.json"));
}

#endif

TEST_F(ReliabilityTest, PhotosMayHaveABackslashInTheirNames) {
  // On Windows a backslash leads into a folder, as "/" does.
  const std::string folder = IsUnderWine() ? "a/b" : "'a\\b'", name = IsUnderWine() ? "d.jpg" : "'c\\d.jpg'";
  ASSERT_EQ(Shell("mkdir -p " + folder + "; for photo in m/cam1/*; do cp $photo " + folder + "/" + name + "; done"), 0);
  EXPECT_EQ(Shell("$K grade -q 'a\\b' 'a\\b'/" + name), 0) << temp_.Read("err");
}

TEST_F(ReliabilityTest, SimulateReplacesLinksInItsFolder) {
  ASSERT_EQ(Shell("echo mine > mine; cd m; ln -sf ../mine truth.csv; ln -sf ../mine cam1/DSC_0001.jpg; rm -r cam2\n"
                  "mkdir ../elsewhere; ln -s ../elsewhere cam2"),
            0);
  EXPECT_EQ(Shell("$K simulate m -q --minutes 1.2 --photo-size 48x32 --overwrite"), 0) << temp_.Read("err");
  EXPECT_EQ(temp_.Read("mine"), "mine\n");
  EXPECT_TRUE(fs::is_empty(temp_.Path() / "elsewhere"));
  EXPECT_FALSE(fs::is_symlink(temp_.Path() / "m/cam2"));
}

TEST_F(ReliabilityTest, RefusesWhatAMissionFileMustNotDo) {
  struct {
    std::string script;
    const char* reason;
  } const rows[] = {
      {"head -c 80000 /dev/zero | tr '\\0' ' ' > m/mission.toml; $K run m -q -o o", "too large for a mission file"},
      {"{ printf a; for i in $(seq 1500); do printf .a; done; echo ' = 1'; } > m/mission.toml; $K run m -q -o o",
       "line 1: nested too deeply"},
      {"{ printf 'a = '; for i in $(seq 900); do printf '['; done; } > m/mission.toml; $K run m -q -o o", "line 1: "},
      {"mv m/cam1 elsewhere; echo 'cam1 = \"../elsewhere\"' > m/mission.toml\n"
       "$K rotate m --camera 1 --angle 90 --yes",
       "mission.toml: cam1 leads out of the mission folder; --allow-outside changes photos there"},
      {"$K geotag m --in-place --yes", "mission.toml: cam1 leads out of the mission folder; --allow-outside"},
  };
  for (const auto& [script, reason] : rows) {
    EXPECT_EQ(Shell(script), 2) << script;
    ExpectError(reason);
  }
  EXPECT_EQ(Shell("$K geotag m --in-place --yes --allow-outside || [ $? = 3 ]"), 0) << temp_.Read("err");
  EXPECT_EQ(Shell("$K rotate m --camera 1 --angle 90 --yes --allow-outside"), 0) << temp_.Read("err");
}

TEST_F(ReliabilityTest, LongLinesAreCutAndTold) {
  ASSERT_EQ(Shell("head -c 100000000 /dev/zero | tr '\\0' x > long; cat long >> m/trajectory.nmea"), 0);
  Shell("$K run m -o o --outputs json");
  ExpectError("1 line longer than 64 KiB cut off there: line ");
}

}  // namespace
