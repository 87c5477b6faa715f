#include "photos/Grading.h"

#include <KVUtilities.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "base/InOrder.h"
#include "base/Interrupt.h"
#include "base/Progress.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

/// Of the library's sentences the path stands in the last line.
std::string FirstLine(std::string sentence) {
  sentence.resize(std::min(sentence.find('\n'), sentence.size()));
  sentence.erase(sentence.find_last_not_of(": ") + 1);
  return sentence;
}

Grade GradeOf(const std::wstring& path) {
  std::wstring error;
  const double sharpness = KVUtilities::ComputeImageSharpnessFactor(path, error);
  return {sharpness, FirstLine(Utf8(error))};
}

}  // namespace

std::vector<Grade> GradePhotos(const std::vector<std::wstring>& paths, unsigned jobs, const Log& log) {
  Progress progress(log.ShowsProgress(), "grading", "photos");
  const auto next = [&, path = paths.begin()]() mutable {
    return path == paths.end() || Interrupted() ? std::optional<std::wstring>() : *path++;
  };
  std::vector<Grade> grades;
  MakeInOrder(ThreadsFor(jobs), next, GradeOf, [&](Grade grade) {
    grades.push_back(std::move(grade));
    progress.Show(grades.size(), paths.size());
    return true;
  });
  ThrowIfInterrupted();
  return grades;
}

}  // namespace kv::mission
