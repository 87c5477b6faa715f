#include "outputs/MissionLayers.h"

#include <cpl_conv.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "base/Writing.h"
#include "georef/EventTypes.h"
#include "georef/FixQualities.h"
#include "outputs/MissionTables.h"
#include "outputs/QgisStyles.h"
#include "platform/FileNames.h"
#include "text/TextCase.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

using Count = std::int64_t;
using MaybeReal = std::optional<double>;
using MaybeCount = std::optional<Count>;

constexpr const char* kNoDate = "1980-01-06T00:00:00.000Z";
constexpr const char* kTime = "Time [UTC]";
constexpr const char* kLatitude = "Latitude [°]";
constexpr const char* kLongitude = "Longitude [°]";
constexpr const char* kEllipsoidal = "Height above the ellipsoid [m]";
constexpr const char* kGpsSeconds = "Adjusted GPS time [s]";
constexpr const char* kQuality = "Position quality";
constexpr const char* kHorizontal = "Horizontal accuracy, one axis [m, 1 sigma]";
constexpr const char* kVertical = "Vertical accuracy [m, 1 sigma]";
constexpr const char* kRoll = "Roll, right side down [°]";
constexpr const char* kPitch = "Pitch, nose up [°]";
constexpr const char* kHeading = "Heading, from true north [°]";

std::string TextOf(const CStringW& text) { return Utf8(std::wstring(text.GetString())); }

std::string QualityOf(PositionQuality quality) {
  return quality == PositionQuality::None ? "" : LowerCase(WordFor(quality));
}

/// The shortest decimal that is this number in single precision: 0.7, not 0.699999988.
double Widened(float value) {
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  double wide = std::numeric_limits<double>::quiet_NaN();
  std::from_chars(text.data(), end, wide);
  return wide;
}

MaybeCount SatellitesOf(const FixQuality& quality) {
  return quality.satellites > 0 ? MaybeCount(quality.satellites) : std::nullopt;
}

MaybeReal HdopOf(const FixQuality& quality) {
  return quality.hdop > 0 ? MaybeReal(Widened(quality.hdop)) : std::nullopt;
}

std::string SourceOf(AttitudeQuality quality) {
  constexpr std::array<const char*, kAttitudeQualities> kWords{"", "post-processed", "sensor", "track"};
  return kWords[static_cast<std::size_t>(quality)];
}

template <class Get>
MaybeReal AngleOf(const std::optional<Attitude>& attitude, Get get) {
  return attitude ? MaybeReal((*attitude).*get) : std::nullopt;
}

/// Roll and pitch of a heading that was taken from the track are not known.
template <class Get>
MaybeReal TiltOf(const Exposure& exposure, Get get) {
  return exposure.attitudeQuality == AttitudeQuality::Track ? std::nullopt : AngleOf(exposure.attitude, get);
}

const tagKVSystemEvent& EventOf(const PhotoRow& row) { return row.exposure->event; }

