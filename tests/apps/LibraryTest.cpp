#include <KVMission.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <thread>
#include <utility>

#include "simulation/SimulatedMission.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

/// A small mission in a folder: its settings, with the output beside it.
KVMission::Settings Simulated(const fs::path& folder, bool drone, std::uint64_t seed) {
  kv::simulation::MissionOptions options;
  options.start = std::chrono::sys_days{std::chrono::year{2025} / 6 / 21} + std::chrono::hours{12};
  options.duration = std::chrono::seconds{90};
  options.photoWidth = options.photoHeight = 32;
  options.drone = drone;
  options.seed = seed;
  WriteMission(folder, options, [](std::size_t, std::size_t) { return true; });
  KVMission::Settings settings = KVMission::SettingsOf(folder);
  settings.output = folder.string() + " results";
  settings.overwrite = true;
  return settings;
}

Files Content(const TempFolder& temp, const fs::path& folder) {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = fs::relative(entry.path(), temp.Path()).generic_string();
    files[name] = entry.is_regular_file() ? temp.Read(name) : "";
  }
  return files;
}

TEST(KVMission, RunsDifferentMissionsAtOnce) {
  const TempFolder temp;
  const std::vector<KVMission::Settings> missions{Simulated(temp.Path() / "sensor", false, 1),
                                                  Simulated(temp.Path() / "drone", true, 2)};
  const auto run = [](const KVMission::Settings& settings) {
    KVMission::Observer nobody;
    KVMission::RunMission(settings, nobody);
  };
  for (const auto& settings : missions) run(settings);
  const Files oneByOne = Content(temp, temp.Path());
  ASSERT_GT(oneByOne.at("drone results/photos.dbf").size(), 5000u);
  for (int i = 0; i < 5; ++i) {
    for (const auto& settings : missions) fs::remove_all(settings.output);
    std::thread other([&] { run(missions[1]); });
    run(missions[0]);
    other.join();
    EXPECT_EQ(Content(temp, temp.Path()), oneByOne);
  }
}

TEST(KVMission, WritesAMissionThatWasKept) {
  const TempFolder temp;
  KVMission::Settings settings = Simulated(temp.Path() / "m", false, 1);
  KVMission::Observer nobody;
  KVMission::RunMission(settings, nobody);
  const Files written = Content(temp, settings.output);
  fs::remove_all(settings.output);
  const fs::path output = std::exchange(settings.output, {});
  const KVMission::Mission mission = KVMission::RunMission(settings, nobody);
  EXPECT_FALSE(fs::exists(output));
  KVMission::WriteLayers(mission, output, false, nobody);
  EXPECT_EQ(Content(temp, output), written);
  EXPECT_THROW(KVMission::WriteLayers(mission, output, false, nobody), KVMission::Failure);
}

/// Counts the questions, and says "stop" to one of them and all later ones.
class Stopper : public KVMission::Observer {
 public:
  explicit Stopper(std::size_t last) : last_(last) {}
  bool ShouldStop() override { return ++asked_ >= last_; }
  std::size_t Asked() const { return asked_; }

 private:
  std::size_t last_, asked_ = 0;
};

TEST(KVMission, AStoppedRunLeavesTheOutputFolderAsItWas) {
  const TempFolder temp;
  KVMission::Settings settings = Simulated(temp.Path() / "m", false, 1);
  settings.jobs = 2;
  Stopper never(std::size_t(-1));
  KVMission::RunMission(settings, never);
  ASSERT_GT(never.Asked(), 50u);  // more than one for each photo
  settings.blurFactor = 1;        // another summary
  const Files before = Content(temp, temp.Path());
  for (std::size_t last = 1; last <= never.Asked(); last += 1 + never.Asked() / 12) {
    for (const bool isNew : {false, true}) {
      KVMission::Settings again = settings;
      if (isNew) again.output = temp.Path() / "new" / "results";
      Stopper stopper(last);
      try {
        KVMission::RunMission(again, stopper);
        ADD_FAILURE() << "not stopped at " << last;
      } catch (const KVMission::Failure& failure) {
        EXPECT_EQ(failure.Why(), KVMission::Failure::Reason::Stopped) << failure.what();
      }
      EXPECT_EQ(Content(temp, temp.Path()), before) << last;
    }
  }
}

}  // namespace
