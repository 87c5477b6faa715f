#include <algorithm>
#include <cmath>
#include <csignal>
#include <map>
#include <numbers>
#include <set>
#include <system_error>

#if defined(__linux__)
#include <sys/resource.h>
#endif

#include "SimulatedFiles.h"
#include "simulation/SimulatedMission.h"

namespace {

namespace fs = std::filesystem;
using namespace simulated;

/// The trajectory without the sentences that the scanner does not take, read from the given start on.
std::vector<tagKVTrajectoryObs> Trajectory(const TempFolder& folder, FILETIME start) {
  std::string fixes;
  for (const std::string& line : Lines(folder.Read("mission/trajectory.nmea"))) {
    if (line.find("GGA,") == 3 && Split(line, ',')[6] != "0") fixes += line + "\n";
  }
  std::wstring error;
  return KVUtilities::ScanKVTrajectoryFile(folder.Write("fixes.nmea", fixes), start, error);
}

/// By the usual series for the length of a degree, WGS 84.
double Metres(const Truth& truth, const tagKVSystemEvent& event) {
  const double phi = truth.latitude * std::numbers::pi / 180.0;
  const double perLatitude = 111132.92 - 559.82 * std::cos(2.0 * phi) + 1.175 * std::cos(4.0 * phi);
  const double perLongitude = 111412.84 * std::cos(phi) - 93.5 * std::cos(3.0 * phi);
  return std::hypot((event.Latitude - truth.latitude) * perLatitude, (event.Longitude - truth.longitude) * perLongitude,
                    event.Altitude - truth.height);
}

TEST(Simulation, TheLibraryFindsTheTrueTimesAndPlaces) {
  const struct {
    const char* options;
    double noise;
  } rows[] = {{"", 0.005},
              {"--minutes 3 --start 23:58:30 --latitude -33.4 --longitude -70.6 --rate 1 --noise 0", 0.0},
              {"--minutes 2 --interval 1 --rate 100 --noise 0.5 --seed 99", 0.5},
              {"--minutes 2 --start 2010-12-31T23:59 --latitude 0 --longitude 0 --no-faults --rate 2", 0.005},
              {"--minutes 90 --rate 1 --seed 7", 0.005}};
  for (const auto& [options, noise] : rows) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--no-photos ") + options), 0) << options;
    const std::vector<Truth> truth = ReadTruth(folder);
    FILETIME start{};
    std::vector<tagKVSystemEvent> events = CameraEvents(folder, start);
    std::vector<tagKVTrajectoryObs> trajectory = Trajectory(folder, start);
    std::wstring error;
    KVUtilities::PopulateSystemEventLocationsUsingTrajectory(events, trajectory, error);
    ASSERT_EQ(events.size(), truth.size()) << options;
    ASSERT_GT(events.size(), 40u) << options;
    for (std::size_t i = 0; i < events.size(); ++i) {
      EXPECT_EQ(events[i].CameraID, truth[i].camera);
      EXPECT_EQ(events[i].MasterTick, truth[i].tick);
      EXPECT_NEAR(events[i].AdjGpsSec, truth[i].adjGpsSeconds, 0.001) << options;
      const bool placed = events[i].Latitude != 0.0 || events[i].Longitude != 0.0;
      EXPECT_EQ(placed, truth[i].fault != "before the first fix") << options << truth[i].utc;
      if (!placed) continue;
      EXPECT_LE(Metres(truth[i], events[i]), 0.02 + noise) << options << truth[i].utc;
    }
  }
}

/// The library's pairs are the truth's, and what the truth gives no partner has none.
TEST(Simulation, TheLibraryFindsTheTrueStations) {
  for (const char* options :
       {"--minutes 3", "--minutes 2 --interval 1 --no-faults", "--minutes 70 --rate 1 --seed 7"}) {
    const TempFolder folder;
    ASSERT_EQ(Simulate(folder, std::string("--no-photos ") + options), 0);
    std::map<std::string, std::vector<double>> expected;  // ticks, camera 1 first
    for (const Truth& truth : ReadTruth(folder)) expected[truth.station].push_back(truth.tick);
    FILETIME start{};
    std::wstring error;
    const auto stations =
        KVUtilities::ComputeExposureStationsFromSystemEvents(CameraEvents(folder, start), 0.05, error);
    EXPECT_EQ(stations.size(), expected.size()) << options;
    std::size_t pairs = 0;
    for (const tagKVExposureStation& station : stations) {
      const bool paired = station.Cam1Event.Type == 2 && station.Cam2Event.Type == 2;
      std::vector<double> ticks{station.Cam1Event.MasterTick};
      if (paired) ticks.push_back(station.Cam2Event.MasterTick);
      EXPECT_EQ(ticks, expected[paired ? std::to_string(++pairs) : ""]) << options;
    }
  }
}

