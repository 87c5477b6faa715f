#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "mission/Layers.h"
#include "mission/Pairing.h"
#include "mission/PosPoints.h"
#include "mission/PositionDifferences.h"
#include "mission/Settings.h"
#include "mission/Sharpness.h"
#include "mission/Stations.h"
#include "mission/inputs/ApplanixExport.h"
#include "mission/inputs/OrientationFile.h"
#include "mission/inputs/Readings.h"
#include "mission/inputs/TimestampFile.h"
#include "mission/inputs/Trajectory.h"

namespace kv::mission {

/// A camera event that is not in the photo layer, and why.
struct Drop {
  int camera;
  std::optional<double> tick;               ///< of the master clock
  std::optional<std::int32_t> photoNumber;  ///< of a drone's exposure
  std::optional<Instant> time;
  std::string reason;
};

struct EventSummary {
  std::size_t lines = 0, wraps = 0;
  std::size_t skipped = 0, faultyHeartbeats = 0, wildTicks = 0, offHeartbeats = 0;  ///< lines left out
  bool timesDoubtful = false;
  std::size_t heartbeats = 0, heartbeatsPlaced = 0;
  TimeSpan span;  ///< of the events that have a time

  std::size_t LinesLeftOut() const { return skipped + faultyHeartbeats + wildTicks + offHeartbeats; }
};

struct LogSummary {
  std::size_t lines = 0, skipped = 0, faultyDates = 0;
  std::optional<std::size_t> cutAtLine;  ///< from 1
  std::size_t entries = 0, dropped = 0;
  TimeSpan span;  ///< of the entries that have a time
  std::vector<std::string> errors;
  std::vector<ReadingRange> readings;
};

struct CameraSummary {
  int camera = 0;
  std::size_t read = 0, placed = 0, dropped = 0;  ///< events
  std::optional<PhotoFolder> folder;
  double offset = 0;  ///< seconds
  Pairing pairing;
  std::optional<SharpnessSummary> sharpness;  ///< when the photos were graded
};

/// What a run read, made and left out.
struct Summary {
  std::optional<std::filesystem::path> mission;
  std::filesystem::path output;
  Settings inputs;
  Trajectory trajectory;  ///< when there is one; its observations may be gone
  std::optional<LogSummary> log;
  std::optional<DroneTimestamps> timestamps;  ///< its events may be gone
  std::optional<OrientationFile> orientation;
  std::optional<ApplanixFile> applanix;  ///< its samples may be gone
  std::optional<PosSummary> pos;
  std::optional<PositionDifferences> positions;  ///< of a drone's exposures
  std::optional<EventSummary> events;
  std::vector<CameraSummary> cameras;  ///< those with events or photos
  std::vector<Drop> drops;             ///< in file order
  std::optional<StationSummary> stations;
  Bounds photoBounds;
  TimeSpan photoSpan;
  std::vector<Layer> layers;
  std::vector<std::string> warnings;

  /// No event, log entry or POS sample was dropped and no photo left ungraded; no line of the event, timestamp,
  /// orientation or POS file and no row of the export was left out, and what there is to compare was compared; the log was read to its end; the events' times are
  /// beyond doubt, and every orientation reading has one; every event and photo has its partner.
  bool IsComplete() const;
};

/// For people: lists are cut short, with a count.
std::string SummaryText(const Summary& summary);

/// For programs: everything, in valid UTF-8 whatever the file names are.
std::string SummaryJson(const Summary& summary);

}  // namespace kv::mission
