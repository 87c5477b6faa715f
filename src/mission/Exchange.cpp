#include "mission/Exchange.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>
#include <system_error>

#include "base/Writing.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// Holds the earlier results. Once all are in it, it gets its second name: from then on an exchange is completed.
constexpr const char *kEarlier = ScratchFolder::kEarlier, *kReplaced = ScratchFolder::kReplaced;

void PutOnDisk(const fs::path& path) {
  if (!FlushToDisk(path)) FailWriting(path);
}

/// Files in a folder and below it, by their names from there.
std::vector<fs::path> FilesIn(const fs::path& folder) {
  std::vector<fs::path> names;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_directory() || entry.is_symlink()) names.push_back(entry.path().lexically_relative(folder));
  }
  return names;
}

/// Renames that can be undone.
class Renames {
 public:
  /// Skips a missing file. @param shown  its name in the failure @throws Failure
  void Make(const fs::path& from, const fs::path& to, const fs::path& shown) {
    std::error_code error;
    if (fs::symlink_status(from, error).type() == fs::file_type::not_found) return;
    made_.push_back({from, to});
    fs::rename(from, to, error);
    if (!error) return;
    const bool isInUse = LastFileWasInUse();
    made_.pop_back();
    if (isInUse) throw Failure(Utf8(shown) + ": cannot be replaced: another program holds it open");
    FailWriting(shown, error);
  }

  std::size_t Count() const { return made_.size(); }

  /// The last one first. @return whether all went back
  bool TakeBack() {
    bool all = true;
    for (; !made_.empty(); made_.pop_back()) {
      std::error_code error;
      fs::rename(made_.back().to, made_.back().from, error);
      all = all && !error;
    }
    return all;
  }

 private:
  struct Rename {
    fs::path from, to;
  };
  std::vector<Rename> made_;
};

void MakeFolderOf(const fs::path& file) {
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  if (error) FailWriting(file, error);
}

void RemoveOthers(const fs::path& staging, const std::vector<fs::path>& staged) {
  const std::set<fs::path> kept(staged.begin(), staged.end());
  for (const fs::path& name : FilesIn(staging)) {
    std::error_code ignored;
    if (!kept.contains(name) && name != FolderLock::kName) fs::remove(staging / name, ignored);
  }
}

/// A folder of results that is a link may lead anywhere.
void RefuseLinks(const fs::path& folder, const fs::path& name) {
  for (fs::path parent = name.parent_path(); !parent.empty(); parent = parent.parent_path()) {
    if (fs::is_symlink(folder / parent))
      throw Failure(Utf8(folder / parent) + " is a link; results of a run that was killed belong there: move it away");
  }
}

/// Moves all files of a folder. A layer's .shp comes last.
void MoveAll(const fs::path& from, const fs::path& to) {
  auto names = FilesIn(from);
  std::stable_partition(names.begin(), names.end(), [](const auto& name) { return name.extension() != ".shp"; });
  Renames renames;
  for (const fs::path& name : names) {
    if (name == FolderLock::kName || *name.begin() == kReplaced) continue;
    RefuseLinks(to, name);
    MakeFolderOf(to / name);
    renames.Make(from / name, to / name, to / name);
    PutOnDisk((to / name).parent_path());
  }
}

/// @return what was done, or nullptr when there was no exchange
const char* Recover(const fs::path& folder, const fs::path& staging) {
  if (fs::is_directory(staging / kReplaced)) {
    MoveAll(staging, folder);
    RemoveReplaced(staging);
    return "they are complete now";
  }
  if (!fs::is_directory(staging / kEarlier)) return nullptr;
  const bool had = !FilesIn(staging / kEarlier).empty();
  MoveAll(staging / kEarlier, folder);
  fs::remove_all(staging / kEarlier);
  return had ? "those of the run before it are back" : nullptr;
}

}  // namespace

bool ExchangeResults(const fs::path& folder, const fs::path& staging, const ExchangedNames& names) {
  RemoveOthers(staging, names.staged);
  const fs::path earlier = staging / kEarlier;
  std::set<fs::path> folders{folder};
  std::error_code error;
  fs::create_directory(earlier, error);  // even if none comes: it marks the exchange
  if (error) FailWriting(earlier, error);
  Renames renames;
  try {
    for (const fs::path& name : names.earlier) {
      if (!fs::exists(fs::symlink_status(folder / name))) continue;
      MakeFolderOf(earlier / name);
      renames.Make(folder / name, earlier / name, folder / name);
    }
    renames.Make(earlier, staging / kReplaced, staging);
    PutOnDisk(staging);
    for (const fs::path& name : names.staged) {
      renames.Make(staging / name, folder / name, folder / name);
      if (const fs::path parent = (folder / name).parent_path(); fs::is_directory(parent)) folders.insert(parent);
    }
    for (const fs::path& changed : folders) PutOnDisk(changed);
  } catch (const std::exception& failure) {
    if (renames.TakeBack()) {
      std::error_code ignored;
      fs::remove_all(earlier, ignored);
      throw;
    }
    throw Failure(fmt::format("{}; what could not be put back is in {}", failure.what(), Utf8(staging)));
  }
  return renames.Count() > 1;  // more than the mark
}

void RemoveReplaced(const fs::path& staging) {
  std::error_code ignored;
  fs::remove_all(staging / kReplaced, ignored);
}

void RecoverResults(const fs::path& folder, Job& job) try {
  for (const fs::path& staging : ScratchFolder::NamesIn(folder)) {
    if (!fs::is_directory(fs::symlink_status(staging)) || !FolderLock::MayBeOf(staging)) continue;
    if (!fs::is_directory(staging / kReplaced) && !fs::is_directory(staging / kEarlier)) continue;
    FolderLock lock(staging);
    if (!lock.IsSure()) continue;
    lock.Leave();  // what is then left is removed with the abandoned ones, and asked again after a failure
    if (const char* outcome = Recover(folder, staging))
      job.Add(Found::ResultsRecovered, {{"outcome", outcome}}, {.file = folder});
  }
} catch (const fs::filesystem_error& error) {
  FailWriting(folder, error.code());
}

}  // namespace kv::mission
