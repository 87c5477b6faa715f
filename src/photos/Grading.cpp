#include "photos/Grading.h"

#include <KVUtilities.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "base/InOrder.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

/// The strict class ends its sentences with the path, on a line of its own.
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

std::vector<Grade> GradeFiles(const std::vector<std::wstring>& paths, unsigned jobs, Job& job) {
  Meter meter(job, "grading", "photos");
  const auto next = [&, path = paths.begin()]() mutable {
    return path == paths.end() ? std::optional<std::wstring>() : *path++;
  };
  std::vector<Grade> grades;
  MakeInOrder(ThreadsFor(jobs), next, GradeOf, [&](Grade grade) {
    job.ThrowIfStopped();
    grades.push_back(std::move(grade));
    meter.Show(grades.size(), paths.size());
    return true;
  });
  return grades;
}

}  // namespace kv::mission

std::vector<KVMission::Grade> KVMission::GradePhotos(const std::vector<std::filesystem::path>& photos, unsigned jobs,
                                                     Observer& observer) {
  std::vector<std::wstring> paths;
  for (const auto& photo : photos) paths.push_back(kv::WidePath(photo));
  kv::mission::Job job(observer);
  return kv::mission::GradeFiles(paths, jobs, job);
}
