#include "crs/CoordinateSystemTransformer.h"

#include <cpl_error.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <thread>

#include "crs/Wkt.h"
#include "platform/FileNames.h"
#include "support/GeodeticFolder.h"
#include "support/Wkt.h"

namespace {

using Transformer = CoordinateSystemTransformer;

const std::string kSource = Compound("WGS 84 + Ellipsoid(Meters)", kGeographic, 2002);
const std::string kEsriGeographic =
    "GEOGCS[\"GCS_WGS_1984\",DATUM [ \"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137.0,298.257223563]],"
    "PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]";
constexpr const char* kGeographicWkt2 =
    R"(GEOGCRS["x",DATUM["World Geodetic System 1984",ELLIPSOID["WGS 84",6378137,298.257223563]],)"
    R"(CS[ellipsoidal,3],AXIS["latitude",north],AXIS["longitude",east],ANGLEUNIT["degree",0.0174532925199433],)"
    R"(AXIS["height",up,LENGTHUNIT["metre",1]]])";

std::string Prepared(const Transformer& transformer, const std::string& wkt) {
  return kv::Utf8FromWide(transformer.PrepareVerticalWkt(kv::WideFromUtf8(wkt)));
}

int SetUpPair(Transformer& transformer, const std::string& source, const std::string& target, std::wstring& error) {
  return transformer.Setup(kv::WideFromUtf8(Prepared(transformer, source)),
                           kv::WideFromUtf8(Prepared(transformer, target)), error);
}

class TransformerTest : public testing::Test {
 protected:
  TransformerTest() { data.WriteGrid("ten.gtx", 10); }
  ~TransformerTest() override { EXPECT_EQ(testing::internal::GetCapturedStderr(), ""); }