constexpr auto kPhotoFields = std::to_array<Field<PhotoRow>>({
    {"event", "Event", [](const PhotoRow& row) { return static_cast<Count>(row.number); }},
    {"photo", "Photo", [](const PhotoRow& row) { return row.name; }},
    {"camera", "Camera", [](const PhotoRow& row) { return Count{CameraOf(EventOf(row))}; }},
    {"time", "Exposure time [UTC]", [](const PhotoRow& row) { return row.exposure->time; }},
    {"gps_seconds", kGpsSeconds,
     [](const PhotoRow& row) { return row.exposure->time ? MaybeReal(EventOf(row).AdjGpsSec) : std::nullopt; }},
    {"master_tick", "Master clock [ticks]",
     [](const PhotoRow& row) {  // a drone's events have none
       return row.exposure->photoNumber ? std::nullopt : MaybeReal(EventOf(row).MasterTick);
     }},
    {"latitude", kLatitude, [](const PhotoRow& row) { return EventOf(row).Latitude; }},
    {"longitude", kLongitude, [](const PhotoRow& row) { return EventOf(row).Longitude; }},
    {"ellipsoidal_height", kEllipsoidal, [](const PhotoRow& row) { return EventOf(row).Altitude; }},
    {"time_difference", "Photo time minus event time [s]",
     [](const PhotoRow& row) { return row.exposure->photoDifferenceSeconds; }},
    {"pair_probability", "Probability that photo and event belong together",
     [](const PhotoRow& row) { return row.exposure->photoProbability; }},
    {"sharpness", "Sharpness (variance of the Laplacian)",
     [](const PhotoRow& row) { return row.exposure->blurred ? MaybeReal(EventOf(row).Sharpness) : std::nullopt; }},
    {"sharpness_percentile", "Sharpness, rank within the camera [%]",
     [](const PhotoRow& row) { return row.exposure->sharpnessRank; }},
    {"blurred", "Blurred", [](const PhotoRow& row) { return row.exposure->blurred; }},
    {"position_quality", kQuality, [](const PhotoRow& row) { return QualityOf(row.exposure->quality.quality); }},
    {"horizontal_accuracy", kHorizontal,
     [](const PhotoRow& row) { return Widened(row.exposure->quality.horizontalSigma); }},
    {"vertical_accuracy", kVertical, [](const PhotoRow& row) { return Widened(row.exposure->quality.verticalSigma); }},
    {"satellites", "Satellites", [](const PhotoRow& row) { return SatellitesOf(row.exposure->quality); }},
    {"hdop", "HDOP", [](const PhotoRow& row) { return HdopOf(row.exposure->quality); }},
    {"roll", kRoll, [](const PhotoRow& row) { return TiltOf(*row.exposure, &Attitude::roll); }},
    {"pitch", kPitch, [](const PhotoRow& row) { return TiltOf(*row.exposure, &Attitude::pitch); }},
    {"heading", kHeading, [](const PhotoRow& row) { return AngleOf(row.exposure->attitude, &Attitude::heading); }},
    {"attitude_source", "Source of the attitude",
     [](const PhotoRow& row) { return SourceOf(row.exposure->attitudeQuality); }},
    {"photo_relative", "Photo, relative to the folder of this file", [](const PhotoRow& row) { return row.relative; }},
    {"photo_path", "Photo, absolute", [](const PhotoRow& row) { return row.absolute; }},
    // Those above are the layer of photos; these are added for what is not in it.
    {"reason_code", "Code of the reason",
     [](const PhotoRow& row) { return row.exposure->drop ? std::string(CodeOf(row.exposure->drop->code)) : ""; }},
    {"reason", "Why it is not in the photo layer",
     [](const PhotoRow& row) { return row.exposure->drop ? TextOf(*row.exposure->drop) : ""; }},
});
constexpr std::size_t kReasonFields = 2;

void AddPhotoVertex(const PhotoRow& row, std::vector<Vertex>& vertices) {
  vertices.push_back({EventOf(row).Longitude, EventOf(row).Latitude, EventOf(row).Altitude});
}

const VectorLayer<PhotoRow> kPhotoLayer{
    {"photos", "Photos", "Exposures with a photo and a place, one point each", Shape::Point},
    std::span(kPhotoFields).first(kPhotoFields.size() - kReasonFields),
    AddPhotoVertex};
const VectorLayer<PhotoRow> kDroppedLayer{
    {"dropped", "Dropped exposures", "Exposures with a place that are not in the photo layer, and why", Shape::Point},
    kPhotoFields,
    AddPhotoVertex};

