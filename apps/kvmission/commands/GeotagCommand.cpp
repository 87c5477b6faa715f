#include <fmt/format.h>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/MissionOptions.h"

namespace kv::command {
namespace {

using KVMission::Failure;
using KVMission::GeotaggedPhoto;
using KVMission::Utf8;
using State = GeotaggedPhoto::State;

struct GeotagOptions {
  MissionOptions mission;
  KVMission::GeotagSettings tagging;
  bool inPlace = false, yes = false;
  CommonOptions common;
};

void CheckUsage(const GeotagOptions& options) {
  const bool copies = !options.tagging.output.empty();
  const auto fail = [](const char* sentence) { throw Failure(sentence, Failure::Reason::WrongUsage); };
  if (options.mission.mission.empty() && options.mission.given.empty()) fail("give a mission folder");
  if (copies == options.inPlace) fail("give a folder for tagged copies with --output, or --in-place");
  if (copies && !options.tagging.backup.empty()) fail("--backup goes with --in-place: copies leave the photos alone");
}

void Confirm(const GeotagOptions& options, const KVMission::Mission& mission) {
  const std::size_t photos = PlacedPhotos(mission);
  const std::string question = fmt::format("Write geotags into {} photo{} in place{}?", photos, photos == 1 ? "" : "s",
                                           options.tagging.backup.empty() ? ", without a backup" : "");
  if (!Agrees("geotags are written into the photos in place", question)) throw Failure("nothing was tagged");
}

/// Names each photo that is tagged, and says how many there are.
ExitCode Tell(const std::vector<GeotaggedPhoto>& photos, const GeotagOptions& options) {
  const auto count = [&](State state) {
    return std::count_if(photos.begin(), photos.end(), [&](const auto& photo) { return photo.state == state; });
  };
  for (const GeotaggedPhoto& photo : photos) {
    if (options.common.quiet && photo.state == State::LeftAlone)
      SayError(fmt::format("{}: not tagged: {}", Utf8(photo.photo), photo.complaint));
    if (!options.common.quiet && photo.state == State::Tagged) fmt::print("{}\n", PathForOutput(photo.photo));
  }
  if (!options.common.quiet)
    ShowText(fmt::format("kvmission: {} tagged, {} unchanged, {} left alone\n", count(State::Tagged),
                         count(State::Unchanged), count(State::LeftAlone)));
  const auto leftAlone = count(State::LeftAlone);
  if (leftAlone == std::ssize(photos)) return ExitCode::Failed;
  return leftAlone == 0 ? ExitCode::Good : ExitCode::Unmatched;
}

ExitCode GeotagMission(const GeotagOptions& options) {
  CheckUsage(options);
  KVMission::Settings settings = SettingsFor(options.mission);
  settings.output.clear();
  settings.grade = false;
  CatchInterrupts();
  Messages messages(options.common.Wanted());
  const KVMission::Mission mission = KVMission::RunMission(settings, messages);
  messages.ClearProgress();
  if (mission.doubtful && !settings.acceptDoubt) {
    SayError("results are in doubt: photos are not tagged; --accept-doubt tags them");
    return ExitCode::Doubtful;
  }
  if (PlacedPhotos(mission) == 0) throw Failure("no photo has a place: nothing was tagged");
  if (options.inPlace && !options.yes) Confirm(options, mission);
  KVMission::GeotagSettings tagging = options.tagging;
  tagging.jobs = settings.jobs, tagging.overwrite = settings.overwrite;
  const auto photos = KVMission::GeotagPhotos(mission, tagging, messages);
  messages.ClearProgress();
  const ExitCode told = Tell(photos, options);
  if (told == ExitCode::Failed) return told;
  if (mission.doubtful) return ExitCode::Doubtful;
  return mission.complete ? told : ExitCode::Unmatched;
}

}  // namespace

void AddGeotagCommand(CLI::App& app, ExitCode& exitCode) {
  CLI::App& command = *app.add_subcommand("geotag", "Write place, time and attitude into the photos of a mission");
  const auto options = std::make_shared<GeotagOptions>();
  AddMissionOptions(
      command, options->mission,
      {"output", "outputs", "pos", "target", "heights", "tolerance", "blur-factor", "no-sharpness", "thumbnails"});
  AddFolder(command, "-o,--output", options->tagging.output, "folder for tagged copies, by camera");
  command.add_flag("--in-place", options->inPlace, "write into the photos themselves");
  AddFolder(command, "--backup", options->tagging.backup,
            "with --in-place: folder that receives the photos as they were");
  const auto storeHeights = [options](const std::string& text) {
    KVMission::Settings settings;
    SetFromOption(settings, "heights", text);
    options->tagging.heights = settings.heights;
  };
  command
      .add_option_function<std::string>("--heights", storeHeights,
                                        "what heights are above (default geoid, which is that of EGM96)")
      ->type_name("ellipsoid|geoid");
  command.add_flag("--yes", options->yes, "do not ask");
  AddVerbosity(command, options->common);
  command.callback([options, &exitCode] { exitCode = GeotagMission(*options); });
}

}  // namespace kv::command
