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
    LinesCut{"lines-cut", Warning, "{file}: {count:line} longer than 64 KiB cut off there: {lines}"},
    EarlierResultsRemoved{"earlier-results-removed", Warning,
                          "{count:result} of an earlier run removed that this one does not make: {names}"},
    UnfinishedLeft{"unfinished-left", Warning,
                   "{folder}: this folder of unfinished files cannot be removed; delete it"},
    ResultsRecovered{"results-recovered", Warning, "a run was killed while its results got their names: {outcome}"},
    InputAmbiguous{"input-ambiguous", Warning, "{folder}: several {what}: {names}; choose with {option}"},
    InputLeftAside{"input-left-aside", Warning, "{file}: left aside: {reason}"},
    EventFileMissing{"event-file-missing", Warning, "no event file: only trajectory layers are made"},
    PhotoFoldersMissing{"photo-folders-missing", Warning, "no photo folder: events stay without photos{seen}"},
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
    TrajectoryDatesDisagree{"trajectory-dates-disagree", Doubt,
                            "{count:sentence dates|sentences date} the trajectory otherwise than most of the same "
                            "stretch, first {otherDate} instead of {date}"},
    TrajectoryDateUncertain{"trajectory-date-uncertain", Doubt,
                            "the date of {count:fix|fixes} is uncertain: the date jumps between two dated sentences, "
                            "and the log pauses more than once there; the longest pause is taken"},
    FixesReordered{"fixes-reordered", Warning,
                   "{trajectory}: {count:fix|fixes} out of order by up to {seconds:.2f} s: put in order of time"},
    FixesSimulated{"fixes-simulated", Doubt,
                   "{count:fix|fixes} of quality 8: written by a simulator, not measured by a receiver"},
    FixesEstimated{"fixes-estimated", Warning,
                   "{count:fix|fixes} of quality 6 or 7: estimated by dead reckoning or entered by hand"},
    FixesIncomplete{"fixes-incomplete", Warning, "{count:position sentence} left out, without a valid {what}"},
    HeightsConverted{"heights-converted", Warning, "{count:fix|fixes} with a height in feet: converted to metres"},
    TrajectoryGap{"trajectory-gap", Warning,
                  "{trajectory}: gap of {seconds:.1f} s from {from} at {latitude:.7f}, {longitude:.7f}"},
    TrajectoryGapsMore{"trajectory-gaps-more", Warning, "{trajectory}: {count:more gap}"},
    TrajectoryRunsBack{"trajectory-runs-back", Doubt, "{trajectory}: the time runs back {count:time}: {reason}"},
    TrajectoryCrossesMeridian{"trajectory-crosses-meridian", Warning,
                              "{trajectory}: crosses the 180th meridian: {effect}"},
    TrajectoryChosen{"trajectory-chosen", Note, "{used} gives the places; {other} is compared with it"},
    TrajectoriesCompared{"trajectories-compared", Note,
                         "{other} and {used}, {compared:place}: 95 % within {horizontal:.2f} m, heights within "
                         "{vertical:.2f} m"},
    TrajectoriesDiffer{"trajectories-differ", Doubt,
                       "{other} and {used} are up to {horizontal:.2f} m apart, heights {vertical:.2f} m (95 % of "
                       "{compared:place}), which no receiver explains: {cause}"},
    TrajectoriesApartInTime{"trajectories-apart-in-time", Doubt,
                            "{used} is from {from} to {to}, but {other} from {otherFrom} to {otherTo}: they have no "
                            "time in common and are not compared"},
    FixesContradict{"fixes-contradict", Doubt,
                    "{count:position sentence} more than 50 m from another one of the same time: the log of two "
                    "receivers, such as a base and a rover?"},
    SeparationsZero{"separations-zero", Warning,
                    "every geoid separation is 0: unless that is so there, heights are above the geoid, not the "
                    "ellipsoid"},
    FixesOutlying{"fixes-outlying", Warning,
                  "{trajectory}: {count:fix|fixes} impossibly far from those before and after, the first after {from}: "
                  "nothing is placed beside them"},
    TrajectoryJumps{"trajectory-jumps", Doubt,
                    "{trajectory}: {count:jump} faster than anything flies, the first at {from}: one side of each is "
                    "wrong"},
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
                      "trajectory: {count:single sample} out of the order of time: left out"},
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
    PosTimeSystemAssumed{"pos-time-system-assumed", Doubt,
                         "POS file: {count:sample} with a date and time of day, but no header that names the time "
                         "system: taken for GPS time, which is 18 s ahead of UTC since 2017"},
    PosDatumOther{"pos-datum-other", Doubt, "POS file: the header names the datum {datum}: taken for WGS 84"},
    PosHeightsAboveGeoid{"pos-heights-above-geoid", Warning,
                         "POS file: heights are above a geoid that the header does not name: made ellipsoidal by the "
                         "grid {grid}; another geoid can differ by a metre"},
    PosWithoutSamples{"pos-without-samples", Warning, "POS file: no sample: {reason}"},
    PosEndsEarly{"pos-ends-early", Warning,
                 "POS file: line {line} cannot be transformed: {reason} The {points:sample} before it are kept, "
                 "{lost:sample} left "
                 "out"},
    TrackPointsLeftOut{"track-points-left-out", Warning, "GPX track: {count:point} left out, without {what}"},
    TrackWithoutPoints{"track-without-points", Warning, "GPX track: no usable point: {reason}"},
    TrackHeightsUnknown{
        "track-heights-unknown", Doubt,
        "{file}: {count:elevation} without the geoid's height: GPX does not say what they are above, and most programs "
        "write heights above the geoid; taken for ellipsoidal, which may be wrong by up to 100 m; give the receiver's "
        "log or a POS file as well"},
    GridOnOtherEllipsoid{"grid-on-other-ellipsoid", Doubt,
                         "the geoid grid {grid} is applied above the ellipsoid of {system}, which is not GRS80 or WGS "
                         "84: heights may be "
                         "wrong by tens of metres, and places by more; take a target on ETRS89 or the like"};

