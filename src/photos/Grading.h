#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "base/Job.h"

namespace kv::mission {

/// Thumbnails of photos spread over a list, made of the pictures that are decoded to be graded.
struct SpreadThumbnails {
  std::size_t step = 0;                      ///< of the first photo and each so many after it; 0 for none
  std::map<std::size_t, std::string> jpegs;  ///< by the photo's place in the list; without those that failed
};

/// Like `KVMission::GradePhotos`, with thumbnails.
/// @throws Failure (Stopped)
std::vector<Grade> GradeFiles(const std::vector<std::filesystem::path>& paths, const GradeOptions& options, Job& job,
                              SpreadThumbnails* thumbnails = nullptr);

}  // namespace kv::mission
