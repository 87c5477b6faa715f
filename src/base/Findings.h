#pragma once

#include <KVMission.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the engine has to tell.
namespace kv::mission {

using namespace KVMission;

/// A sentence holds its values by name: "{seconds:.1f}" formats a number, "{lines:line}" counts ("1 line", "2 lines"),
/// "{entries:entry|entries}" with another plural.
struct FindingKind {
  const char* code;
  Severity severity;
  const char* sentence;
};

/// Each finding has one row here: code, severity and sentence.
namespace Found {

using enum Severity;

inline constexpr FindingKind  // Inputs
    InputFound{"input-found", Note, "found {file}"},
    InputUnreadable{"input-unreadable", Warning, "{reason}"},
    InputAmbiguous{"input-ambiguous", Warning, "{folder}: several {what}: {names}; choose with {option}"},
    InputLeftAside{"input-left-aside", Warning, "{file}: left aside: {reason}"},
    EventFileMissing{"event-file-missing", Warning, "no event file: only trajectory layers are made"},
    PhotoFoldersMissing{"photo-folders-missing", Warning, "no photo folder: events stay without photos"},
    PhotoFolderShared{"photo-folder-shared", Doubt, "both cameras use the photo folder {folder}"},
    SettingsWithoutEffect{"settings-without-effect", Warning, "without effect in a drone mission: {settings}"},
    DronePhotosMissing{"drone-photos-missing", Warning, "{reason}: exposures stay without photos"},
    ShxMissing{"shx-missing", Warning, "the .shx file is missing"};

inline constexpr FindingKind  // Lines left out
    LinesLeftOut{"lines-left-out", Warning, "{input}: {count:line} left out, {reason}: {lines}"},
    HeartbeatsFaulty{"heartbeats-faulty", Warning,
                     "{input}: {count:heartbeat} left out, without a valid date and time: {lines}"},
    TicksWild{"ticks-wild", Warning, "{input}: {count} {what} left out, tick far from those before and after: {lines}"},
    HeartbeatsOff{"heartbeats-off", Warning,
                  "{input}: {count:heartbeat} left out, more than 0.5 s off the others: {lines}"},
    ReadingsNotNumbers{"readings-not-numbers", Warning,
                       "{input}: {count:reading is not a finite number|readings are not finite numbers}, first in line "
                       "{line}: left out of "
                       "the minima and maxima"};

inline constexpr FindingKind  // Trajectory
    TrajectoryDateContradicted{
        "trajectory-date-contradicted", Doubt,
        "the trajectory is taken to start on {date} ({source}), but the {other} says {otherDate}"},
    TrajectoryGap{"trajectory-gap", Warning,
                  "{trajectory}: gap of {seconds:.1f} s from {from} at {latitude:.7f}, {longitude:.7f}"},
    TrajectoryGapsMore{"trajectory-gaps-more", Warning, "{trajectory}: {count:more gap}"},
    TrajectoryRunsBack{"trajectory-runs-back", Doubt, "{trajectory}: the time runs back {count:time}: {reason}"},
    TrajectoryCrossesMeridian{"trajectory-crosses-meridian", Warning,
                              "{trajectory}: crosses the 180th meridian: {effect}"},
    FixTimesCut{"fix-times-cut", Warning, "{count:fix time} finer than a hundredth of a second: cut to hundredths"};

inline constexpr FindingKind  // Master clock
    CounterWraps{"counter-wraps", Warning, "the tick counter wraps {count:time}; events are timed across it"},
    TicksJump{"ticks-jump", Doubt,
              "the tick count jumps, first from {from:.0f} to {to:.0f}: the times of all camera events are doubtful"},
    TicksRunBack{"ticks-run-back", Doubt,
                 "the tick count runs back, first from {from:.0f} to {to:.0f}: events are out of order, or the counter "
                 "restarted"},
    HeartbeatsTooFew{"heartbeats-too-few", Warning,
                     "{count:heartbeat}: camera events have no time without two of them"},
    TickLengthUnknown{"tick-length-unknown", Warning,
                      "the first and the last heartbeat do not tell how long a tick is: camera events have no time"},
    HeartbeatsDisagree{"heartbeats-disagree", Doubt,
                       "the heartbeats do not advance with the ticks: that of {time} is {seconds:.1f} s off; camera "
                       "times are doubtful"},
    CamerasOther{"cameras-other", Warning, "{count:event} of cameras other than 1 and 2: taken for camera 2"},
    EventsBeforeHeartbeats{"events-before-heartbeats", Warning,
                           "{count:camera event} before the first heartbeat: time unknown"};

inline constexpr FindingKind  // Housekeeping log and orientation file
    EntriesWithoutDate{
        "entries-without-date", Warning,
        "housekeeping log: {count:entry|entries} without a valid date and time, {lines}: placed like the next one that "
        "has a time"},
    HousekeepingEndsEarly{"housekeeping-ends-early", Warning,
                          "housekeeping log: line {line} has {length} characters or more: the log is read up to there"},
    EntriesWithoutPlace{"entries-without-place", Warning,
                        "housekeeping log: {count} of {entries:entry|entries} dropped, without a place on the "
                        "trajectory; the log is from "
                        "{from} to {to}"},
    ReadingsWithoutClock{"readings-without-clock", Warning, "orientation: {reason}: readings have no time"},
    ReadingsBeforeHeartbeats{"readings-before-heartbeats", Warning,
                             "orientation: {count:reading} before the first heartbeat: time unknown"},
    ReadingsBesideWrongHeartbeats{"readings-beside-wrong-heartbeats", Warning,
                                  "orientation: {count:reading} next to heartbeats left out: time unknown"},
    ReadingsWithoutTime{"readings-without-time", Warning, "orientation: {count:reading} without a time"};

inline constexpr FindingKind  // Post-processed trajectory and POS file
    RowsUnreadable{"rows-unreadable", Warning, "post-processed trajectory: {count:row} could not be read"},
    RowsOutOfRange{"rows-out-of-range", Warning,
                   "post-processed trajectory: {count:row} with a time or place out of range: left out"},
    SamplesOutOfOrder{"samples-out-of-order", Warning,
                      "post-processed trajectory: {count:single sample} out of the order of time: left out"},
    SamplesWithoutTime{"samples-without-time", Warning,
                       "post-processed trajectory: {count:sample} without a valid time: left out"},
    ExportWithoutDate{"export-without-date", Doubt,
                      "post-processed trajectory: the header has no date: taken to begin on {date}"},
    ExportUnusable{"export-unusable", Warning, "{file}: no usable sample"},
    PlacesNotCompared{"places-not-compared", Warning, "{file}: no usable sample: places are not compared"},
    ExposuresOutsideTrajectory{
        "exposures-outside-trajectory", Warning,
        "{count:exposure} outside the post-processed trajectory, {from} to {to}, or in a gap of it: {effect}"},
    PosLinesLeftOut{"pos-lines-left-out", Warning, "POS file: {count:line} left out, {reason}, first line {line}"},
    PosEndsEarly{"pos-ends-early", Warning,
                 "POS file: line {line} cannot be transformed: {reason} The {points:sample} before it are kept, "
                 "{lost:sample} left "
                 "out"},
    GridOnOtherEllipsoid{"grid-on-other-ellipsoid", Doubt,
                         "the geoid grid {grid} is applied above the ellipsoid of {system}, which is not GRS80 or WGS "
                         "84: heights may be "
                         "wrong by tens of metres, and places by more; take a target on ETRS89 or the like"};

inline constexpr FindingKind  // Exposures and photos
    ExposuresInGaps{"exposures-in-gaps", Warning,
                    "{count:camera event} inside trajectory gaps or across the 180th meridian: dropped"},
    PhotoFolderEmpty{"photo-folder-empty", Warning, "camera {camera}: no photo in {folder}"},
    PhotosNotListed{"photos-not-listed", Warning,
                    "camera {camera}: {count:photo} not named .jpg in lower case: only pairing by time finds them"},
    PhotosUnreadable{"photos-unreadable", Warning, "camera {camera}: {count:photo} cannot be opened: {names}"},
    PhotoTimesWithoutZone{
        "photo-times-without-zone", Warning,
        "camera {camera}: {count:photo time} without a time zone: the camera's clock is taken for UTC"},
    PairingByOrderUneven{
        "pairing-by-order-uneven", Doubt,
        "camera {camera}: {events:event} but {photos:photo}: pairing by order leaves the last ones over and shifts all "
        "pairs behind a missing one"},
    PhotosWithoutTime{"photos-without-time", Warning, "camera {camera}: {count:photo} without a time cannot be paired"},
    PairingFailed{"pairing-failed", Warning, "camera {camera}: {reason}"},
    PairingReport{"pairing-report", Note, "camera {camera}: {report}"},
    NothingPaired{"nothing-paired", Warning,
                  "camera {camera}: no photo is within {seconds} s of an event; the first event is of {event}, the "
                  "first photo by "
                  "name of {photo}: is --cam{camera}-offset right?"},
    PhotosShared{"photos-shared", Warning,
                 "camera {camera}: {count:photo serves|photos serve} more than one event, first {photo}"},
    PairingByOrderTimesDiffer{
        "pairing-by-order-times-differ", Doubt,
        "camera {camera}: paired by order, but the times of photo and event differ by up to {seconds:.3f} s"},
    ExposuresWithoutPhoto{"exposures-without-photo", Warning, "{count:exposure} without a photo: dropped"},
    PhotosWithoutExposure{"photos-without-exposure", Warning, "{count:photo} without an exposure, first {photo}"},
    PhotosBlurred{"photos-blurred", Warning,
                  "camera {camera}: {count:photo} far below the median sharpness, first {photo}"},
    PhotosUngraded{"photos-ungraded", Warning,
                   "camera {camera}: {count:photo} could not be graded, first {photo}: {reason}"},
    StationsOfOneCamera{
        "stations-of-one-camera", Warning,
        "{count:station} of two exposures of the same camera, first at {time}: is --tolerance larger than the camera's "
        "interval?"},
    StationsAllSingle{"stations-all-single", Warning,
                      "no exposures of the two cameras are less than {seconds} s apart: all stations are single; is "
                      "--tolerance right?"};

inline constexpr FindingKind  // Output
    LayerWritten{"layer-written", Note, "writing {layer}, {records:record}"},
    PhotoPathsCut{
        "photo-paths-cut", Warning,
        "{count:photo path does|photo paths do} not fit PhotoPath (254 characters of Windows-1252) and will be cut or "
        "misspelt"};

}  // namespace Found

using Values = std::vector<std::pair<std::string, Value>>;

/// @param subject  what it is about
Finding MakeFinding(const FindingKind& kind, Values values, Subject subject);

/// Puts values into a sentence. A name without a value stays as it is.
std::string SentenceOf(std::string_view form, const Values& values);

/// "line 3, 7", or the first five and "..."
std::string Named(const LineNumbers& lines);

/// "1 photo", "2 photos"
std::string Counted(std::size_t count, const char* noun);

/// A count as a value.
inline std::int64_t Count(std::size_t count) { return static_cast<std::int64_t>(count); }

}  // namespace kv::mission
