#include "run/OutputFolder.h"

#include <fmt/format.h>

#include <system_error>

#include "Failure.h"
#include "Interrupt.h"
#include "System.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

/// A layer is there for other programs once its .shp is: that one is renamed last.
constexpr std::array kLayerExtensions{".prj", ".dbf", ".shx", ".shp"};
/// Made by other programs for an earlier layer, and wrong for a new one.
constexpr std::array kCompanionExtensions{".cpg", ".qix", ".sbn", ".sbx"};

std::vector<std::string> ResultNames() {
  std::vector<std::string> names;
  for (const std::string layer : kLayerNames) {
    for (const char* extension : kLayerExtensions) names.push_back(layer + extension);
  }
  names.emplace_back(kSummaryFile);
  return names;
}

[[noreturn]] void FailAt(const fs::path& path, const std::error_code& error) {
  throw Failure(fmt::format("{}: cannot be written: {}", Utf8(path), error.message()));
}

void RefuseResults(const fs::path& folder, bool overwrite) {
  for (const auto& name : ResultNames()) {
    std::error_code error;
    const auto status = fs::symlink_status(folder / name, error);
    if (fs::is_directory(status)) throw Failure(Utf8(folder / name) + ": a folder stands in the way");
    if (fs::exists(status) && !overwrite)
      throw Failure(Utf8(folder / name) + " exists; --overwrite replaces the results of an earlier run");
  }
}

}  // namespace

OutputFolder::OutputFolder(const fs::path& path, bool overwrite) : path_(path) {
  std::error_code error;
  if (PhotoPathSeparator() == L'/' && WidePath(path).find(L'\\') != std::wstring::npos)
    throw Failure(Utf8(path) + ": an output folder cannot have a backslash in its name");
  if (fs::is_directory(path, error)) {
    RefuseResults(path, overwrite);
  } else {
    fs::create_directories(path, error);
    if (error) FailAt(path, error);
    made_ = true;
  }
  staging_.emplace(path);
}

OutputFolder::~OutputFolder() {
  staging_.reset();
  std::error_code notEmpty;
  if (made_ && !committed_) fs::remove(path_, notEmpty);
}

void OutputFolder::Commit() {
  ThrowIfInterrupted();
  std::vector<fs::path> renamed;
  std::error_code error;
  for (const auto& name : ResultNames()) {
    const fs::path target = path_ / name;
    if (!fs::exists(Staging() / name, error)) {
      fs::remove(target, error);
    } else {
      fs::rename(Staging() / name, target, error);
      if (!error) renamed.push_back(target);
    }
    if (error) break;
  }
  std::error_code ignored;
  for (const std::string layer : kLayerNames) {
    for (const char* extension : kCompanionExtensions) fs::remove(path_ / (layer + extension), ignored);
  }
  if (!error) {
    committed_ = true;
    return;
  }
  for (const auto& target : renamed) fs::remove(target, ignored);
  FailAt(path_, error);
}

}  // namespace kv::mission