inline constexpr FindingKind  // Exposures and photos
    ExposuresInGaps{"exposures-in-gaps", Warning,
                    "{count:camera event} inside trajectory gaps or across the 180th meridian: dropped"},
    AttitudesTaken{"attitudes-taken", Note, "attitude of {count} of {exposures:exposure} from the {source}"},
    HeadingsFromTrack{"headings-from-track", Warning,
                      "{count:exposure} without attitude: heading from the direction of motion, roll and pitch taken "
                      "to be 0"},
    ExposuresWithoutAttitude{"exposures-without-attitude", Warning,
                             "camera {camera}: {count:exposure} without attitude to turn the lever arm by: dropped; "
                             "--heading-from-track takes the direction of motion"},
    RtkLost{"rtk-lost", Warning,
            "RTK was lost from {from} to {to}: {count:photo} of quality {quality} instead of FIXED"},
    RtkLostMore{"rtk-lost-more", Warning, "RTK was lost in {count:more stretch|more stretches}, with {photos:photo}"},
    PlacesCoarse{
        "places-coarse", Warning,
        "timestamps: {count} of {exposures:exposure} with a place good to metres only: {single} by single point "
        "positioning, standard deviations up to {metres:.2f} m"},
    TimestampOffsets{
        "timestamp-offsets", Warning,
        "timestamps: offsets from antenna to camera of up to {metres:.3f} m {effect}; the file does not tell "
        "whether its places hold them already: compare one with the antenna's and the camera's height"},
    PhotoFolderEmpty{"photo-folder-empty", Warning, "camera {camera}: no photo in {folder}{seen}"},
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
    PhotosShared{"photos-shared", Warning,
                 "camera {camera}: {count:photo serves|photos serve} more than one event, first {photo}"},
    PairingByOrderTimesDiffer{
        "pairing-by-order-times-differ", Doubt,
        "camera {camera}: paired by order, but the times of photo and event differ by up to {seconds:.3f} s"},
    PairingByOrderUnchecked{"pairing-by-order-unchecked", Warning,
                            "camera {camera}: no photo has a time, so pairs by order cannot be checked"},
    PairingByOrderNumbers{"pairing-by-order-numbers", Doubt,
                          "camera {camera}: as many photos as events, but {missing:number} missing before {photo}: a "
                          "photo is lost there and another too many, and pairs by order are shifted between them"},
    PairingByOrderShifted{"pairing-by-order-shifted", Doubt,
                          "camera {camera}: {moved} of {photos:photo} fit another event than their order gives them; "
                          "run again with --pair time"},
    ExposuresWithoutPhoto{"exposures-without-photo", Warning, "{count:exposure} without a photo: dropped"},
    PhotosWithoutExposure{"photos-without-exposure", Warning, "{count:photo} without an exposure, first {photo}"},
    PhotosBlurred{"photos-blurred", Warning,
                  "camera {camera}: {count:photo} far below the median sharpness, first {photo}"},
    PhotosUngraded{"photos-ungraded", Warning,
                   "camera {camera}: {count:photo} could not be graded, first {photo}: {reason}"},
    PhotosDamaged{
        "photos-damaged", Warning,
        "camera {camera}: {count:photo} damaged, so that the sharpness may be wrong, first {photo}: {reason}"},
    StationsOfOneCamera{
        "stations-of-one-camera", Warning,
        "{count:station} of two exposures of the same camera, first at {time}: is --tolerance larger than the camera's "
        "interval?"},
    StationsAllSingle{"stations-all-single", Warning,
                      "no exposures of the two cameras are less than {seconds} s apart: all stations are single; is "
                      "--tolerance right?"};