  GeodeticFolder data{"Listed,ten.gtx\nAbsent,absent.gtx\nEarth 96,egm96_15.gtx\n"};
  const int captured = (testing::internal::CaptureStderr(), 0);
};

TEST_F(TransformerTest, SetUpSaysWhyTwoSystemsDoNotCombine) {
  const std::string kUnlisted = OnUtm33("X + Unlisted", 2005);
  const std::string kHeightsAlone = R"(VERT_CS["Height",VERT_DATUM["Mean sea",2005],UNIT["metre",1],AXIS["Up",UP]])";
  const std::wstring kNoTargetGrid = L"Missing geoid file for target vertical coordinate system.";
  struct {
    const char* description;
    std::string source, target;
    int result;
    std::wstring error;
  } const rows[] = {
      {"plain", kGeographic, kUtm33, 0, L""},
      {"heights only on the source", kSource, kUtm33, 0, L""},
      {"three axes, not compound", kSource, kGeographicWkt2, 0, L""},
      {"ellipsoidal heights of a projected system", kSource, OnUtm33("X + Ellipsoid", 2002), 0, L""},
      {"heights alone count as ellipsoidal", kSource, kHeightsAlone, 0, L""},
      {"blanks before ESRI's dialect", kSource, "\n " + kEsriGeographic, 0, L""},
      {"no text of a system", "this is not wkt", kUtm33, -102,
       L"Failed to set source coordinate system from WKT.\nGDAL importFromWkt() returned 5."},
      {"target likewise", kSource, "", -102,
       L"Failed to set target coordinate system from WKT.\nGDAL importFromWkt() returned 5."},
      {"WKT2 with the datum name of ESRI's dialect", kSource,
       R"(GEOGCRS["x",DATUM["D_x",ELLIPSOID["WGS 84",6378137,298.257223563]],CS[ellipsoidal,2],)"
       R"(AXIS["lat",north],AXIS["lon",east],ANGLEUNIT["degree",0.0174532925199433]])",
       -102, L"Failed to set target coordinate system from WKT.\nGDAL importFromWkt() returned 5."},
      {"a system of no place", kSource, R"(LOCAL_CS["x",UNIT["metre",1],AXIS["a",EAST],AXIS["b",NORTH]])", -107,
       L"Failed to create coordinate transformer object."},
      {"listed", kSource, OnUtm33("X + Listed", 2005), 0, L""},
      {"unlisted", kSource, kUnlisted, -108, kNoTargetGrid},
      {"on the source", OnUtm33("X + Unlisted", 2005), kSource, -108,
       L"Missing geoid file for source vertical coordinate system."},
      {"listed grid is absent", kSource, OnUtm33("X + Absent", 2005), -108, kNoTargetGrid},
      {"named grid", kSource, OnUtm33("X + Unlisted", 2005, "ten.gtx"), 0, L""},
      {"named grid is absent", kSource, OnUtm33("X + Unlisted", 2005, "absent.gtx"), -108, kNoTargetGrid},
      {"first of several counts", kSource, OnUtm33("X + Unlisted", 2005, "absent.gtx,ten.gtx"), -108, kNoTargetGrid},
      {"optional grid is not found", kSource, OnUtm33("X + Unlisted", 2005, "@ten.gtx"), -108, kNoTargetGrid},
      {"one geoid on both sides", kUnlisted, Compound("Y + Unlisted (again)", kGeographic, 2005), 0, L""},
      {"two geoids", OnUtm33("X + Listed", 2005), kUnlisted, -108, kNoTargetGrid},
      {"no name on both sides", OnUtm33("", 2005), OnUtm33("", 2005), 0, L""},
      {"flat source", kGeographic, OnUtm33("X + Listed", 2005), -111,
       L"A target vertical coordinate system was specified, but the source vertical coordinate system was not."},
      {"barometric heights", kSource, OnUtm33("X + Listed", 2003), -112,
       L"Unknown vertical datum class:2003. Expected 2002(ellipsoidal) or 2005(orthometric)."},
  };
  for (const auto& row : rows) {
    Transformer transformer;
    std::wstring error = L"left over", message;
    EXPECT_EQ(SetUpPair(transformer, row.source, row.target, error), row.result) << row.description;
    EXPECT_EQ(error, row.error) << row.description;
    transformer.GetLastMessage(message);
    EXPECT_EQ(message, row.result == 0 ? L"OK" : row.error) << row.description;
  }
}

// Easting, northing and the height on EGM96 as cs2cs gives them; the other heights follow from the grid of 10 m.
TEST_F(TransformerTest, PointsAreTransformedInPlace) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Point {
    double x, y, z;
  };
  const Point vienna{15.5, 48.25, 300}, onUtm{537117.141935, 5344208.122025, 300};
  struct {
    const char* description;
    std::string target;
    Point point;
    int result;
    Point expected;
  } const rows[] = {
      {"itself", kSource, vienna, 0, vienna},
      {"longitude first, whatever the axes say", kGeographic, vienna, 0, vienna},
      {"ESRI's dialect", kEsriGeographic, vienna, 0, vienna},
      {"projected", kUtm33, vienna, 0, onUtm},
      {"on a geoid", OnUtm33("X + Earth 96", 2005), vienna, 0, {onUtm.x, onUtm.y, 253.365925}},
      {"grid from the lookup file", OnUtm33("X + Listed (m)", 2005), vienna, 0, {onUtm.x, onUtm.y, 290}},
      {"found at the last + only", OnUtm33("5 + 7 + Listed", 2005), vienna, 0, {onUtm.x, onUtm.y, 290}},
      {"grid of its own", OnUtm33("X", 2005, "ten.gtx"), vienna, 0, {onUtm.x, onUtm.y, 290}},
      {"outside the grid", OnUtm33("X + Listed", 2005), {15.5, 47, 300}, -110, {}},
      {"beyond the pole", kUtm33, {15.5, 95, 300}, -110, {}},
      {"no number", kGeographic, {15.5, nan, 300}, -110, {}},
      {"no end", kGeographic, {15.5, 48.25, HUGE_VAL}, -110, {}},
  };
  for (const auto& row : rows) {
    Transformer transformer;
    std::wstring message;
    ASSERT_EQ(SetUpPair(transformer, kSource, row.target, message), 0) << row.description;
    Point point = row.point;
    EXPECT_EQ(transformer.Transform(&point.x, &point.y, &point.z, 1), row.result) << row.description;
    transformer.GetLastMessage(message);
    EXPECT_EQ(message, row.result == 0 ? L"OK" : L"Error reported during transform operation.") << row.description;
    if (row.result != 0) continue;
    EXPECT_NEAR(point.x, row.expected.x, 1e-6) << row.description;
    EXPECT_NEAR(point.y, row.expected.y, 1e-6) << row.description;
    EXPECT_NEAR(point.z, row.expected.z, 1e-6) << row.description;
  }
}

