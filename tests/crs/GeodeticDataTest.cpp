#include "crs/GeodeticData.h"

#include <cpl_conv.h>
#include <gtest/gtest.h>

#include <string>

#include "crs/CoordinateSystemTransformer.h"
#include "support/Environment.h"

namespace {

TEST(GeodeticData, TheRootComesFromTheEnvironment) {
  const std::string fits(250, 'x'), tooLong(251, 'x'), longerThanABuffer(260, 'x');  // "\Norvane\" has 9 characters
  struct {
    const char* description;
    const char* configured;
    const char* common;
    std::wstring root;
  } const rows[] = {
    {"configured", "D:\\cfg", "/common", L"D:\\cfg\\Norvane\\"},
    {"not configured", nullptr, "/common", L"/common\\Norvane\\"},
    {"configured empty", "", "/common", L"/common\\Norvane\\"},
#if !defined(_WIN32)  // which leaves what it does not know as it is
    {"nothing", nullptr, "", L""},
#endif
    {"names are not looked up in values", "%TMP%", "/common", L"%TMP%\\Norvane\\"},
    {"longest", fits.c_str(), "/common", std::wstring(250, L'x') + L"\\Norvane\\"},
    {"too long with the product's folder", tooLong.c_str(), "/common", L""},
    {"too long for its buffer", longerThanABuffer.c_str(), "/common", L"/common\\Norvane\\"},
    {"both too long", nullptr, longerThanABuffer.c_str(), L""},
    {"not ASCII", "/caf\xC3\xA9", "/common", L"/caf\u00E9\\Norvane\\"},
  };
  for (const auto& row : rows) {
    const ScopedVariable configured("MAPHUB_CONFIG_FILES_PATH", row.configured);
    const ScopedVariable common("CommonProgramFiles", row.common);
    EXPECT_EQ(kv::GeodeticDataRoot(), row.root) << row.description;
  }
}

#if !defined(_WIN32)
TEST(GeodeticData, WithoutEnvironmentItIsTheDataOfThisBuild) {
  const ScopedVariable configured("MAPHUB_CONFIG_FILES_PATH", nullptr), common("CommonProgramFiles", nullptr);
  EXPECT_EQ(kv::GeodeticPath(kv::GeodeticDataRoot()), GEODETIC_DATA_FOLDER "/");
}
#endif

TEST(GeodeticData, ATransformerSetsTheOptionsOfTheProcess) {
  const ScopedVariable configured("MAPHUB_CONFIG_FILES_PATH", "D:\\cfg");
  const CoordinateSystemTransformer transformer;
  const std::string root = kv::GeodeticPath(L"D:\\cfg\\Norvane\\");
  struct {
    const char* option;
    std::string value;
  } const rows[] = {{"GDAL_FIX_ESRI_WKT", "YES"},
                    {"GDAL_DATA", root + "gdal-data"},
                    {"PROJ_LIB", root + kv::GeodeticPath(L"share\\proj")},
                    {"OSR_WKT_FORMAT", "WKT1"}};
  for (const auto& [option, value] : rows) EXPECT_EQ(CPLGetConfigOption(option, ""), value) << option;
}

}  // namespace
