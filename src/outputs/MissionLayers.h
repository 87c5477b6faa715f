#pragma once

#include <KVMission.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/Job.h"
#include "outputs/VectorFile.h"

/// The layers of a mission for people, in the formats of vector data: docs/formats/geopackage.md.
namespace kv::mission {

inline constexpr const char* kVectorLayers[] = {"photos", "dropped",      "stations", "trajectory", "fixes",
                                                "gaps",   "housekeeping", "pos",      "findings"};

struct VectorFormat {
  VectorFile::Format format;
  const char* extension;           ///< "gpkg"
  const char* fileName = nullptr;  ///< of one file for all layers; null for a folder with a file for each, as extension
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

/// The file of a layer in a format that has one for each: "csv/photos.csv".
std::string FileFor(const std::string& layer, const VectorFormat& format);

/// The fields of a layer; none for an unknown name.
std::vector<FieldDefinition> FieldsOf(std::string_view layer);

/// Writes every layer that the mission gives. @throws Failure
void WriteMissionLayers(const Mission& mission, const VectorFormat& format, const OutputPaths& paths, Job& job);

}  // namespace kv::mission
