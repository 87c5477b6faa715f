#include "mission/Steps.h"

#include <algorithm>
#include <iterator>

#include "base/Statistics.h"
#include "georef/EventTypes.h"
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

bool IsToGrade(const tagKVSystemEvent& event) { return IsPlaced(event) && !event.PhotoPath.IsEmpty(); }

std::vector<Picture> PicturesOf(const std::vector<Exposure>& exposures) {
  std::vector<Picture> pictures;
  for (const Exposure& exposure : exposures) {
    if (IsToGrade(exposure.event)) pictures.push_back(PictureOf(exposure.event));
  }
  std::sort(pictures.begin(), pictures.end());
  pictures.erase(std::unique(pictures.begin(), pictures.end()), pictures.end());
  return pictures;
}

/// @param graded   photos of one camera that could be graded, in the order of their paths
/// @param factors  their sharpness, ascending
void Summarise(const std::vector<SharpnessSummary::Blurred>& graded, const std::vector<double>& factors,
               SharpnessSummary& summary) {
  summary.graded = graded.size();
  if (graded.empty()) return;
  summary.distribution = {factors.front(), Quantile(factors, 0.25), Quantile(factors, 0.5), Quantile(factors, 0.75),
                          factors.back()};
  std::copy_if(graded.begin(), graded.end(), std::back_inserter(summary.blurred),
               [&](auto& photo) { return photo.sharpness < summary.blurFactor * summary.distribution->median; });
}

/// How the photo of an exposure stands among those of its camera.
void Rank(const SharpnessSummary& summary, const std::vector<double>& factors, Exposure& exposure) {
  const double sharpness = exposure.event.Sharpness;
  exposure.blurred = sharpness < summary.blurFactor * summary.distribution->median;
  if (factors.size() < 2) return;
  const auto lower = std::lower_bound(factors.begin(), factors.end(), sharpness) - factors.begin();
  exposure.sharpnessRank = 100.0 * static_cast<double>(lower) / static_cast<double>(factors.size() - 1);
}

/// What grading told of one camera's photos.
struct CameraGrades {
  CameraGrades(int camera, const std::vector<Picture>& pictures, const std::vector<Grade>& grades, double blurFactor) {
    summary.blurFactor = blurFactor;
    std::vector<SharpnessSummary::Blurred> graded;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
      if (pictures[i].camera != camera) continue;
      if (!grades[i].damage.empty()) summary.damaged.push_back({NameIn(pictures[i].path), grades[i].damage});
      if (!grades[i].complaint.empty()) {
        summary.ungraded.push_back({NameIn(pictures[i].path), grades[i].complaint});
      } else {
        graded.push_back({NameIn(pictures[i].path), grades[i].sharpness});
        factors.push_back(grades[i].sharpness);
      }
    }
    std::sort(factors.begin(), factors.end());
    Summarise(graded, factors, summary);
  }

  SharpnessSummary summary;
  std::vector<double> factors;  // ascending
};

void Tell(int camera, const SharpnessSummary& summary, Job& job) {
  const auto tell = [&](const FindingKind& kind, std::size_t count, const std::wstring& first,
                        const std::string& reason) {
    job.Add(kind, {{"camera", camera}, {"count", Count(count)}, {"photo", Utf8(first)}, {"reason", reason}},
            {.camera = camera, .photo = Utf8(first)});
  };
  const auto& [blurred, ungraded, damaged] = std::tie(summary.blurred, summary.ungraded, summary.damaged);
  if (!blurred.empty()) tell(Found::PhotosBlurred, blurred.size(), blurred[0].photo, {});
  if (!ungraded.empty()) tell(Found::PhotosUngraded, ungraded.size(), ungraded[0].photo, ungraded[0].reason);
  if (!damaged.empty()) tell(Found::PhotosDamaged, damaged.size(), damaged[0].photo, damaged[0].reason);
}

}  // namespace

std::array<SharpnessSummary, 2> GradeExposures(std::vector<Exposure>& exposures, const Settings& settings,
                                               std::vector<Thumbnail>& thumbnails, Job& job) {
  const auto pictures = PicturesOf(exposures);
  std::vector<std::filesystem::path> paths;
  for (const Picture& picture : pictures) paths.push_back(NativePath(picture.path));
  SpreadThumbnails spread;
  spread.step = ThumbnailStep(paths.size(), settings);
  const auto grades = GradeFiles(paths, {settings.jobs, settings.maxMegapixels}, job, &spread);
  for (auto& [at, jpeg] : spread.jpegs) thumbnails.push_back({paths[at], std::move(jpeg)});
  const std::array<CameraGrades, 2> cameras{CameraGrades(1, pictures, grades, settings.blurFactor),
                                            CameraGrades(2, pictures, grades, settings.blurFactor)};
  for (Exposure& exposure : exposures) {
    tagKVSystemEvent& event = exposure.event;
    if (!IsToGrade(event)) continue;
    const auto found = std::lower_bound(pictures.begin(), pictures.end(), PictureOf(event));
    const Grade& grade = grades[static_cast<std::size_t>(found - pictures.begin())];
    const CameraGrades& camera = cameras[CameraOf(event) == 1 ? 0 : 1];
    event.Sharpness = grade.sharpness;
    if (grade.complaint.empty()) Rank(camera.summary, camera.factors, exposure);
  }
  for (const int camera : {1, 2}) Tell(camera, cameras[camera == 1 ? 0 : 1].summary, job);
  return {cameras[0].summary, cameras[1].summary};
}

}  // namespace kv::mission
