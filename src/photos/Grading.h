#pragma once

#include <string>
#include <vector>

#include "base/Log.h"

namespace kv::mission {

/// What grading one photo gave.
struct Grade {
  double sharpness = 0;   ///< variance of the Laplacian; 0 after a failure
  std::string complaint;  ///< why it could not be graded; empty when it could
};

/// Grades photos, several at a time; the grades do not depend on how many.
/// @param jobs  photos at a time, 0 for as many as there are processors; each holds a decoded picture in memory
/// @return      a grade for each path, in the same order
/// @throws Failure when the user interrupts
std::vector<Grade> GradePhotos(const std::vector<std::wstring>& paths, unsigned jobs, const Log& log);

inline constexpr unsigned kMostJobs = 1024;

}  // namespace kv::mission
