#pragma once

#include <string>

/// Where the data of GDAL and PROJ lie, see docs/geodetic-data.md. Paths are written with backslashes; the functions
/// that hand them to a system, GDAL or PROJ give them the system's own separators.
namespace kv {

/// The folder that holds "gdal-data" and "share\proj", with a backslash at its end; empty when none is known.
std::wstring GeodeticDataRoot();

/// Folder of PROJ's database and of the geoid grids.
std::wstring ProjFolder(const std::wstring& dataRoot);

/// The file that names a grid for each vertical system.
std::wstring GeoidLookupFile(const std::wstring& dataRoot);

/// A path as GDAL and PROJ take it, UTF-8.
std::string GeodeticPath(const std::wstring& path);

/// Registers GDAL's drivers, gives GDAL its folders and options, and makes a folder the only one where PROJ, also below
/// GDAL, looks for data. All of it holds for the whole process; one thread at a time does it.
/// @return the folder of PROJ
std::string SetUpGeodeticData(const std::wstring& dataRoot);

}  // namespace kv
