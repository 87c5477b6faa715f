#include "outputs/VectorFile.h"

#include <KVUtilities.h>
#include <cpl_conv.h>
#include <cpl_error.h>
#include <fmt/format.h>

#include <chrono>
#include <cmath>
#include <mutex>
#include <utility>

#include "base/Writing.h"
#include "platform/FileNames.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kWgs84 = L"EPSG:4326";

/// Whether GDAL has a driver. Its registration of all drivers rewrites what other threads may be rewriting too, so it is
/// asked for only when the driver is not there yet.
bool HasDriver(const char* name) {
  static std::mutex oneAtATime;
  const std::lock_guard lock(oneAtATime);
  if (!GDALGetDriverByName(name)) GDALAllRegister();
  return GDALGetDriverByName(name) != nullptr;
}

/// With a null pointer at the end, as GDAL takes them.
char** Terminated(Options& options) {
  options.push_back(nullptr);
  return const_cast<char**>(options.data());
}

/// A path as GDAL takes it.
std::string GdalName(const fs::path& path) {
  const auto name = path.u8string();
  return {name.begin(), name.end()};
}

OGRFieldType TypeFor(FieldType type, bool hasTimes) {
  switch (type) {
    case FieldType::Integer:
    case FieldType::Logical:
      return OFTInteger;
    case FieldType::Real:
      return OFTReal;
    case FieldType::Time:
      return hasTimes ? OFTDateTime : OFTString;
    case FieldType::Text:
      break;
  }
  return OFTString;
}

OGRwkbGeometryType TypeFor(Shape shape) {
  return shape == Shape::None ? wkbNone : shape == Shape::Point ? wkbPoint25D : wkbLineString25D;
}

OGRGeometryH GeometryOf(Shape shape, const std::vector<Vertex>& vertices) {
  const OGRGeometryH geometry = OGR_G_CreateGeometry(shape == Shape::Point ? wkbPoint : wkbLineString);
  if (shape == Shape::Line) OGR_G_SetPointCount(geometry, static_cast<int>(vertices.size()));
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    const auto& [x, y, z] = vertices[i];
    std::isnan(z) ? OGR_G_SetPoint_2D(geometry, static_cast<int>(i), x, y)
                  : OGR_G_SetPoint(geometry, static_cast<int>(i), x, y, z);
  }
  return geometry;
}

}  // namespace

void FieldSlot::Put(double value) {
  std::isnan(value) ? OGR_F_SetFieldNull(feature_, field_) : OGR_F_SetFieldDouble(feature_, field_, value);
}

void FieldSlot::Put(const std::string& value) {
  value.empty() ? OGR_F_SetFieldNull(feature_, field_) : OGR_F_SetFieldString(feature_, field_, value.c_str());
}

void FieldSlot::Put(KVMission::Instant value) {
  constexpr int kUtc = 100;
  if (OGR_Fld_GetType(OGR_F_GetFieldDefnRef(feature_, field_)) == OFTString) return Put(IsoText(value));
  const SYSTEMTIME time = ToSystemTime(value);
  const float seconds = static_cast<float>(time.wSecond) + static_cast<float>(time.wMilliseconds) / 1000;
  OGR_F_SetFieldDateTimeEx(feature_, field_, time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, seconds,
                           kUtc);
}

SystemPtr SystemOf(const std::string& wkt) {
  const QuietErrors quiet;
  SystemPtr system(OSRNewSpatialReference(wkt.c_str()));
  if (!system) throw Failure("a coordinate system cannot be used in layers");
  OSRSetAxisMappingStrategy(system.get(), OAMS_TRADITIONAL_GIS_ORDER);
  return system;
}

SystemPtr Wgs84() {
  std::wstring error;
  const auto system = KVUtilities::DescribeCoordinateSystem(kWgs84, error);
  if (!error.empty()) throw Failure(Utf8(error));
  return SystemOf(Utf8(std::wstring(system.Wkt.GetString())));
}

VectorFile::VectorFile(const Format& format, fs::path staged, fs::path path)
    : format_(format), staged_(std::move(staged)), path_(std::move(path)) {
  if (format_.inMemory) memory_.emplace(Utf8(staged_.extension()));  // the driver asks for it
  const std::string name = memory_ ? memory_->Name() : GdalName(staged_);
  const QuietErrors quiet;
  if (!HasDriver(format_.driver))
    throw Failure(fmt::format("{}: the installed GDAL has no driver {}", Utf8(path_.filename()), format_.driver));
  Options options = format_.fileOptions;
  CPLErrorReset();
  dataset_.reset(
      GDALCreate(GDALGetDriverByName(format_.driver), name.c_str(), 0, 0, 0, GDT_Unknown, Terminated(options)));
  FailUnless(dataset_ != nullptr);
  // One for the file: SQLite makes and removes a journal for each.
  hasTransaction_ = GDALDatasetTestCapability(dataset_.get(), ODsCTransactions);
  if (hasTransaction_) FailUnless(GDALDatasetStartTransaction(dataset_.get(), false) == OGRERR_NONE);
}

VectorFile::~VectorFile() {
  const QuietErrors quiet;
  dataset_.reset();
}

