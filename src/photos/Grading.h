#pragma once

#include <string>
#include <vector>

#include "base/Job.h"

namespace kv::mission {

/// Like `KVMission::GradePhotos`, for wide paths.
/// @throws Failure (Stopped)
std::vector<Grade> GradeFiles(const std::vector<std::wstring>& paths, unsigned jobs, Job& job);

}  // namespace kv::mission