TEST(Simulation, TheLogLooksLikeAReceivers) {
  const TempFolder folder;
  ASSERT_EQ(Simulate(folder, "--minutes 2 --no-photos"), 0);
  std::map<std::string, int> sentences, qualities;
  double last = SecondsOfDay("093000.00"), widest = 0.0;
  for (const std::string& line : Lines(folder.Read("mission/trajectory.nmea"))) {
    const std::size_t star = line.find('*');
    ASSERT_TRUE(line[0] == '$' && star + 4 == line.size() && line.back() == '\r') << line;
    int checksum = 0;
    for (std::size_t i = 1; i < star; ++i) checksum ^= line[i];
    EXPECT_EQ(std::stoi(line.substr(star + 1, 2), nullptr, 16), checksum) << line;
    const Words fields = Split(line, ',');
    ++sentences[fields[0]];
    if (line.find("GGA,") != 3) continue;
    ++qualities[fields[6]];
    const double now = SecondsOfDay(fields[1]);
    widest = std::max(widest, now - last);
    last = now;
  }
  for (const char* kind : {"$GNGGA", "$GPGGA", "$GNRMC", "$GNGSA", "$GPGSV", "$GLGSV"}) EXPECT_GT(sentences[kind], 0);
  EXPECT_EQ(qualities["0"], 40);
  EXPECT_EQ(qualities["0"] + qualities["1"] + qualities["5"] + qualities["4"], 1201 - 35);
  EXPECT_NEAR(widest, 3.6, 0.01);
  FILETIME start{};
  CameraEvents(folder, start);
  std::wstring error;
  EXPECT_THROW(KVUtilities::ScanKVTrajectoryFile(folder.Wide("mission/trajectory.nmea"), start, error), std::exception);
}

std::map<std::string, std::string> Content(const TempFolder& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder.Path())) {
    const std::string name = fs::relative(entry.path(), folder.Path()).generic_string();
    if (entry.is_regular_file()) files[name] = folder.Read(name);
  }
  return files;
}

TEST(Simulation, ASeedAlwaysGivesTheSameMission) {
  const TempFolder first, again, other;
  ASSERT_EQ(Simulate(first, "--minutes 1 --seed 3"), 0);
  ASSERT_EQ(Simulate(again, "--minutes 1 --seed 3"), 0);
  ASSERT_EQ(Simulate(other, "--minutes 1 --seed 4 --photo-size 16x16"), 0);
  EXPECT_EQ(Content(first), Content(again));
  for (const char* file :
       {"mission/trajectory.nmea", "mission/events.txt", "mission/housekeeping.log", "mission/truth.csv"}) {
    EXPECT_NE(first.Read(file), other.Read(file)) << file;
  }
}

TEST(Simulation, ExitCodes) {
  const struct {
    const char* options;
    int exitCode;
  } rows[] = {{"--start 2025-02-29", 2},
              {"--start 2025-02-29T10:00:00", 2},
              {"--start 24:00", 2},
              {"--start 1999-12-31T10:00:00", 2},
              {"--start 2016-12-31T23:59:30", 2},  // a leap second ends that day
              {"--start 2079-12-31T23:59:30", 2},  // two-digit years are those of 1980 from there on
              {"--start 2080-01-01T00:00:00", 2},
              {"--seed -1", 2},
              {"--seed 1.5", 2},
              {"--seed 18446744073709551616", 2},
              {"--minutes nan", 2},
              {"--noise 1e400", 2},
              {"--photo-size 320", 2},
              {"--photo-size 320x0", 2},
              {"--photo-size 320x240x3", 2},
              {"--interval 0.9", 2},
              {"--rate 3", 2},
              {"--names other", 2},
              {"--firmware 2.0.6", 2},
              {"--cam1-clock nan", 2},
              {"--cam2-clock 1e9", 2},
              {"--cam1-reset 0.5", 2},
              {"--cam1-reset 1.5,10", 2},
              {"--lost-photos 1", 2},
              {"--triggers never", 2},
              {"--drone --test-shots 3", 2},
              {"--rtk-lost 90,50", 2},
              {"--pos llh,colon", 2},
              {"--sbet year", 2},
              {"--cam1-lever-arm 1,2", 2},
              {"--drone --cam2-lever-arm 1,2,3", 2},
              {"--rtk-lost 50,90,fixed", 2},
              {"--log-trouble binary,none", 2},
              {"--minutes 1 --photo-size 16x16", 0},
              {"--minutes 1 --photo-size 16x16", 2},  // not empty any more
              {"--minutes 1 --no-photos --overwrite", 0}};
  const TempFolder folder;
  for (const auto& [options, exitCode] : rows) EXPECT_EQ(Simulate(folder, options), exitCode) << options;
}

