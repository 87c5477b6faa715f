#include "mission/Sharpness.h"

#include <algorithm>
#include <iterator>

#include "base/Statistics.h"
#include "mission/Pairing.h"
#include "photos/Grading.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

/// A photo and the camera that took it; a photo of several events is graded once.
struct Picture {
  int camera;
  std::wstring path;

  auto operator<=>(const Picture&) const = default;
};

std::wstring NameIn(const std::wstring& path) { return path.substr(path.find_last_of(PhotoPathSeparator()) + 1); }

Picture PictureOf(const tagKVSystemEvent& event) { return {CameraOf(event), event.PhotoPath.GetString()}; }

std::vector<Picture> PicturesOf(const std::vector<tagKVSystemEvent>& events) {
  std::vector<Picture> pictures;
  for (const auto& event : events) {
    if (!event.PhotoPath.IsEmpty()) pictures.push_back(PictureOf(event));
  }
  std::sort(pictures.begin(), pictures.end());
  pictures.erase(std::unique(pictures.begin(), pictures.end()), pictures.end());
  return pictures;
}

SharpnessSummary Summarise(int camera, const std::vector<Picture>& pictures, const std::vector<Grade>& grades,
                           double blurFactor) {
  SharpnessSummary summary;
  summary.blurFactor = blurFactor;
  std::vector<SharpnessSummary::Blurred> graded;
  std::vector<double> factors;
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    if (pictures[i].camera != camera) continue;
    if (!grades[i].complaint.empty()) {
      summary.ungraded.push_back({NameIn(pictures[i].path), grades[i].complaint});
    } else {
      graded.push_back({NameIn(pictures[i].path), grades[i].sharpness});
      factors.push_back(grades[i].sharpness);
    }
  }
  summary.graded = graded.size();
  if (graded.empty()) return summary;
  std::sort(factors.begin(), factors.end());
  summary.distribution = {factors.front(), Quantile(factors, 0.25), Quantile(factors, 0.5), Quantile(factors, 0.75),
                          factors.back()};
  const double limit = blurFactor * summary.distribution->median;
  std::copy_if(graded.begin(), graded.end(), std::back_inserter(summary.blurred),
               [&](auto& photo) { return photo.sharpness < limit; });
  return summary;
}

void Warn(int camera, const SharpnessSummary& summary, Log& log) {
  if (!summary.blurred.empty())
    log.Warn("camera {}: {} far below the median sharpness, first {}", camera, Counted(summary.blurred.size(), "photo"),
             Utf8(summary.blurred[0].photo));
  if (!summary.ungraded.empty())
    log.Warn("camera {}: {} could not be graded, first {}: {}", camera, Counted(summary.ungraded.size(), "photo"),
             Utf8(summary.ungraded[0].photo), summary.ungraded[0].reason);
}

}  // namespace

std::array<SharpnessSummary, 2> GradeEvents(std::vector<tagKVSystemEvent>& events, double blurFactor, unsigned jobs,
                                            Log& log) {
  const auto pictures = PicturesOf(events);
  std::vector<std::wstring> paths;
  for (const Picture& picture : pictures) paths.push_back(picture.path);
  const auto grades = GradePhotos(paths, jobs, log);
  for (auto& event : events) {
    const auto found = std::lower_bound(pictures.begin(), pictures.end(), PictureOf(event));
    if (!event.PhotoPath.IsEmpty())
      event.Sharpness = grades[static_cast<std::size_t>(found - pictures.begin())].sharpness;
  }
  std::array<SharpnessSummary, 2> summaries;
  for (const int camera : {1, 2}) {
    auto& summary = summaries[static_cast<std::size_t>(camera - 1)];
    summary = Summarise(camera, pictures, grades, blurFactor);
    Warn(camera, summary, log);
  }
  return summaries;
}

}  // namespace kv::mission
