#pragma once

#include <chrono>
#include <cstdint>

namespace kv::simulation {

enum class PhotoNames {
  Stamp,  ///< YYMMDD_HHMMSS.jpg, the exposure's UTC time to the nearest second
  Exif,   ///< DSC_0001.jpg and so on, the time to the millisecond in the EXIF data
};

/// The control unit's, which its log depends on.
enum class Firmware {
  V2_0_5,
  V2_1_0,  ///< entries are numbered, in a column of their own between time and device
};

/// What a simulated mission shall be like. The ranges are checked where the options are read.
struct MissionOptions {
  std::chrono::sys_seconds start{};    ///< UTC, years 2000-2079; no leap second may fall into the mission
  std::chrono::seconds duration{300};  ///< 1 minute to 10 hours
  std::uint64_t seed = 1;
  int rate = 10;            ///< fixes per second: a divisor of 100, so that every fix lies on a hundredth of a second
  double interval = 2.0;    ///< seconds between exposures of one camera, at least 1
  int photoWidth = 320;     ///< pixels
  int photoHeight = 240;    ///< pixels
  double noise = 0.005;     ///< largest distance of a fix from the antenna once the receiver has settled, metres
  double latitude = 47.65;  ///< degrees, of the place where the mission starts
  double longitude = 9.45;  ///< degrees
  PhotoNames names = PhotoNames::Stamp;
  Firmware firmware = Firmware::V2_1_0;
  bool drone = false;  ///< a timestamp file and numbered photos instead of the sensor's files
  bool photos = true;
  bool faults = true;  ///< missing photos, an exposure before the first fix, a gap in the trajectory, errors in the log
};

}  // namespace kv::simulation
