#include "crs/GeodeticData.h"

#include <cpl_conv.h>
#include <gdal.h>
#include <ogr_srs_api.h>
#include <proj.h>

#include "platform/Environment.h"
#include "platform/FileNames.h"

namespace kv {
namespace {

constexpr std::size_t kLongestRoot = 259;
constexpr const wchar_t* kProductFolder = L"\\Norvane\\";

}  // namespace

std::wstring GeodeticDataRoot() {
  std::wstring base = EnvironmentVariable(L"MAPHUB_CONFIG_FILES_PATH");
  if (base.empty()) base = ExpandEnvironment(L"%CommonProgramFiles%");
  const std::wstring root = base + kProductFolder;
  return base.empty() || root.size() > kLongestRoot ? std::wstring() : root;
}

std::wstring ProjFolder(const std::wstring& dataRoot) { return dataRoot + L"share\\proj"; }

// The root ends in a separator already; the second one does no harm.
std::wstring GeoidLookupFile(const std::wstring& dataRoot) {
  return dataRoot + L"\\share\\proj\\GeoidFilesLookupGtx.txt";
}

std::string GeodeticPath(const std::wstring& path) { return Utf8FromWide(WidePath(NativePath(path))); }

void SetUpGdal(const std::wstring& dataRoot) {
  CPLSetConfigOption("GDAL_FIX_ESRI_WKT", "YES");
  CPLSetConfigOption("GDAL_DATA", GeodeticPath(dataRoot + L"gdal-data").c_str());
  CPLSetConfigOption("PROJ_LIB", GeodeticPath(ProjFolder(dataRoot)).c_str());
  CPLSetConfigOption("OSR_WKT_FORMAT", "WKT1");
}

void SetProjSearchPath(const std::string& path) {
  const char* const paths[] = {path.c_str(), nullptr};
  proj_context_set_search_paths(PJ_DEFAULT_CTX, 1, paths);
  // GDAL's contexts are its own: they would follow only in a thread that has not used GDAL yet.
  OSRSetPROJSearchPaths(paths);
}

}  // namespace kv
