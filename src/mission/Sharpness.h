#pragma once

#include <KVRecords.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/Log.h"

namespace kv::mission {

/// The sharpness factors of one camera's photos.
struct SharpnessSummary {
  struct Distribution {
    double lowest, lowerQuartile, median, upperQuartile, highest;
  };
  struct Blurred {
    std::wstring photo;
    double sharpness;
  };
  struct Ungraded {
    std::wstring photo;
    std::string reason;
  };

  std::size_t graded = 0;
  std::optional<Distribution> distribution;  ///< of the photos graded
  double blurFactor = 0;                     ///< of the median
  std::vector<Blurred> blurred;              ///< photos below that, by name
  std::vector<Ungraded> ungraded;            ///< photos that could not be graded, by name
};

/// Grades the photos of events into their `Sharpness`; one that cannot be graded leaves 0.
/// @param jobs  photos at a time, 0 for as many as there are processors
/// @return      a summary for camera 1 and one for camera 2
/// @throws Failure when the user interrupts
std::array<SharpnessSummary, 2> GradeEvents(std::vector<tagKVSystemEvent>& events, double blurFactor, unsigned jobs,
                                            Log& log);

}  // namespace kv::mission
