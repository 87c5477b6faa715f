#pragma once

#include <ogr_spatialref.h>

#include <string>
#include <string_view>

#include "crs/GeodeticData.h"
#include "platform/TextStream.h"

/// Geoid grids of orthometric heights: a vertical datum names its grid in GDAL's extension PROJ4_GRIDS, and a lookup
/// file has names for those that do not.
namespace kv {

/// The name by which the lookup file knows a compound system's heights: what follows the first "+" of its name, without
/// a last part in parentheses. Empty for a system without a name.
std::string LookupKey(const OGRSpatialReference& system);

/// The name by which the heights of two systems are compared, and by which a system's grid is found before a
/// transformation is made. Unlike `LookupKey`, on purpose, it starts at the last "+", and one name of many parts stays
/// whole; systems with such names rely on either.
std::string ComparisonKey(const OGRSpatialReference& system);

/// The lookup file line by line: `read` receives key and grid and says whether to go on.
template <class Read>
void ForEachListedGrid(const std::wstring& dataRoot, Read read) {
  TextStream file(GeoidLookupFile(dataRoot));
  for (std::string_view line; file.ReadLine(line);) {
    const std::size_t comma = line.find(',');
    if (comma != std::string_view::npos && !read(line.substr(0, comma), line.substr(comma + 1))) return;
  }
}

/// The grid that the lookup file has for a key, a file name below PROJ's folder; empty when it has none.
std::string ListedGrid(const std::wstring& dataRoot, const std::string& key);

/// Whether the vertical datum names a grid.
bool NamesGrid(const OGRSpatialReference& system);

/// The grid that the vertical datum names; of several the first, the only one that counts.
std::string FirstGrid(const OGRSpatialReference& system);

/// Whether a grid lies in PROJ's folder.
bool GridExists(std::string_view grid, const std::wstring& dataRoot);

/// Whether the first grid that the vertical datum names lies in PROJ's folder. A name with an at-sign, the mark of a
/// grid that may be missing, keeps it and so is not found, on purpose: heights must not change in silence.
bool NamedGridExists(const OGRSpatialReference& system, const std::wstring& dataRoot);

/// Makes the vertical datum name a grid; a folder in the name may be separated by a backslash.
void NameGrid(const std::string& grid, OGRSpatialReference& system);

}  // namespace kv
