#pragma once

#include <KVMission.h>

#include <optional>
#include <string>
#include <string_view>

namespace kv::mission {

/// Where, when and how a photo was taken.
struct Geotag {
  double latitude = 0, longitude = 0;  ///< degrees, WGS 84
  double height = 0;                   ///< metres
  bool isEllipsoidal = false;          ///< else the height is above the geoid
  KVMission::Instant time;
  KVMission::FixQuality quality;
  std::optional<KVMission::Attitude> attitude;  ///< of the sensor; its camera looks down, the picture's top forward
  bool isLevelKnown = true;                     ///< else the attitude has a heading only
};

/// A heading from 0 to below 360 degrees, also when it is rounded to four decimals.
double HeadingOf(const KVMission::Attitude& attitude);

/// Puts a geotag into a photo: the GPS tags of its EXIF data, and its XMP packet. Every other byte of the file stays as
/// it is, and in its order; see docs/formats/geotags.md for the tags.
/// @return  the photo; equal to `jpeg` when it has this geotag already
/// @throws Failure when it is not a whole JPEG file, its metadata cannot be read or have no room, or the place or time
///         is none that the tags can hold
std::string WithGeotag(std::string_view jpeg, const Geotag& geotag);

/// The EXIF data of `WithGeotag`.
/// @param tiff  a photo's EXIF data without their signature; empty for a photo that has none
/// @param hasOwnAttitude  the photo itself says where its camera looked; its image direction stays
std::string WithGpsTags(std::string_view tiff, const Geotag& geotag, bool hasOwnAttitude);

}  // namespace kv::mission