TEST_F(TransformerTest, SlotsFillAndEmptyOneByOne) {
  Transformer transformer;
  const auto expect = [&](int result, int expected, const wchar_t* expectedMessage) {
    std::wstring message;
    transformer.GetLastMessage(message);
    EXPECT_EQ(result, expected) << kv::Utf8FromWide(expectedMessage);
    EXPECT_EQ(message, expectedMessage);
  };
  double x = 15.5, y = 48.25, z = 300;
  std::string wkt;
  expect(0, 0, L"");
  expect(transformer.Transform(&x, &y, &z, 1), -109, L"The coordinate transformer has not be set up.");
  expect(transformer.GetWkt(0, wkt), -104, L" source coordinate system has not been set.");
  expect(transformer.GetWkt(1, wkt), -105, L" target coordinate system has not been set.");
  expect(transformer.CreateTransformer(), -106, L"The coordinate systems have not been set.");
  expect(transformer.SetCoordinateSystem(0, kGeographic), 0, L"OK");
  // Crosswise: an empty target is told with the source's sentence, and the other way round.
  expect(transformer.CreateTransformer(), -104, L"The source coordinate system has not been set.");
  expect(transformer.SetCoordinateSystem(1, kUtm33), 0, L"OK");
  expect(transformer.Transform(&x, &y, &z, 1), -109, L"The coordinate transformer has not be set up.");
  expect(transformer.CreateTransformer(), 0, L"OK");
  expect(transformer.Transform(&x, &y, &z, 1), 0, L"OK");
  // A failure empties its slot and leaves the transformation; a success makes it go.
  expect(transformer.SetCoordinateSystem(0, "x"), -102,
         L"Failed to set source coordinate system from WKT.\nGDAL importFromWkt() returned 5.");
  x = 15.5, y = 48.25;
  expect(transformer.Transform(&x, &y, &z, 1), 0, L"OK");
  expect(transformer.CreateTransformer(), -105, L"The target coordinate system has not been set.");
  expect(transformer.SetCoordinateSystem(1, kGeographic), 0, L"OK");
  expect(transformer.Transform(&x, &y, &z, 1), -109, L"The coordinate transformer has not be set up.");
}

TEST_F(TransformerTest, ThreadsSetUpBesideEachOther) {
  const auto transform = [] {
    for (int i = 0; i < 25; ++i) {
      Transformer transformer;
      std::wstring error;
      double x = 15.5, y = 48.25, z = 300;
      SetUpPair(transformer, kSource, OnUtm33("X + Listed", 2005), error);
      if (transformer.Transform(&x, &y, &z, 1) != 0 || std::abs(z - 290) > 1e-6) ADD_FAILURE() << z;
    }
  };
  std::thread others[] = {std::thread(transform), std::thread(transform), std::thread(transform)};
  for (std::thread& other : others) other.join();
}

TEST_F(TransformerTest, GridsAreAttachedWhereHeightsNeedThem) {
  struct {
    const char* description;
    std::string wkt;
    const char* attached;  // null when the text comes back unchanged
  } const rows[] = {
      {"no system", "x", nullptr},
      {"flat", kUtm33, nullptr},
      {"ellipsoidal", kSource, nullptr},
      {"three axes", kGeographicWkt2, nullptr},
      {"ellipsoidal and projected", OnUtm33("X + Listed", 2002), nullptr},
      {"names one that exists", OnUtm33("X + Earth 96", 2005, "ten.gtx"), nullptr},
      {"listed", OnUtm33("X + Listed", 2005), "\"ten.gtx\""},
      {"names one that does not exist", OnUtm33("X + Earth 96", 2005, "absent.gtx"), "\"egm96_15.gtx\""},
      {"may be missing", OnUtm33("X + Earth 96", 2005, "@ten.gtx"), "\"egm96_15.gtx\""},
      {"of another class", OnUtm33("X + Listed", 2003), "\"ten.gtx\""},
  };
  const Transformer transformer;
  for (const auto& [description, wkt, attached] : rows) {
    const std::string prepared = Prepared(transformer, wkt);
    if (attached) {
      EXPECT_NE(prepared.find(std::string("EXTENSION[\"PROJ4_GRIDS\",") + attached), std::string::npos) << description;
    } else {
      EXPECT_EQ(prepared, wkt) << description;
    }
  }
}

TEST_F(TransformerTest, WktIsOfTheFirstKindWhereThatHasTheWords) {
  Transformer transformer;
  std::string wkt;
  ASSERT_EQ(transformer.SetCoordinateSystem(0, kGeographicWkt2), 0);
  ASSERT_EQ(transformer.SetCoordinateSystem(1, kUtm33), 0);
  EXPECT_EQ(transformer.GetWkt(0, wkt), 0);
  EXPECT_EQ(wkt.rfind("GEOGCRS[", 0), 0u) << wkt;
  EXPECT_EQ(transformer.GetWkt(1, wkt), 0);
  EXPECT_EQ(wkt.rfind("PROJCS[", 0), 0u) << wkt;
  EXPECT_EQ(transformer.GetGeoidKey(1), "");
}

}  // namespace