constexpr auto kStationFields = std::to_array<Field<StationRow>>({
    {"time", kTime, [](const StationRow& row) { return FromFileTime(row.station->TimeUTC); }},
    {"latitude", kLatitude, [](const StationRow& row) { return row.station->Latitude; }},
    {"longitude", kLongitude, [](const StationRow& row) { return row.station->Longitude; }},
    {"ellipsoidal_height", kEllipsoidal, [](const StationRow& row) { return row.station->Altitude; }},
    {"exposures", "Exposures", [](const StationRow& row) { return Count{row.IsPair() ? 2 : 1}; }},
    {"time_difference", "Second exposure minus first [s]",
     [](const StationRow& row) {
       const auto time = [](const tagKVSystemEvent& event) { return FromFileTime(event.TimeUTC); };
       return row.IsPair() ? MaybeReal(Seconds(time(row.station->Cam2Event) - time(row.station->Cam1Event)))
                           : std::nullopt;
     }},
    {"photo1", "Photo of camera 1", [](const StationRow& row) { return row.photos[0].name; }},
    {"photo2", "Photo of camera 2", [](const StationRow& row) { return row.photos[1].name; }},
    {"photo1_relative", "Photo of camera 1, relative to the folder of this file",
     [](const StationRow& row) { return row.photos[0].relative; }},
    {"photo2_relative", "Photo of camera 2, relative to the folder of this file",
     [](const StationRow& row) { return row.photos[1].relative; }},
});
const VectorLayer<StationRow> kStationLayer{
    {"stations", "Exposure stations", "Exposures of the two cameras that belong together", Shape::Point},
    kStationFields,
    [](const StationRow& row, std::vector<Vertex>& vertices) {
      vertices.push_back({row.station->Longitude, row.station->Latitude, row.station->Altitude});
    }};

Vertex VertexOf(const tagKVTrajectoryObs& fix) { return {fix.Longitude, fix.Latitude, fix.Altitude}; }
Instant TimeOf(const tagKVTrajectoryObs& fix) { return FromFileTime(fix.TimeUTC); }

constexpr auto kStretchFields = std::to_array<Field<StretchRow>>({
    {"first", "First fix [UTC]", [](const StretchRow& row) { return TimeOf(row.fixes[0]); }},
    {"last", "Last fix [UTC]", [](const StretchRow& row) { return TimeOf(row.fixes[row.count - 1]); }},
    {"fixes", "Fixes", [](const StretchRow& row) { return static_cast<Count>(row.count); }},
    {"length", "Length in space [m]", [](const StretchRow& row) { return row.length; }},
});
const VectorLayer<StretchRow> kTrajectoryLayer{
    {"trajectory", "Trajectory", "A line for each stretch of fixes without a gap", Shape::Line},
    kStretchFields,
    [](const StretchRow& row, std::vector<Vertex>& vertices) {
      std::transform(row.fixes, row.fixes + row.count, std::back_inserter(vertices), VertexOf);
      if (row.count == 1) vertices.push_back(vertices.front());  // a line has two
    }};

const FixQuality& QualityOf(const FixRow& row) {
  static const FixQuality kUnknown;
  return row.quality ? *row.quality : kUnknown;
}
MaybeReal AngleOf(const FixRow& row, double Attitude::*angle) {
  return row.attitude ? MaybeReal(row.attitude->*angle) : std::nullopt;
}

constexpr auto kFixFields = std::to_array<Field<FixRow>>({
    {"fix", "Fix", [](const FixRow& row) { return static_cast<Count>(row.number); }},
    {"time", kTime, [](const FixRow& row) { return TimeOf(*row.fix); }},
    {"gps_seconds", kGpsSeconds, [](const FixRow& row) { return row.fix->AdjGpsSec; }},
    {"latitude", kLatitude, [](const FixRow& row) { return row.fix->Latitude; }},
    {"longitude", kLongitude, [](const FixRow& row) { return row.fix->Longitude; }},
    {"ellipsoidal_height", kEllipsoidal, [](const FixRow& row) { return row.fix->Altitude; }},
    {"height_above_geoid", "Height above the geoid of the source [m]",
     [](const FixRow& row) {
       const double separation = row.fix->GeoidOffst;  // 0 when the source has none
       return separation == 0 ? std::nullopt : MaybeReal(row.fix->Altitude - separation);
     }},
    {"position_quality", kQuality, [](const FixRow& row) { return QualityOf(QualityOf(row).quality); }},
    {"satellites", "Satellites", [](const FixRow& row) { return SatellitesOf(QualityOf(row)); }},
    {"hdop", "HDOP", [](const FixRow& row) { return HdopOf(QualityOf(row)); }},
    {"horizontal_accuracy", kHorizontal, [](const FixRow& row) { return Widened(QualityOf(row).horizontalSigma); }},
    {"vertical_accuracy", kVertical, [](const FixRow& row) { return Widened(QualityOf(row).verticalSigma); }},
    {"roll", kRoll, [](const FixRow& row) { return AngleOf(row, &Attitude::roll); }},
    {"pitch", kPitch, [](const FixRow& row) { return AngleOf(row, &Attitude::pitch); }},
    {"heading", kHeading, [](const FixRow& row) { return AngleOf(row, &Attitude::heading); }},
});
const VectorLayer<FixRow> kFixLayer{
    {"fixes", "Fixes", "Fixes of the trajectory", Shape::Point},
    kFixFields,
    [](const FixRow& row, std::vector<Vertex>& vertices) { vertices.push_back(VertexOf(*row.fix)); }};

