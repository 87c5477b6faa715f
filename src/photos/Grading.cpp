#include "photos/Grading.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/InOrder.h"
#include "photos/Sharpness.h"
#include "photos/Thumbnail.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

/// The strict class ends its sentences with the path, on a line of its own.
std::string FirstLine(std::string sentence) {
  sentence.resize(std::min(sentence.find('\n'), sentence.size()));
  sentence.erase(sentence.find_last_not_of(": ") + 1);
  return sentence;
}

struct Photo {
  std::wstring path;
  bool isPictured;  // a thumbnail is wanted
};
struct Graded {
  Grade grade;
  std::string thumbnail;
};

Graded GradeOf(const Photo& photo) {
  Graded graded;
  const auto makeThumbnail = [&](const cv::Mat& picture) {
    graded.thumbnail = ThumbnailOf(picture, OrientationOf(photo.path));
  };
  std::wstring error;
  graded.grade.sharpness = SharpnessOfFile(photo.path, error, photo.isPictured ? makeThumbnail : PictureViewer());
  graded.grade.complaint = FirstLine(Utf8(error));
  return graded;
}

}  // namespace

std::vector<Grade> GradeFiles(const std::vector<std::wstring>& paths, unsigned jobs, Job& job,
                              SpreadThumbnails* thumbnails) {
  Meter meter(job, "grading", "photos");
  const std::size_t step = thumbnails ? thumbnails->step : 0;
  const auto next = [&, at = std::size_t{0}]() mutable -> std::optional<Photo> {
    if (at == paths.size()) return std::nullopt;
    const bool isPictured = step > 0 && at % step == 0;
    return Photo{paths[at++], isPictured};
  };
  std::vector<Grade> grades;
  MakeInOrder(ThreadsFor(jobs), next, GradeOf, [&](Graded graded) {
    job.ThrowIfStopped();
    if (!graded.thumbnail.empty()) thumbnails->jpegs.emplace(grades.size(), std::move(graded.thumbnail));
    grades.push_back(std::move(graded.grade));
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
