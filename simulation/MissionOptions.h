#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "simulation/Trouble.h"

namespace kv::simulation {

enum class PhotoNames {
  Stamp,  ///< YYMMDD_HHMMSS.jpg, the exposure's UTC time to the nearest second
  Exif,   ///< DSC_0001.jpg and so on, the time to the millisecond in the EXIF data
};

/// Firmware of the control unit; it decides on the columns of the housekeeping log.
enum class Firmware {
  V2_0_5,
  V2_1_0,  ///< adds a column with the entry's number between time and device
};

/// The form of a POS file.
struct PosForm {
  enum Coordinates { Degrees, Sexagesimal, Ecef, Baseline };
  enum System { Gpst, Utc, Jst };

  Coordinates coordinates = Degrees;
  System system = Gpst;
  bool calendar = false;  ///< date and time of day instead of week and seconds
  bool geodetic = false;  ///< heights above the geoid
  char separator = ' ';
};

/// What the times of an SBET file count from.
enum class SbetTime { Week, GpsEpoch };

/// Trajectories in other forms than the receiver's log.
struct Tracks {
  std::optional<PosForm> pos;
  std::optional<SbetTime> sbet;
  bool gpx = false;
  bool postProcessed = false;  ///< not the receiver's fixes, but fixed ones with an error of their own
};

/// What to simulate. The command checks the ranges when it reads the options.
struct MissionOptions {
  std::chrono::sys_seconds start{};    ///< UTC, years 2000-2079; the mission must not contain a leap second
  std::chrono::seconds duration{300};  ///< 1 minute to 10 hours
  std::uint64_t seed = 1;
  int rate = 10;            ///< fixes per second; a divisor of 100, so that every fix falls on a hundredth of a second
  double interval = 2.0;    ///< seconds between exposures of one camera, at least 1
  int photoWidth = 320;     ///< pixels
  int photoHeight = 240;    ///< pixels
  double noise = 0.005;     ///< metres, largest distance between a fix and the antenna once the receiver has settled
  double latitude = 47.65;  ///< degrees, where the mission starts
  double longitude = 9.45;  ///< degrees
  PhotoNames names = PhotoNames::Stamp;
  Firmware firmware = Firmware::V2_1_0;
  bool drone = false;  ///< write a drone's timestamp file and numbered photos instead of the sensor's files
  bool photos = true;
  bool faults = true;  ///< see Faults in docs/simulation.md
  Trouble trouble;
  Tracks tracks;
};

}  // namespace kv::simulation
