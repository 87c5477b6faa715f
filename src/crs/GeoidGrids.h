#pragma once

#include <ogr_spatialref.h>

#include <string>
#include <string_view>

#include "crs/GeodeticData.h"
#include "platform/TextStream.h"

/// Geoid grids of orthometric heights. A vertical datum names its grid in GDAL's extension PROJ4_GRIDS; a lookup file
/// lists grids for datums that do not.
namespace kv {

/// The key of a compound system's heights in the lookup file: the part of its name after the first "+", without a final
/// part in parentheses. Empty for a system without a name.
std::string LookupKey(const OGRSpatialReference& system);

/// The key by which the heights of two systems are compared, and a system's grid is found before a transformation is
/// created. Unlike `LookupKey`, on purpose, it starts at the last "+" and keeps one long name whole; systems with such
/// names rely on both rules.
std::string ComparisonKey(const OGRSpatialReference& system);

/// Reads the lookup file line by line: `read` receives key and grid and returns whether to continue.
template <class Read>
void ForEachListedGrid(const std::wstring& dataRoot, Read read) {
  TextStream file(GeoidLookupFile(dataRoot));
  for (std::string_view line; file.ReadLine(line);) {
    const std::size_t comma = line.find(',');
    if (comma != std::string_view::npos && !read(line.substr(0, comma), line.substr(comma + 1))) return;
  }
}

/// The grid listed for a key, a file name below PROJ's folder; empty when none is listed.
std::string ListedGrid(const std::wstring& dataRoot, const std::string& key);

/// Whether the vertical datum names a grid.
bool NamesGrid(const OGRSpatialReference& system);

/// The first grid that the vertical datum names; only the first counts.
std::string FirstGrid(const OGRSpatialReference& system);

/// Whether a grid exists in PROJ's folder.
bool GridExists(std::string_view grid, const std::wstring& dataRoot);

/// Whether the first grid that the vertical datum names exists in PROJ's folder. An at-sign, which marks an optional
/// grid, stays in the name, on purpose: such a grid is not found, so heights never change silently.
bool NamedGridExists(const OGRSpatialReference& system, const std::wstring& dataRoot);

/// Makes the vertical datum name a grid. The name may contain a folder, separated by a backslash.
void NameGrid(const std::string& grid, OGRSpatialReference& system);

}  // namespace kv
