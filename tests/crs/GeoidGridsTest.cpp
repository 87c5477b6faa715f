#include "crs/GeoidGrids.h"

#include <gtest/gtest.h>

#include <string>

#include "crs/CoordinateSystemTransformer.h"
#include "crs/GeodeticData.h"
#include "crs/Wkt.h"
#include "support/GeodeticFolder.h"
#include "support/Wkt.h"

namespace {

TEST(GeoidGrids, KeysAreCutFromTheNameOfTheCompoundSystem) {
  const GeodeticFolder data("");
  const CoordinateSystemTransformer setUp;
  struct {
    const char* name;
    const char* lookup;
    const char* comparison;
  } const rows[] = {
      {"Horizontal X + Height A (Model 1)", "Height A", "Height A"},
      {"X + Height A", "Height A", "Height A"},
      {"X + Height A (Model 1) (m)", "Height A (Model 1)", "Height A (Model 1)"},
      {"Zone 5 + offset + Height A (Model 1)", "offset + Height A", "Height A"},
      {"X + CGVD2013(CGG2013) height", "CGVD201", "CGVD201"},  // no blank before the parenthesis: a character goes
      {"X + CGVD2013 height - CGG2013 - NAD83(CSRS)", "CGVD2013 height - CGG2013 - NAD8",
       "CGVD2013 height - CGG2013 - NAD83(CSRS)"},
      {"xHeight A (Model 1)", "Height A", "Height A"},  // no "+": all but the first character
      {"X +", "", ""},
      {"X + ", "", ""},
      {"+", "", ""},
      {"X + (a)", "(a)", "(a)"},
      {"X + y(a)", "", ""},
      {"", "", ""},
  };
  for (const auto& [name, lookup, comparison] : rows) {
    OGRSpatialReference system;
    ASSERT_EQ(kv::ImportWkt(OnUtm33(name, 2005), system), OGRERR_NONE) << name;
    EXPECT_EQ(kv::LookupKey(system), lookup) << name;
    EXPECT_EQ(kv::ComparisonKey(system), comparison) << name;
  }
}

TEST(GeoidGrids, TheLookupFileHasOneKeyALine) {
  const GeodeticFolder data(
      "Height AB,ab.gtx\n"
      "Height A\n"
      "xHeight A,x.gtx\n"
      "Height A,Height A.gtx\n"  // the key again in the line
      "Height A,a.gtx\r\n"
      "Height A,later.gtx\n"
      "Height, with comma,comma.gtx\n"
      "No grid,\n"
      "No grid,later.gtx\n"
      ",nothing.gtx\n"
      "H\xC3\xB6he,h\xC3\xB6he.gtx\n"
      "Last,two.gtx,words");
  struct {
    const char* key;
    const char* grid;
  } const rows[] = {{"Height A", "a.gtx"},
                    {"Height AB", "ab.gtx"},
                    {"Height", " with comma,comma.gtx"},
                    {"Height B", ""},
                    {"No grid", ""},
                    {"", ""},
                    {"H\xC3\xB6he", "h\xC3\xB6he.gtx"},
                    {"Last", "two.gtx,words"}};
  for (const auto& [key, grid] : rows) EXPECT_EQ(kv::ListedGrid(kv::GeodeticDataRoot(), key), grid) << key;
  EXPECT_EQ(kv::ListedGrid(L"/nowhere\\", "Height A"), "");
}

}  // namespace