inline constexpr FindingKind  // Times of events
    EventsOutsideTrajectory{
        "events-outside-trajectory", Doubt,
        "{count} of {events:camera event}, {from} to {to}, lie outside the trajectory, {trajectoryFrom} to "
        "{trajectoryTo}: {advice}"},
    EventsMaybeInGpsTime{"events-maybe-in-gps-time", Warning,
                         "{count:camera event|camera events} after the last fix; {seconds} s earlier none would be: is "
                         "the event file in GPS time? then run again with --event-offset -{seconds}"};

inline constexpr FindingKind  // Camera clocks
    CameraClockOff{"camera-clock-off", Doubt,
                   "camera {camera}: {moved} of {photos:photo} fit the events better with {offset:+.2f} s (sigma "
                   "{sigma:.3f} s, drift {driftPpm:+.0f} ppm) than with the {used:+.2f} s in use; run again with "
                   "--cam{camera}-offset {offset:.2f} or --cam{camera}-offset auto"},
    CameraClockChanges{
        "camera-clock-changes", Doubt,
        "camera {camera}: the clock was set anew during the mission; from photo {photo} on {offset:+.2f} "
        "s fit, not the {used:+.2f} s in use, and {moved} of {photos:photo} change; run again with "
        "--cam{camera}-offset auto"},
    CameraClockAmbiguous{"camera-clock-ambiguous", Warning,
                         "camera {camera}: other offsets fit as well as the {used:+.2f} s in use: {candidates} s; one "
                         "photo whose event is known would tell"},
    CameraClockContradicted{
        "camera-clock-contradicted", Doubt,
        "camera {camera}: the {used:+.2f} s in use do not fit; offsets that do: {candidates} s; give "
        "one with --cam{camera}-offset"},
    CameraClockNotFound{"camera-clock-not-found", Doubt,
                        "camera {camera}: the times do not tell the clock; offsets that fit: {candidates} s; give one "
                        "with --cam{camera}-offset"},
    CameraClockUnchecked{
        "camera-clock-unchecked", Warning,
        "camera {camera}: {photos:photo} and {events:event} are too few to check the clock; an offset of "
        "{used} s is taken to be right"},
    CameraClockPartlyCertain{
        "camera-clock-partly-certain", Warning,
        "camera {camera}: the clock is certain for {paired} of {photos:photo} only; the others stay "
        "without an event"},
    CameraClockDaysOff{
        "camera-clock-days-off", Doubt,
        "camera {camera}: the clock found is off by more than half a day: {offset:+.2f} s; are these photos "
        "of another day? if not, give the offset with --cam{camera}-offset"},
    PhotosOfOtherEvents{
        "photos-of-other-events", Doubt,
        "camera {camera}: the times of {photos:photo} and {events:event} do not fit together: photos of "
        "another mission?"},
    PairsUncertain{"pairs-uncertain", Warning,
                   "camera {camera}: {count:pair} of photo and event not certain, {photo} the least "
                   "(probability {probability:.2f})"},
    CamerasSwapped{"cameras-swapped", Doubt,
                   "{count} of {photos:photo} fit the events of the other camera, {own} their own: are the folders "
                   "swapped? exchange --cam1 and --cam2"},
    EventsInGpsTime{
        "events-in-gps-time", Doubt,
        "the photos of {count:camera} lag {seconds:.0f} s behind the events, as UTC does behind GPS time: if "
        "the event file is in GPS time, run again with --event-offset -{seconds:.0f}"};

inline constexpr FindingKind  // Output
    MostExposuresDropped{"most-exposures-dropped", Doubt, "{count} of {exposures:exposure} are dropped"},
    PhotoLayerWithheld{"photo-layer-withheld", Warning,
                       "results are in doubt: the photo layer is not made; --accept-doubt makes it"},
    LayerWritten{"layer-written", Note, "writing {layer}, {records:record}"},
    PhotoNamesUnfit{"photo-names-unfit", Warning,
                    "{file}: {count:photo name} with characters that the format cannot hold, first {photo}: left out"},
    AnglesOfSensor{"angles-of-sensor", Warning,
                   "the angles written for {count:photo} are the sensor's: they hold for a camera only if it looks "
                   "straight down with the top of its pictures forward"},
    PhotoPathsCut{"photo-paths-cut", Warning,
                  "{count:photo path does|photo paths do} not fit PhotoPath of the Shapefile (254 characters of "
                  "Windows-1252) and will be cut or misspelt, first {photo}; the GeoPackage holds every path in UTF-8"};

inline constexpr FindingKind  // Geotags
    PhotoNotTagged{"photo-not-tagged", Failure, "{photo}: not tagged: {reason}"};

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
