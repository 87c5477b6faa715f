#pragma once

#include <optional>
#include <span>
#include <vector>

#include "georef/clocks/CameraClock.h"
#include "mission/Steps.h"

/// What the times of a camera's photos and events tell about its clock, and which pairs follow.
/// @see docs/kvmission/clocks.md
namespace kv::mission {

/// Seconds; an offset is taken to be right when it is no farther than this from the clock that the times tell.
inline constexpr double kPairingRange = 1.0;

/// The times of one camera that are known, in seconds from a common whole second.
struct CameraTimes {
  std::vector<double> events;                 ///< ascending
  std::vector<double> photos;                 ///< in the order of names
  std::vector<std::size_t> eventAt, photoAt;  ///< indexes among the camera's events and the folder's photos
  StampCell cell;
};

/// @param own     indexes of the camera's events
/// @param origin  a whole second
CameraTimes TimesOf(const std::vector<std::size_t>& own, const SystemEvents& events, const PhotoFolder& folder,
                    Instant origin);

/// Judges the clock of one camera.
class ClockJudge {
 public:
  /// @param times  outlive the judge
  explicit ClockJudge(const CameraTimes& times);

  /// Pairs photos with events, one to one and in the order of time. Reports a clock other than the offset in use, and
  /// doubts that the times leave; stores both in the camera. Without a certain clock, or an offset that may be right,
  /// nothing is paired.
  /// @return  a match for each photo with a time; none at all when events or photos have none
  std::vector<PhotoMatch> Pairs(bool acceptDoubt, Camera& camera, Job& job) const;

  /// Checks pairs that were made by order.
  /// @param events  index among the camera's events for each photo of the folder
  void CheckOrder(const std::vector<std::optional<std::size_t>>& events, Camera& camera, Job& job) const;

  const CameraTimes& Times() const { return *times_; }
  const ClockEstimate& Estimate() const { return estimate_; }

 private:
  const CameraTimes* times_;
  ClockEstimate estimate_;
};

/// Reports what only both cameras together show: photos that fit the other camera's events better, events that are not
/// in UTC.
/// @param origin  when the events begin
void CompareCameras(const std::vector<ClockJudge>& judges, const Settings& settings, Instant origin, Job& job);

}  // namespace kv::mission
