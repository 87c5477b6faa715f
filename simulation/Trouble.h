#pragma once

#include <optional>

namespace kv::simulation {

/// What a camera's clock shows: the true time plus `offset`, plus `drift` since the mission's start, and plus `resetBy`
/// from one of its photos on.
struct CameraClock {
  double offset = 0.0;   ///< seconds
  double drift = 0.0;    ///< parts per million
  double resetAt = 1.0;  ///< share of the camera's photos taken before the reset
  double resetBy = 0.0;  ///< seconds
};

enum class Triggers {
  Usual,      ///< on strips, each pause up to 2 % longer than the interval
  Regular,    ///< on strips, exactly the interval
  Nonstop,    ///< exactly the interval, in turns too
  Irregular,  ///< on strips, one to two intervals
};

enum class PhotoFolders {
  Camera,  ///< cam1
  Dcim,    ///< DCIM1
  Nested,  ///< cam1/100DSC
};

/// The time system in which the control unit writes heartbeats.
enum class EventClock {
  Utc,
  Gps,
  Local,  ///< two hours ahead of UTC
};

/// Where a camera is, and when it really exposes.
struct CameraMount {
  double forward = 0.0, right = 0.0, down = 0.0;  ///< metres from the antenna
  double shutterDelay = 0.0;                      ///< seconds from the event to the exposure
};

/// A stretch of the mission, in seconds from its start, without the corrections that fix ambiguities.
struct RtkLoss {
  enum class Quality { Float, Differential, Single };

  double from = 0.0, to = 0.0;
  Quality quality = Quality::Single;

  bool Holds(double seconds) const { return seconds >= from && seconds < to; }
};

/// What makes the receiver's log hard to read.
struct LogTrouble {
  bool shuffled = false;    ///< some fixes stand behind later ones
  bool binary = false;      ///< bytes in front of some sentences
  bool instrument = false;  ///< sentences of other instruments
  bool beside = false;      ///< another instrument's log beside it
  bool appended = false;    ///< another day's log stands in front
  bool undated = false;     ///< no sentence with a date
  bool halfDated = false;   ///< sentences with a date in the second half only
};

/// What goes wrong in a mission. The defaults change nothing. Shares are those of the exposures of a camera's stations.
struct Trouble {
  std::optional<CameraClock> clocks[2];
  std::optional<CameraMount> mounts[2];
  double lostPhotos = 0.0;
  double failedTriggers = 0.0;
  double missedEvents = 0.0;
  double extraPhotos = 0.0;
  int testShots = 0;  ///< of each camera
  Triggers triggers = Triggers::Usual;
  bool swapCameras = false;
  PhotoFolders photoFolders = PhotoFolders::Camera;
  EventClock eventClock = EventClock::Utc;
  RtkLoss rtkLoss;
  LogTrouble log;
};

}  // namespace kv::simulation