constexpr auto kGapFields = std::to_array<Field<GapRow>>({
    {"kind", "Kind", [](const GapRow& row) { return std::string(row.kind); }},
    {"first", "Last fix before it [UTC]", [](const GapRow& row) { return row.gap->from; }},
    {"last", "First fix after it [UTC]", [](const GapRow& row) { return row.gap->to; }},
    {"seconds", "Duration [s]", [](const GapRow& row) { return Seconds(row.gap->to - row.gap->from); }},
});
const VectorLayer<GapRow> kGapLayer{{"gaps", "Gaps", "Pauses and jumps of the trajectory", Shape::Line},
                                    kGapFields,
                                    [](const GapRow& row, std::vector<Vertex>& vertices) {
                                      vertices.push_back(VertexOf(*row.from)), vertices.push_back(VertexOf(*row.to));
                                    }};

/// An entry of the housekeeping log.
struct EntryRow {
  const tagKVLogEvent* entry;
  KnownReadings known;
  std::string error;
};
class EntryRows {
 public:
  explicit EntryRows(const HousekeepingLog& log) : log_(log) {}
  std::size_t size() const { return log_.events.size(); }
  EntryRow operator[](std::size_t i) const {
    const bool isKnown = i < log_.known.size() && i < log_.errorTexts.size();
    return {&log_.events[i], isKnown ? log_.known[i] : KnownReadings{0}, isKnown ? log_.errorTexts[i] : ""};
  }

 private:
  const HousekeepingLog& log_;
};

template <std::size_t kReading>
struct Reading {
  MaybeReal operator()(const EntryRow& row) const {
    return row.known >> kReading & 1 ? MaybeReal(row.entry->*kHousekeepingReadings[kReading]) : std::nullopt;
  }
};