/// A refused step ends the mission there: no photo follows it, and nothing is returned.
TEST(Simulation, StopsAtTheStepThatIsRefused) {
  for (const std::size_t refused : {0u, 1u, 5u}) {
    const TempFolder folder;
    kv::simulation::MissionOptions options;
    options.photoWidth = options.photoHeight = 16;
    std::set<std::size_t> totals;
    const auto exposures = WriteMission(folder.Path() / "mission", options, [&](std::size_t done, std::size_t of) {
      totals.insert(of);
      return done < refused;
    });
    EXPECT_FALSE(exposures) << refused;
    const auto truth = ReadTruth(folder);
    const auto planned = std::count_if(truth.begin(), truth.end(), [](const Truth& row) { return !row.photo.empty(); });
    EXPECT_EQ(totals, std::set{static_cast<std::size_t>(planned)});
    std::size_t photos = 0;
    for (const auto& [name, content] : Content(folder)) photos += name.ends_with(".jpg");
    EXPECT_EQ(photos, refused);
  }
}

TEST(Simulation, OverwritingSparesWhatIsNotTheMissions) {
  const TempFolder folder;
  ASSERT_EQ(Simulate(folder, "--minutes 1 --photo-size 16x16"), 0);
  folder.Write("mission/cam1/mine.jpg", "kept");
  struct {
    const char* options;
    std::size_t files;  // with the one that is no mission's
  } const rows[] = {{"--start 12:00 --no-photos", 6},
                    {"--photo-size 16x16 --no-faults --photo-folders nested --swap-cameras", 6 + 28},
                    {"--photo-size 16x16 --no-faults --photo-folders dcim --test-shots 2", 6 + 32},
                    {"--no-photos --pos llh --gpx --sbet week --log-trouble beside", 6 + 4},
                    {"--drone --photo-size 16x16 --no-faults", 3 + 14},
                    {"--drone --no-photos", 3}};
  for (const auto& [options, count] : rows) {
    ASSERT_EQ(Simulate(folder, std::string("--minutes 1 --overwrite ") + options), 0);
    const auto files = Content(folder);
    EXPECT_EQ(files.size(), count) << options;
    EXPECT_EQ(files.count("mission/cam1/mine.jpg"), 1u) << options;
  }
}

TEST(Simulation, AFileThatCannotTakeItsNameIsReported) {
  for (const char* file :
       {"truth.csv", "events.txt", "trajectory.nmea", "housekeeping.log", "orientation.txt", "cam2"}) {
    const TempFolder folder;
    fs::create_directories(folder.Path() / "mission" / file / "in the way");
    if (file == std::string("cam2")) {
      fs::remove_all(folder.Path() / "mission/cam2");
      folder.Write("mission/cam2", "a file where a folder should be");
    }
    try {
      ADD_FAILURE() << file << Simulate(folder, "--minutes 1 --overwrite");
    } catch (const std::system_error& error) {
      EXPECT_NE(std::string(error.what()).find(file), std::string::npos) << error.what();
    }
  }
}

#if defined(__linux__)

/// No file is larger than a limit of the system, as on a disk that is full: those that are there are whole.
TEST(Simulation, AWriteThatFailsIsReportedAndLeavesNoPart) {
  const std::string options = "--minutes 1 --photo-size 64x64";
  const TempFolder whole;
  ASSERT_EQ(Simulate(whole, options), 0);
  std::signal(SIGXFSZ, SIG_IGN);
  for (const rlim_t bytes : {0u, 1000u, 2500u, 5000u, 10'000u, 40'000u}) {
    const TempFolder folder;
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{bytes, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_THROW(Simulate(folder, options), std::system_error) << bytes;
    setrlimit(RLIMIT_FSIZE, &before);
    for (const auto& entry : fs::recursive_directory_iterator(folder.Path() / "mission")) {
      if (!entry.is_regular_file()) continue;
      const std::string name = fs::relative(entry.path(), folder.Path()).string();
      EXPECT_EQ(folder.Read(name), whole.Read(name)) << name << ", " << bytes;
    }
  }
}

#endif

}  // namespace
