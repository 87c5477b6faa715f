#include "mission/OutputFolder.h"

#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <iterator>
#include <set>
#include <system_error>

#include "mission/Exchange.h"
#include "mission/inputs/Inputs.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// Other programs take a layer for complete once its .shp is there: it is renamed last.
constexpr std::array kLayerExtensions{".prj", ".dbf", ".shx", ".shp"};
/// Made by other programs for an earlier layer, and wrong for a new one.
constexpr std::array kCompanionExtensions{".cpg", ".qix", ".sbn", ".sbx"};

std::vector<fs::path> ResultNames(const Results& results) {
  std::vector<fs::path> names;
  for (const auto& layer : results.layers) {
    for (const char* extension : kLayerExtensions) names.push_back(PathFromText(layer + extension));
  }
  std::transform(results.files.begin(), results.files.end(), std::back_inserter(names), PathFromText);
  return names;
}

/// Every name that an earlier run and its companions can have.
std::vector<fs::path> EarlierNames(const Results& results) {
  std::vector<fs::path> names;
  std::transform(results.companions.begin(), results.companions.end(), std::back_inserter(names), PathFromText);
  for (const auto& layer : results.layers) {
    for (const char* extension : kCompanionExtensions) names.push_back(PathFromText(layer + extension));
  }
  const auto own = ResultNames(results);
  names.insert(names.end(), own.begin(), own.end());
  return names;
}

void RefuseResults(const fs::path& folder, const Results& results, bool overwrite) {
  for (const auto& name : EarlierNames(results)) {
    std::error_code error;
    const auto status = fs::symlink_status(folder / name, error);
    if (fs::is_directory(status)) throw Failure(Utf8(folder / name) + ": a folder stands in the way");
    if (fs::exists(status) && !overwrite)
      throw Failure(Utf8(folder / name) + " exists; --overwrite replaces the results of an earlier run");
  }
}

const fs::path& Usable(const fs::path& path) {
  if (LibraryMisreads(path)) throw Failure(Utf8(path) + ": an output folder cannot have a backslash in its name");
  return path;
}

/// The folder, with the results in it whole.
const fs::path& Prepared(const fs::path& path, const FolderLock& lock, const Results& results, bool overwrite,
                         Job& job) {
  if (!lock.IsHeld())
    throw Failure(fmt::format("{}: another run writes into this folder{}", Utf8(path),
                              lock.Holder().empty() ? "" : fmt::format(" (process {})", lock.Holder())));
  RecoverResults(path, job);
  ScratchFolder::RemoveAbandoned(path);
  RefuseResults(path, results, overwrite);
  return path;
}

void PutOnDisk(const fs::path& path, const fs::path& shown) {
  if (!FlushToDisk(path)) FailWriting(shown);
}

/// The files of a folder, and the folders in it. The lock is not a result, and on Windows only its holder may open it.
void PutContentOnDisk(const fs::path& folder, const fs::path& shown) {
  std::vector<fs::path> paths;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().filename() != FolderLock::kName) paths.push_back(entry.path());
  }
  for (const fs::path& path : paths) PutOnDisk(path, shown / path.lexically_relative(folder));
}

/// A run that knows less than the one before it removes results that it does not replace.
std::vector<std::string> LostResults(const fs::path& folder, const fs::path& staging, const Results& results) {
  std::vector<std::string> lost;
  std::error_code error;
  const auto isLost = [&](const std::string& text) {
    const fs::path name = PathFromText(text);
    return fs::exists(fs::symlink_status(folder / name, error)) && !fs::exists(staging / name, error);
  };
  for (const auto& layer : results.layers) {
    if (isLost(layer + ".shp")) lost.push_back(layer + ".shp");
  }
  for (const auto& name : results.files) {
    if (!name.ends_with(".qml") && isLost(name)) lost.push_back(name);  // a style goes with its layer
  }
  return lost;
}

/// The folders of results that stand in one.
std::set<fs::path> FoldersOf(const std::vector<fs::path>& names) {
  std::set<fs::path> folders;
  for (const fs::path& name : names) {
    if (name.has_parent_path()) folders.insert(name.parent_path());
  }
  return folders;
}

/// A layer's .shp is the first file to go and the last one to come.
ExchangedNames NamesToExchange(const Results& results) {
  auto earlier = EarlierNames(results);
  std::reverse(earlier.begin(), earlier.end());
  return {earlier, ResultNames(results)};
}

}  // namespace

void RefuseResultAsInput(const fs::path& folder, const Results& results, const fs::path& input) {
  for (const auto& name : EarlierNames(results)) {
    std::error_code notThere;
    if (fs::equivalent(folder / name, input, notThere))
      throw Failure(Utf8(input) + ": the output would overwrite this input", Failure::Reason::WrongUsage);
  }
}

void RefuseResultsAsInputs(const fs::path& folder, const Settings& settings) {
  if (!settings.otherTrajectory.empty()) RefuseResultAsInput(folder, RunResults(), settings.otherTrajectory);
  for (const Input& input : Inputs()) {
    if (input.setting && !(settings.*input.setting).empty())
      RefuseResultAsInput(folder, RunResults(), settings.*input.setting);
  }
}

NewFolders::NewFolders(const fs::path& path) {
  fs::path folder = path.root_path();  // a drive or a share is not made
  for (const auto& name : path.relative_path()) {
    folder /= name;
    std::error_code error;
    if (fs::is_directory(folder, error)) continue;
    if (fs::create_directory(folder, error)) made_.push_back(folder);
    if (!error) continue;
    Remove();
    FailWriting(path, error);
  }
}

NewFolders::~NewFolders() { Remove(); }

void NewFolders::Remove() {
  std::error_code notEmpty;
  for (; !made_.empty(); made_.pop_back()) fs::remove(made_.back(), notEmpty);
}

OutputFolder::OutputFolder(const fs::path& path, bool overwrite, Results results, Job& job)
    : path_(Usable(path)),
      results_(std::move(results)),
      overwrite_(overwrite),
      folders_(path),
      lock_(path),
      staging_(Prepared(path, lock_, results_, overwrite, job)) {}

void OutputFolder::Commit(Job& job) {
  job.ThrowIfStopped();
  RefuseResults(path_, results_, overwrite_);
  const auto lost = LostResults(path_, Staging(), results_);
  std::deque<NewFolders> folders;
  for (const fs::path& folder : FoldersOf(ResultNames(results_))) {
    if (fs::is_directory(Staging() / folder)) folders.emplace_back(path_ / folder);
  }
  PutContentOnDisk(Staging(), path_);
  if (ExchangeResults(path_, Staging(), NamesToExchange(results_)))
    folders_.Keep();  // a folder without a result goes again
  RemoveReplaced(Staging());
  if (!lost.empty())
    job.Add(Found::EarlierResultsRemoved,
            {{"count", Count(lost.size())}, {"names", fmt::format("{}", fmt::join(lost, ", "))}}, {.file = path_});
  for (NewFolders& folder : folders) folder.Keep();
  if (!staging_.Remove()) job.Add(Found::UnfinishedLeft, {{"folder", Utf8(Staging())}}, {.file = Staging()});
}

}  // namespace kv::mission