// Units are those of the log, which does not name them.
constexpr auto kEntryFields = std::to_array<Field<EntryRow>>({
    {"time", kTime,
     [](const EntryRow& row) {
       const SYSTEMTIME& time = row.entry->SystemTimeUTC;
       return FromFields(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
     }},
    {"type", "Type", [](const EntryRow& row) { return TextOf(row.entry->Type); }},
    {"text", "Text", [](const EntryRow& row) { return row.error.empty() ? TextOf(row.entry->Desc) : row.error; }},
    {"latitude", kLatitude, [](const EntryRow& row) { return row.entry->Latitude; }},
    {"longitude", kLongitude, [](const EntryRow& row) { return row.entry->Longitude; }},
    {"ellipsoidal_height", kEllipsoidal, [](const EntryRow& row) { return row.entry->Altitude; }},
    {"control_unit_temperature", "Control unit temperature", Reading<0>{}},
    {"battery_board_temperature", "Battery board temperature", Reading<1>{}},
    {"battery_temperature", "Battery temperature", Reading<2>{}},
    {"battery_voltage", "Battery voltage", Reading<3>{}},
    {"battery_current", "Battery current", Reading<4>{}},
    {"battery_charge", "Battery charge", Reading<5>{}},
    {"sensor_temperature", "Orientation sensor temperature", Reading<6>{}},
    {"sensor_pitch", "Orientation sensor pitch", Reading<7>{}},
    {"sensor_roll", "Orientation sensor roll", Reading<8>{}},
    {"sensor_heading", "Orientation sensor heading", Reading<9>{}},
});
const VectorLayer<EntryRow> kHousekeepingLayer{
    {"housekeeping", "Housekeeping", "Entries of the housekeeping log", Shape::Point},
    kEntryFields,
    [](const EntryRow& row, std::vector<Vertex>& vertices) {
      vertices.push_back({row.entry->Longitude, row.entry->Latitude, row.entry->Altitude});
    }};

constexpr auto kPosFields = std::to_array<Field<tagKVPosEvent>>({
    {"time", kTime, [](const tagKVPosEvent& sample) { return FromFileTime(sample.TimeUTC); }},
    {"gps_seconds", kGpsSeconds, [](const tagKVPosEvent& sample) { return sample.AdjGpsSec; }},
    {"latitude", kLatitude, [](const tagKVPosEvent& sample) { return sample.Latitude; }},
    {"longitude", kLongitude, [](const tagKVPosEvent& sample) { return sample.Longitude; }},
    {"ellipsoidal_height", kEllipsoidal, [](const tagKVPosEvent& sample) { return sample.Height; }},
    {"x", "Easting or longitude in the target system", [](const tagKVPosEvent& sample) { return sample.X; }},
    {"y", "Northing or latitude in the target system", [](const tagKVPosEvent& sample) { return sample.Y; }},
    {"z", "Height in the target system", [](const tagKVPosEvent& sample) { return sample.Z; }},
});
const VectorLayer<tagKVPosEvent> kPosLayer{
    {"pos", "POS samples", "Samples of the POS file in the target system", Shape::Point},
    kPosFields,
    [](const tagKVPosEvent& sample, std::vector<Vertex>& vertices) {
      vertices.push_back({sample.X, sample.Y, sample.Z});
    }};

constexpr auto kFindingFields = std::to_array<Field<Finding>>({
    {"severity", "Severity", [](const Finding& finding) { return std::string(WordFor(finding.severity)); }},
    {"code", "Code", [](const Finding& finding) { return finding.code; }},
    {"text", "Text", [](const Finding& finding) { return finding.text; }},
    {"camera", "Camera",
     [](const Finding& finding) {
       return finding.subject.camera > 0 ? MaybeCount(finding.subject.camera) : std::nullopt;
     }},
    {"photo", "Photo", [](const Finding& finding) { return finding.subject.photo; }},
    {"file", "File", [](const Finding& finding) { return Utf8(finding.subject.file); }},
    {"line", "Line",
     [](const Finding& finding) { return finding.subject.line > 0 ? MaybeCount(finding.subject.line) : std::nullopt; }},
});
const VectorLayer<Finding> kFindingLayer{{"findings", "Findings", "What the run has to tell", Shape::None},
                                         kFindingFields};

/// Puts layers into the files of a format.
class LayerFiles {
 public:
  LayerFiles(const VectorFormat& format, const OutputPaths& paths, Job& job)
      : format_(format), paths_(paths), job_(job) {
    if (format.fileName) Open(format.fileName);
  }

  template <class Row, class Rows>
  void Write(const VectorLayer<Row>& layer, OGRSpatialReferenceH system, const Rows& rows) {
    if (!layer.addVertices && !format_.takesTables) return;
    if (!format_.fileName) Open(FileFor(layer.name, format_));
    file_->Write(layer, layer.addVertices ? system : nullptr, rows, job_);
    written_.push_back(layer.name);
    if (!format_.fileName) file_->Close();
  }

  /// The names of the layers written so far.
  const std::vector<std::string>& Written() const { return written_; }

  void Close() {
    if (format_.fileName) file_->Close();
  }

 private:
  void Open(const std::string& name) {
    std::error_code error;
    const auto folder = (paths_.staging / name).parent_path();
    std::filesystem::create_directory(folder, error);
    if (error) FailWriting(folder, error);
    file_.emplace(format_.format, paths_.staging / name, paths_.folder / name);
  }

  const VectorFormat& format_;
  const OutputPaths& paths_;
  Job& job_;
  std::optional<VectorFile> file_;
  std::vector<std::string> written_;
};

std::vector<Finding> WithoutNotes(const std::vector<Finding>& findings) {
  std::vector<Finding> some;
  std::copy_if(findings.begin(), findings.end(), std::back_inserter(some),
               [](const Finding& finding) { return finding.severity != Severity::Note; });
  return some;
}

}  // namespace

