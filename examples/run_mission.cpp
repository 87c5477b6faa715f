// Runs a mission, prints its findings by severity, and stops when the user presses Ctrl-C.
// Usage: run_mission MISSION OUTPUT
#include <KVMission.h>

#include <csignal>
#include <cstdio>

namespace {

volatile std::sig_atomic_t stopped = 0;

class StopOnSignal : public KVMission::Observer {
 public:
  bool ShouldStop() override { return stopped != 0; }
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) return 2;
  std::signal(SIGINT, [](int) { stopped = 1; });

  KVMission::Settings settings = KVMission::SettingsOf(argv[1]);
  settings.output = argv[2];
  StopOnSignal observer;
  const KVMission::Mission mission = KVMission::RunMission(settings, observer);

  using KVMission::Severity;
  for (const Severity severity : {Severity::Failure, Severity::Doubt, Severity::Warning}) {
    for (const KVMission::Finding& finding : mission.findings) {
      if (finding.severity == severity) std::printf("%s: %s\n", finding.code.c_str(), finding.text.c_str());
    }
  }
  std::size_t dropped = 0;
  for (const KVMission::Exposure& exposure : mission.exposures) dropped += exposure.drop.has_value();
  std::printf("%zu of %zu exposures are in the photo layer\n", mission.exposures.size() - dropped,
              mission.exposures.size());
  return mission.complete ? 0 : 3;
} catch (const KVMission::Failure& failure) {
  std::fprintf(stderr, "%s\n", failure.what());
  return 1;
}
