#pragma once

#include <string>

/// Location of the data of GDAL and PROJ. See docs/geodetic-data.md. Paths use backslashes; functions that pass them to
/// the system, GDAL or PROJ convert the separators.
namespace kv {

/// The folder that holds "gdal-data" and "share\proj", with a backslash at its end; empty when none is known.
std::wstring GeodeticDataRoot();

/// Folder of PROJ's database and of the geoid grids.
std::wstring ProjFolder(const std::wstring& dataRoot);

/// The file that lists a grid for each vertical system.
std::wstring GeoidLookupFile(const std::wstring& dataRoot);

/// A path in the form that GDAL and PROJ expect, in UTF-8.
std::string GeodeticPath(const std::wstring& path);

/// Registers GDAL's drivers, sets GDAL's folders and options, and restricts PROJ, also inside GDAL, to one data folder.
/// The settings hold for the whole process. Thread-safe.
/// @return the folder of PROJ
std::string SetUpGeodeticData(const std::wstring& dataRoot);

/// "9.1.1". Thread-safe, unlike PROJ's own report, which rewrites one buffer for all threads.
std::string ProjVersion();

}  // namespace kv
