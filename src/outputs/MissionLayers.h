#pragma once

#include <KVMission.h>

#include <filesystem>

#include "base/Job.h"
#include "outputs/VectorFile.h"

/// The layers of a mission for people, in the formats of vector data: docs/formats/geopackage.md.
namespace kv::mission {

inline constexpr const char* kVectorLayers[] = {"photos", "dropped",      "stations", "trajectory", "fixes",
                                                "gaps",   "housekeeping", "pos",      "findings"};

struct VectorFormat {
  VectorFile::Format format;
  const char* extension;           ///< ".gpkg"
  const char* fileName = nullptr;  ///< of one file for all layers; null for a file for each, of the layer's name
  bool takesTables = true;         ///< also layers without places
  bool takesStyles = false;        ///< for QGIS, as a table
};
extern const VectorFormat kGeoPackage, kGeoJson, kFlatGeobuf, kCsv;

/// Where files are written, and where they will be.
struct OutputPaths {
  std::filesystem::path staging, folder;

  /// @throws Failure with the name that the file would have had
  void Write(const std::filesystem::path& name, const std::string& content) const;
};

/// Writes every layer that the mission gives. @throws Failure
void WriteMissionLayers(const Mission& mission, const VectorFormat& format, const OutputPaths& paths, Job& job);

}  // namespace kv::mission