const VectorFormat kGeoPackage{{.driver = "GPKG",
                                .layerOptions = {"GEOMETRY_NAME=geom", "ASPATIAL_VARIANT=GPKG_ATTRIBUTES"},
                                .inMemory = false,
                                .hasAliases = true},
                               "gpkg",
                               "mission.gpkg",
                               true,
                               true};
const VectorFormat kGeoJson{{.driver = "GeoJSON", .layerOptions = {"RFC7946=YES", "WRITE_NAME=NO"}, .hasTimes = false},
                            "geojson",
                            nullptr,
                            false};
const VectorFormat kFlatGeobuf{{.driver = "FlatGeobuf"}, "fgb", nullptr, false};
const VectorFormat kCsv{{.driver = "CSV", .layerOptions = {"LINEFORMAT=LF"}, .hasTimes = false}, "csv"};

std::string FileFor(const std::string& layer, const VectorFormat& format) {
  return fmt::format("{0}/{1}.{0}", format.extension, layer);
}

std::vector<FieldDefinition> FieldsOf(std::string_view layer) {
  std::vector<FieldDefinition> fields;
  const auto take = [&](const auto& candidate) {
    if (candidate.name == layer) fields.assign(candidate.fields.begin(), candidate.fields.end());
  };
  take(kPhotoLayer), take(kDroppedLayer), take(kStationLayer), take(kTrajectoryLayer), take(kFixLayer), take(kGapLayer);
  take(kHousekeepingLayer), take(kPosLayer), take(kFindingLayer);
  return fields;
}

void OutputPaths::Write(const std::filesystem::path& name, const std::string& content) const {
  WriteFile(staging / name, content, false, folder / name);
}

void WriteMissionLayers(const Mission& mission, const VectorFormat& format, const OutputPaths& paths, Job& job) {
  // The same mission gives the same bytes: GDAL's "last change" is the end of the trajectory.
  const std::string date = mission.trajectory ? IsoText(mission.trajectory->last) : kNoDate;
  const CPLConfigOptionSetter lastChange("OGR_CURRENT_DATE", date.c_str(), false);
  // A thread for the spatial index waits for SQLite most of the time: a third more processor time, no less on the clock.
  const CPLConfigOptionSetter oneThread("OGR_GPKG_ALLOW_THREADED_RTREE", "NO", false);
  LayerFiles files(format, paths, job);
  const SystemPtr wgs84 = Wgs84();
  const auto photos = [&](Exposures wanted) { return PhotoRows(mission, wanted, paths.folder); };
  if (mission.HasPhotoLayer()) files.Write(kPhotoLayer, wgs84.get(), photos(Exposures::InPhotoLayer));
  if (mission.events || mission.timestamps) files.Write(kDroppedLayer, wgs84.get(), photos(Exposures::Dropped));
  if (mission.stations) files.Write(kStationLayer, wgs84.get(), StationRows(mission, paths.folder));
  if (mission.trajectory) {
    files.Write(kTrajectoryLayer, wgs84.get(), StretchRows(*mission.trajectory));
    files.Write(kFixLayer, wgs84.get(), FixRows(*mission.trajectory));
    files.Write(kGapLayer, wgs84.get(), GapRows(*mission.trajectory));
  }
  if (mission.housekeeping) files.Write(kHousekeepingLayer, wgs84.get(), EntryRows(*mission.housekeeping));
  if (mission.pos) files.Write(kPosLayer, SystemOf(mission.pos->wkt).get(), mission.pos->samples);
  files.Write(kFindingLayer, nullptr, WithoutNotes(mission.findings));
  if (format.takesStyles) files.Write(kStyleLayer, nullptr, StyleRows(mission, files.Written()));
  files.Close();
}

}  // namespace kv::mission
