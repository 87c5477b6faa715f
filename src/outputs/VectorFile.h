#pragma once

#include <KVMission.h>
#include <gdal.h>
#include <ogr_srs_api.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "base/Job.h"
#include "crs/QuietErrors.h"
#include "outputs/MemoryFile.h"
#include "outputs/Schema.h"

namespace kv::mission {

using Options = std::vector<const char*>;  ///< "NAME=VALUE"

struct FreeSystem {
  void operator()(OGRSpatialReferenceH system) const { OSRRelease(system); }
};
/// A coordinate system whose data come with easting or longitude first.
using SystemPtr = std::unique_ptr<std::remove_pointer_t<OGRSpatialReferenceH>, FreeSystem>;
/// @param wkt  of a system that the strict class described, so that GDAL's data are set up
/// @throws Failure
SystemPtr SystemOf(const std::string& wkt);
/// WGS 84: degrees, heights in metres above the ellipsoid.
SystemPtr Wgs84();

/// A file that one of GDAL's vector drivers writes. Not for several threads at once.
class VectorFile {
 public:
  /// How a driver is used.
  struct Format {
    const char* driver;
    Options fileOptions = {}, layerOptions = {};
    bool inMemory = true;     ///< the driver does not tell when the disk is full: made in memory, then written
    bool hasTimes = true;     ///< else times are ISO 8601 texts
    bool hasAliases = false;  ///< else fields have their names alone
    bool hasFields = true;    ///< else the driver has fields of its own
  };

  /// @param staged  where it is written
  /// @param path    that it will have, for messages
  /// @throws Failure when it cannot be made
  VectorFile(const Format& format, std::filesystem::path staged, std::filesystem::path path);
  ~VectorFile();
  VectorFile(const VectorFile&) = delete;
  VectorFile& operator=(const VectorFile&) = delete;

  /// Writes a layer with a feature for each row.
  /// @param system  null for a table without places
  /// @param rows    has `size()` and `operator[]`
  /// @throws Failure when it cannot be written; (Stopped)
  template <class Row, class Rows>
  void Write(const VectorLayer<Row>& layer, OGRSpatialReferenceH system, const Rows& rows, Job& job) {
    const OpenLayer open(*this, layer, {layer.fields.begin(), layer.fields.end()}, system);
    Meter meter(job, "writing layers", "features");
    std::vector<Vertex> vertices;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      meter.Step(i, rows.size());
      if (i % 1024 == 0) job.ThrowIfStopped();
      const Row& row = rows[i];
      const FeaturePtr feature = open.NewFeature();
      for (std::size_t field = 0; field < layer.fields.size(); ++field)
        layer.fields[field].put(open.Slot(feature.get(), field), row);
      vertices.clear();
      if (layer.addVertices) layer.addVertices(row, vertices);
      if (layer.styleOf) OGR_F_SetStyleString(feature.get(), layer.styleOf(row).c_str());
      open.Add(feature.get(), vertices);
    }
    open.Finish();
  }

  /// @throws Failure when not everything could be written
  void Close();

 private:
  struct DestroyFeature {
    void operator()(OGRFeatureH feature) const { OGR_F_Destroy(feature); }
  };
  using FeaturePtr = std::unique_ptr<std::remove_pointer_t<OGRFeatureH>, DestroyFeature>;

  /// A layer that is being written.
  class OpenLayer {
   public:
    OpenLayer(VectorFile& file, const LayerDefinition& layer, const std::vector<FieldDefinition>& fields,
              OGRSpatialReferenceH system);

    FeaturePtr NewFeature() const {
      FeaturePtr feature(OGR_F_Create(definition_));
      file_.FailUnless(feature != nullptr);
      return feature;
    }
    FieldSlot Slot(OGRFeatureH feature, std::size_t field) const { return {feature, fieldNumbers_[field]}; }
    void Add(OGRFeatureH feature, const std::vector<Vertex>& vertices) const;
    void Finish() const;

   private:
    QuietErrors quiet_;
    VectorFile& file_;
    const char* name_;
    Shape shape_;
    std::vector<FieldDefinition> fields_;
    OGRLayerH layer_ = nullptr;
    OGRFeatureDefnH definition_ = nullptr;
    std::vector<int> fieldNumbers_;
  };

  void Execute(const std::string& statement);
  void StoreAliases(const char* layer, const std::vector<FieldDefinition>& fields);
  [[noreturn]] void Fail() const;
  void FailUnless(bool isGood) const {
    if (!isGood) Fail();
  }

  struct CloseDataset {
    void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
  };

  Format format_;
  std::filesystem::path staged_, path_;
  std::optional<MemoryFile> memory_;
  std::unique_ptr<std::remove_pointer_t<GDALDatasetH>, CloseDataset> dataset_;
  bool hasTransaction_ = false;
};

}  // namespace kv::mission
