#pragma once

#include "KVMission/Findings.h"
#include "KVMission/Mission.h"
#include "KVMission/Settings.h"

#include <filesystem>
#include <string>
#include <vector>

namespace KVMission {

struct GeotagSettings {
  std::filesystem::path output;      ///< receives tagged copies, in its folders cam1 and cam2; empty to tag in place
  std::filesystem::path backup;      ///< in place, receives the photos as they were, likewise; empty for no backup
  Heights heights = Heights::Geoid;  ///< as readers expect them in photos
  unsigned jobs = 0;                 ///< processors to use, 0 for all; each has four photos at a time
  bool overwrite = false;            ///< replaces copies of other content
};

/// What became of one photo.
struct GeotaggedPhoto {
  enum class State {
    Tagged,
    Unchanged,  ///< it, or its copy, had this geotag already
    LeftAlone,  ///< a complaint says why
  };

  std::filesystem::path photo;  ///< or its copy
  int camera = 0;               ///< 1 or 2
  State state = State::LeftAlone;
  std::string complaint;
};

/// Writes place, time, accuracy and attitude of each photo in the photo layer into the photo, or into a copy of it; see
/// docs/formats/geotags.md. Keeps picture, other metadata, permissions and modification time. At every moment a photo
/// is either the old one or the tagged one, complete. Photos that cannot be tagged are left alone and told to the
/// observer.
/// @return  the photos in the order of the exposures
/// @throws Failure when the mission's results are in doubt and its settings do not accept that; when the geoid's grid
///         is missing; (WrongUsage) when a folder is where the photos are; (Stopped) with the number of photos done
KVMISSION_API std::vector<GeotaggedPhoto> GeotagPhotos(const Mission& mission, const GeotagSettings& settings,
                                                       Observer& observer);

}  // namespace KVMission
