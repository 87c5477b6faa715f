#include "photos/Grading.h"

#include <exception>
#include <new>
#include <optional>
#include <utility>

#include "base/InOrder.h"
#include "photos/BoxFilter.h"
#include "photos/Codecs.h"
#include "photos/PictureClaims.h"
#include "photos/Sharpness.h"
#include "photos/Thumbnail.h"

namespace kv::mission {
namespace {

struct Photo {
  std::filesystem::path path;
  bool isPictured;  // a thumbnail is wanted
};
struct Graded {
  Grade grade;
  std::string thumbnail;
};

Graded GradeOf(const Photo& photo, double mostMegapixels) try {
  const std::int64_t memory = CheckPicture(photo.path, mostMegapixels);
  std::optional<BoxFilter> filter;
  const RowTaker shrink{[&](cv::Size size) { filter.emplace(size, kThumbnailSide); },
                        [&](const cv::Mat& rows) { filter->Add(rows); }};
  auto [sharpness, damage] =
      GradeFile(photo.path, photo.isPictured ? &shrink : nullptr, memory / kDecodedBytesPerPixel);
  Graded graded{{sharpness, {}, std::move(damage)}, {}};
  if (filter) graded.thumbnail = ThumbnailOf(filter->Result(), OrientationOf(photo.path));
  return graded;
} catch (const std::bad_alloc&) {  // says nothing about the photo, nor does the next
  throw;
} catch (const CodecsMissing&) {
  throw;
} catch (const std::exception& error) {
  return {{0, error.what(), {}}, {}};
}

}  // namespace

std::vector<Grade> GradeFiles(const std::vector<std::filesystem::path>& paths, const GradeOptions& options, Job& job,
                              SpreadThumbnails* thumbnails) {
  Meter meter(job, "grading", "photos");
  const std::size_t step = thumbnails ? thumbnails->step : 0;
  const auto next = [&, at = std::size_t{0}]() mutable -> std::optional<Photo> {
    if (at == paths.size()) return std::nullopt;
    const bool isPictured = step > 0 && at % step == 0;
    return Photo{paths[at++], isPictured};
  };
  std::vector<Grade> grades;
  const auto grade = [&](const Photo& photo) { return GradeOf(photo, options.maxMegapixels); };
  MakeInOrder(ThreadsFor(options.jobs), next, grade, [&](Graded graded) {
    job.ThrowIfStopped();
    if (!graded.thumbnail.empty()) thumbnails->jpegs.emplace(grades.size(), std::move(graded.thumbnail));
    grades.push_back(std::move(graded.grade));
    meter.Show(grades.size(), paths.size());
    return true;
  });
  return grades;
}

}  // namespace kv::mission

std::vector<KVMission::Grade> KVMission::GradePhotos(const std::vector<std::filesystem::path>& photos,
                                                     const GradeOptions& options, Observer& observer) {
  kv::mission::Job job(observer);
  return kv::mission::GradeFiles(photos, options, job);
}
