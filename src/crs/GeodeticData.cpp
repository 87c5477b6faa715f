#include "crs/GeodeticData.h"

#include <cpl_conv.h>
#include <gdal.h>
#include <ogr_srs_api.h>
#include <proj.h>

#include <mutex>

#include "platform/Environment.h"
#include "platform/FileNames.h"

namespace kv {
namespace {

constexpr std::size_t kLongestRoot = 259;
std::mutex oneAtATime;  // changes of the process's settings, and PROJ's report of them
constexpr const wchar_t* kProductFolder = L"\\Norvane\\";

void SetProjSearchPath(const std::string& path) {
  const char* const paths[] = {path.c_str(), nullptr};
  // Other threads copy the default context without a lock when they create their own, so it is changed only if needed:
  // a caller may have changed it meanwhile.
  const PJ_INFO inForce = proj_info();
  if (inForce.path_count != 1 || path != inForce.paths[0]) proj_context_set_search_paths(PJ_DEFAULT_CTX, 1, paths);
  // GDAL has contexts of its own, which would follow only in threads that have not used GDAL yet.
  OSRSetPROJSearchPaths(paths);
}

// Sets only what differs: GDAL hands out pointers to the current values, also to other threads.
void SetOption(const char* name, const std::string& value) {
  const char* const inForce = CPLGetConfigOption(name, nullptr);
  if (!inForce || inForce != value) CPLSetConfigOption(name, value.c_str());
}

}  // namespace

std::wstring GeodeticDataRoot() {
  std::wstring base = EnvironmentVariable(L"MAPHUB_CONFIG_FILES_PATH");
  if (base.empty()) base = ExpandEnvironment(L"%CommonProgramFiles%");
  const std::wstring root = base + kProductFolder;
  return base.empty() || root.size() > kLongestRoot ? std::wstring() : root;
}

std::wstring ProjFolder(const std::wstring& dataRoot) { return dataRoot + L"share\\proj"; }

// The root already ends in a separator; the second one is harmless.
std::wstring GeoidLookupFile(const std::wstring& dataRoot) {
  return dataRoot + L"\\share\\proj\\GeoidFilesLookupGtx.txt";
}

std::string GeodeticPath(const std::wstring& path) { return Utf8FromWide(WidePath(NativePath(path))); }

std::string ProjVersion() {
  const std::lock_guard lock(oneAtATime);
  return proj_info().version;
}

std::string SetUpGeodeticData(const std::wstring& dataRoot) {
  const std::lock_guard lock(oneAtATime);
  std::string projFolder = GeodeticPath(ProjFolder(dataRoot));
  GDALAllRegister();
  SetOption("GDAL_FIX_ESRI_WKT", "YES");
  SetOption("GDAL_DATA", GeodeticPath(dataRoot + L"gdal-data"));
  SetOption("PROJ_LIB", projFolder);
  SetOption("OSR_WKT_FORMAT", "WKT1");
  SetProjSearchPath(projFolder);
  return projFolder;
}

}  // namespace kv