void VectorFile::Close() {
  const QuietErrors quiet;
  CPLErrorReset();
  if (hasTransaction_) FailUnless(GDALDatasetCommitTransaction(dataset_.get()) == OGRERR_NONE);
  dataset_.reset();
  FailUnless(CPLGetLastErrorType() < CE_Failure);
  if (memory_) WriteFile(staged_, memory_->Content(), false, path_);
}

void VectorFile::Fail() const {
  std::string reason = CPLGetLastErrorMsg();
  constexpr std::string_view kAfterStatement = "failed: ";  // SQLite's messages begin with the statement
  if (const auto at = reason.rfind(kAfterStatement); at != reason.npos) reason.erase(0, at + kAfterStatement.size());
  throw Failure(fmt::format("{}: cannot be written{}{}", Utf8(path_), reason.empty() ? "" : ": ", reason));
}

void VectorFile::Execute(const std::string& statement) {
  CPLErrorReset();
  GDALDatasetReleaseResultSet(dataset_.get(),
                              GDALDatasetExecuteSQL(dataset_.get(), statement.c_str(), nullptr, nullptr));
  FailUnless(CPLGetLastErrorType() < CE_Failure);
}

/// As the schema extension of GeoPackage has it; versions of GDAL differ in whether they do this.
void VectorFile::StoreAliases(const char* layer, const std::vector<FieldDefinition>& fields) {
  Execute(
      "CREATE TABLE IF NOT EXISTS gpkg_data_columns (table_name TEXT NOT NULL, column_name TEXT NOT NULL, name TEXT, "
      "title TEXT, description TEXT, mime_type TEXT, constraint_name TEXT, PRIMARY KEY (table_name, column_name), "
      "UNIQUE (table_name, name))");
  Execute(
      "CREATE TABLE IF NOT EXISTS gpkg_data_column_constraints (constraint_name TEXT NOT NULL, constraint_type TEXT "
      "NOT "
      "NULL, value TEXT, min NUMERIC, min_is_inclusive BOOLEAN, max NUMERIC, max_is_inclusive BOOLEAN, description "
      "TEXT, "
      "UNIQUE (constraint_name, constraint_type, value))");
  for (const char* table : {"gpkg_data_columns", "gpkg_data_column_constraints"})
    Execute(
        fmt::format("INSERT INTO gpkg_extensions SELECT '{0}', NULL, 'gpkg_schema', "
                    "'http://www.geopackage.org/spec121/#extension_schema', 'read-write' WHERE NOT EXISTS "
                    "(SELECT 1 FROM gpkg_extensions WHERE table_name = '{0}')",
                    table));
  for (const FieldDefinition& field : fields)
    Execute(
        fmt::format("INSERT OR REPLACE INTO gpkg_data_columns (table_name, column_name, name, title) VALUES "
                    "('{}', '{}', '{}', '{}')",
                    layer, field.name, field.alias, field.alias));
}

VectorFile::OpenLayer::OpenLayer(VectorFile& file, const LayerDefinition& layer,
                                 const std::vector<FieldDefinition>& fields, OGRSpatialReferenceH system)
    : file_(file), name_(layer.name), shape_(layer.shape), fields_(fields) {
  CPLErrorReset();
  const Format& format = file.format_;
  const std::string identifier = fmt::format("IDENTIFIER={}", layer.title);
  const std::string description = fmt::format("DESCRIPTION={}", layer.description);
  Options options = format.layerOptions;
  if (format.hasAliases) options.insert(options.end(), {identifier.c_str(), description.c_str()});
  layer_ = GDALDatasetCreateLayer(file.dataset_.get(), layer.name, system, TypeFor(layer.shape), Terminated(options));
  file.FailUnless(layer_ != nullptr);
  definition_ = OGR_L_GetLayerDefn(layer_);
  for (const FieldDefinition& field : fields) {
    if (format.hasFields) {
      const OGRFieldDefnH definition = OGR_Fld_Create(field.name, TypeFor(field.type, format.hasTimes));
      if (field.type == FieldType::Logical) OGR_Fld_SetSubType(definition, OFSTBoolean);
      if (format.hasAliases) OGR_Fld_SetAlternativeName(definition, field.alias);
      const bool isMade = OGR_L_CreateField(layer_, definition, false) == OGRERR_NONE;
      OGR_Fld_Destroy(definition);
      file.FailUnless(isMade);
    }
    fieldNumbers_.push_back(OGR_FD_GetFieldIndex(definition_, field.name));
    file.FailUnless(fieldNumbers_.back() >= 0);
  }
}

void VectorFile::OpenLayer::Add(OGRFeatureH feature, const std::vector<Vertex>& vertices) const {
  if (shape_ != Shape::None && !vertices.empty()) OGR_F_SetGeometryDirectly(feature, GeometryOf(shape_, vertices));
  // Fields and geometries do not return their errors: memory may have been short.
  file_.FailUnless(OGR_L_CreateFeature(layer_, feature) == OGRERR_NONE && CPLGetLastErrorType() < CE_Failure);
}

void VectorFile::OpenLayer::Finish() const {
  if (file_.format_.hasAliases) file_.StoreAliases(name_, fields_);
}

}  // namespace kv::mission
