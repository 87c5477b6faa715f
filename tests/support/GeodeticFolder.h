#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "support/Environment.h"
#include "support/TempFolder.h"

/// Geodetic data for one test: the build's data with a lookup file and grids written here. GDAL caches grids by name
/// for the whole process, so use a new name for every content.
class GeodeticFolder {
 public:
  explicit GeodeticFolder(std::string_view lookup) {
    namespace fs = std::filesystem;
    const fs::path bundle = GEODETIC_DATA_FOLDER;
    fs::create_directories(folder_.Path() / kProj);
    Take(bundle / "gdal-data", folder_.Path() / "Norvane" / "gdal-data");
    for (const char* name : {"proj.db", "proj.ini", "egm96_15.gtx"}) {
      Take(bundle / "share" / "proj" / name, folder_.Path() / kProj / name);
    }
    Write("GeoidFilesLookupGtx.txt", lookup);
  }

  /// The path of a file beside the grids.
  std::wstring Path(const std::wstring& name) const { return folder_.Wide(kProj) + L"/" + name; }

  void Write(const std::string& name, std::string_view content) const { folder_.Write(kProj + ("/" + name), content); }

  /// Writes a geoid of constant height above the ellipsoid, from 48 to 49 degrees north and 15 to 16 degrees east.
  void WriteGrid(const std::string& name, float metres) const {
    constexpr std::int32_t kRows = 11, kColumns = 11;
    std::string grid;
    for (const double value : {48.0, 15.0, 0.1, 0.1}) AppendBigEndian(std::bit_cast<std::uint64_t>(value), grid);
    for (const std::int32_t count : {kRows, kColumns}) AppendBigEndian(static_cast<std::uint32_t>(count), grid);
    for (int i = 0; i < kRows * kColumns; ++i) AppendBigEndian(std::bit_cast<std::uint32_t>(metres), grid);
    Write(name, grid);
  }

 private:
  static constexpr const char* kProj = "Norvane/share/proj";

  /// Links are a privilege on Windows.
  static void Take(const std::filesystem::path& from, const std::filesystem::path& to) {
#if defined(_WIN32)
    std::filesystem::copy(from, to, std::filesystem::copy_options::recursive);
#else
    std::filesystem::create_symlink(from, to);
#endif
  }

  template <class Bits>
  static void AppendBigEndian(Bits bits, std::string& text) {
    for (int shift = 8 * sizeof bits - 8; shift >= 0; shift -= 8) text += static_cast<char>(bits >> shift & 0xFF);
  }

  TempFolder folder_;
  ScopedVariable root_{"MAPHUB_CONFIG_FILES_PATH", folder_.Path().string().c_str()};
};
