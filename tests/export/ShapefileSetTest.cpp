#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <new>

#include "KVUtilities.h"
#include "export/Layer.h"
#include "support/TempFolder.h"
#include "support/Times.h"

#if defined(__unix__)
#include <sys/resource.h>

#include <csignal>
#endif

namespace {

namespace fs = std::filesystem;

using Trajectory = std::vector<tagKVTrajectoryObs>;

// What the point exporter says; empty when it is content.
std::wstring ExportPoints(const std::wstring& path, std::size_t count) {
  std::wstring error = L"left over";
  const bool isWritten = KVUtilities::ExportTrajectoryPointShapefile(path, Trajectory(count), error);
  EXPECT_EQ(isWritten, error.empty());
  return error;
}

// Shapes and rows that a reader finds.
std::pair<int, int> CountRecords(const fs::path& path) {
  const std::unique_ptr<SHPInfo, void (*)(SHPHandle)> shapes(SHPOpen(path.string().c_str(), "rb"), SHPClose);
  const std::unique_ptr<DBFInfo, void (*)(DBFHandle)> table(DBFOpen(path.string().c_str(), "rb"), DBFClose);
  if (!shapes || !table) return {-1, -1};
  return {shapes->nRecords, DBFGetRecordCount(table.get())};
}

TEST(ShapefileSet, NamesItsFilesAfterThePath) {
  const struct {
    const wchar_t* path;
    const char* base;
  } rows[] = {{L"layer.shp", "layer"},   {L"layer", "layer"},
              {L"layer.dbf", "layer"},   {L"a.b.shp", "a.b"},
              {L"dir.x/a", "dir.x/a"},   {L"dir.x\\a.shp", "dir.x/a"},
              {L"dir.x/.shp", "dir.x/"}, {L"Αθήνα\\写真.shp", "Αθήνα/写真"},
              {L".shp", ".shp"}};  // a leading point opens no extension
  const fs::path before = fs::current_path();
  for (const auto& [path, base] : rows) {
    const TempFolder folder;
    fs::current_path(folder.Path());
    for (const char* subfolder : {"dir.x", "Αθήνα"}) fs::create_directory(TempFolder::Native(subfolder));
    folder.Write(std::string(base) + ".cpg", "UTF-8");  // would give the table a false code page
    EXPECT_EQ(ExportPoints(path, 2), L"");
    for (const char* extension : {".shp", ".shx", ".dbf", ".prj"})
      EXPECT_TRUE(fs::exists(TempFolder::Native(std::string(base) + extension)));
    EXPECT_FALSE(fs::exists(TempFolder::Native(std::string(base) + ".cpg"))) << base;
    for (const char* extension : {".shp", ".shx", ".dbf"})  // on Windows shapelib opens names of the code page alone
      fs::rename(TempFolder::Native(std::string(base) + extension), std::string("plain") + extension);
    EXPECT_EQ(CountRecords("plain.shp"), std::pair(2, 2)) << base;
    fs::current_path(before);
  }
}

TEST(ShapefileSet, WithoutRecords) {
  const TempFolder folder;
  std::wstring error;
  EXPECT_FALSE(KVUtilities::ExportTrajectoryLineShapefile(folder.Wide("line"), {}, error));
  EXPECT_EQ(error, L"ExportTrajectoryLineShapefile: Trajectory vector is empty.");
  EXPECT_TRUE(fs::is_empty(folder.Path()));

  EXPECT_EQ(ExportPoints(folder.Wide("points"), 0), L"");
  EXPECT_TRUE(KVUtilities::ExportPhotoPointShapefile(folder.Wide("photos"), std::vector<tagKVSystemEvent>(3), error));
  EXPECT_TRUE(KVUtilities::ExportLogPointShapefile(folder.Wide("log"), {}, error));
  EXPECT_TRUE(KVUtilities::ExportExposureStationPointShapefile(folder.Wide("stations"), {}, error));
  for (const char* name : {"points.shp", "photos.shp", "log.shp", "stations.shp"}) {
    EXPECT_EQ(CountRecords(folder.Path() / name), std::pair(0, 0));
  }
}

TEST(ShapefileSet, StopsAtTheLimitOfTheFileThatThePathNames) {
  constexpr std::uintmax_t kLimit = 2141983647;
  const struct {
    const char* path;  // of a file that is there before
    std::uintmax_t size;
    const wchar_t* error;
    std::pair<int, int> counts;
  } rows[] = {{"layer", kLimit, L"", {3, 3}},
              // The shape that crosses the limit has no row, on purpose.
              {"layer", kLimit + 1, L"Error writing shapefile. Reached Shapefile limit.", {1, 0}},
              {"layer.txt", kLimit + 1, L"Error writing shapefile. Reached Shapefile limit.", {1, 0}},
              {"layer.shp", kLimit + 1, L"", {3, 3}}};  // begins anew
  for (const auto& [path, size, error, counts] : rows) {
    const TempFolder folder;
    fs::resize_file((folder.Write(path, ""), folder.Path() / path), size);  // takes no room on the disk
    EXPECT_EQ(ExportPoints(folder.Wide(path), 3), error) << path << size;
    EXPECT_EQ(CountRecords(folder.Path() / "layer.shp"), counts) << path << size;
    std::wstring lineError;  // a line is not limited
    EXPECT_TRUE(KVUtilities::ExportTrajectoryLineShapefile(folder.Wide(path), Trajectory(3), lineError));
  }
}

TEST(ShapefileSet, MeasuresTheGrowingFileThatThePathNames) {
  const struct {
    const char* path;
    int shapes;  // until the file holds more than 500 bytes
  } rows[] = {{"x.shp", 10}, {"./x.shp", 10}, {"x.dbf", 41}, {"x.shx", 1000}, {"x", 1000}};
  for (const auto& [path, shapes] : rows) {
    const TempFolder folder;
    // 100 bytes and 44 for each point; 65 bytes, an end mark and 11 for each row but the last, which shapelib still
    // holds
    kv::ShapefileSet set(folder.Wide(path), 500);
    ASSERT_TRUE(set.CreateShapes(SHPT_POINTZ) && set.CreateTable() && set.WriteProjection(kv::kWgs84));
    ASSERT_TRUE(set.AddColumn("a", FTString, 10, 0));
    kv::Shape shape(SHPT_POINTZ);
    shape.AddVertex(1, 2, 3, 4);
    int count = 0;
    for (; count < 1000 && !set.IsOverLimit(); ++count) set.BeginRow(set.Append(shape));
    EXPECT_EQ(count, shapes) << path;
  }
}

TEST(ShapefileSet, ReportsFilesThatCannotBeCreated) {
  const struct {
    std::wstring words;
    std::function<bool(const std::wstring&, std::wstring&)> write;
  } layers[] = {
      {L"Trajectory Point",
       [](const auto& path, auto& error) {
         return KVUtilities::ExportTrajectoryPointShapefile(path, Trajectory(1), error);
       }},
      {L"Trajectory Line",
       [](const auto& path, auto& error) {
         return KVUtilities::ExportTrajectoryLineShapefile(path, Trajectory(1), error);
       }},
      {L"Photo", [](const auto& path, auto& error) { return KVUtilities::ExportPhotoPointShapefile(path, {}, error); }},
      {L"Log Point",
       [](const auto& path, auto& error) { return KVUtilities::ExportLogPointShapefile(path, {}, error); }},
      {L"Station",
       [](const auto& path, auto& error) { return KVUtilities::ExportExposureStationPointShapefile(path, {}, error); }},
  };
  const std::pair<const char*, std::wstring> rows[] = {
      {"x.shp", L" Shapefile."},
      {"x.shx", L" Shapefile."},
      {"x.dbf", L" DBF file."},
      {"x.prj", L""},  // reported on the standard error stream alone
  };
  for (const auto& [obstacle, sentenceEnd] : rows) {  // a folder where the file should be
    const TempFolder folder;
    fs::create_directory(folder.Path() / obstacle);
    for (const auto& [words, write] : layers) {
      std::wstring error;
      testing::internal::CaptureStderr();
      EXPECT_EQ(write(folder.Wide("x.shp"), error), sentenceEnd.empty()) << obstacle;
      EXPECT_EQ(error, sentenceEnd.empty() ? L"" : L"Error creating " + words + sentenceEnd);
      EXPECT_EQ(testing::internal::GetCapturedStderr(), sentenceEnd.empty() ? "Error writing to ...\n" : "");
    }
    std::wstring error;  // without its .prj nobody knows what the coordinates of this layer are
    EXPECT_FALSE(KVUtilities::ExportPosPointShapefile(folder.Wide("x.shp"), {}, L"", error)) << obstacle;
    EXPECT_NE(error, L"") << obstacle;
  }
}

#if defined(__unix__)
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_{};
  struct Unsignalled {
    void (*before)(int) = std::signal(SIGXFSZ, SIG_IGN);
    ~Unsignalled() { std::signal(SIGXFSZ, before); }
  } unsignalled_;
};

TEST(ShapefileSet, NeverTakesATruncatedFileForWhole) {
  constexpr std::size_t kCounts[] = {0, 20, 3000};  // within a block and beyond
  for (const std::size_t count : kCounts) {
    const TempFolder folder;
    const std::size_t largest = 32 * 12 + 1 + 243 * count + 1;  // the table: header, rows, end mark
    for (std::size_t limit = 0; limit < largest + 1000; limit += 1 + largest / 13) {
      std::wstring error;
      {
        const FileSizeLimit limited(limit);
        error = ExportPoints(folder.Wide("x"), count);
      }
      const wchar_t* creation = limit < 100 ? L"Error creating Trajectory Point Shapefile." : L"";
      const wchar_t* expected = limit >= largest ? L"" : *creation ? creation : L"Error writing simple shape object.";
      EXPECT_EQ(error, expected) << count << " records, limit " << limit;
    }
  }
  for (const char* full : {"x.shp", "x.dbf", "x.prj"}) {
    const TempFolder folder;
    fs::create_symlink("/dev/full", folder.Path() / full);
    if (!fs::exists(folder.Path() / full)) GTEST_SKIP() << "no /dev/full";
    for (const std::size_t count : kCounts) {
      EXPECT_EQ(ExportPoints(folder.Wide("x"), count), L"Error writing simple shape object.") << full << count;
    }
    std::wstring error;
    EXPECT_FALSE(
        KVUtilities::ExportExposureStationPointShapefile(folder.Wide("x"), {3, tagKVExposureStation()}, error));
    EXPECT_EQ(error, L"Error writing Exposure Station point shape.") << full;
  }
}
#endif

using Number = kv::Row<int>;

constexpr auto kColumns = std::to_array<kv::Column<int>>({
    {"Value", kv::Integer<4>{}, [](int value, Number) { return value == 13 ? throw std::bad_alloc() : value; }},
    {"TenLettersAndMore", kv::Logical{}, [](int value, Number row) { return value != row.first; }},
});
static_assert(FitsTable(kColumns));

TEST(ShapefileSet, TakesAnyRecordAndItsOwnWords) {
  kv::Layer<int> plain{.shapeType = SHPT_POINTZ,
                       .columns = kColumns,
                       .addVertices =
                           [](const int& value, Number row, kv::Shape& shape) {
                             if (value == 7) throw std::bad_alloc();
                             shape.AddVertex(value, 0, 0, row.number);
                           },
                       .shapefileNotCreated = L"no shapefile",
                       .tableNotCreated = L"no table"};
  kv::Layer<int> own = plain;
  own.shapeNotCreated = L"no shape";
  own.shapeNotWritten = L"not written";
  const struct {
    std::vector<int> records;
    const wchar_t* plainWords;
    const wchar_t* ownWords;
  } rows[] = {{{1, 2, 3}, L"", L""},
              {{1, 7}, L"Error creating simple shape object.", L"no shape"},
              {{1, 13}, L"Error writing simple shape object.", L"not written"}};
  for (const auto& [records, plainWords, ownWords] : rows) {
    const TempFolder folder;
    for (auto* layer : {&plain, &own}) {
      std::wstring error;
      const std::wstring expected = layer == &plain ? plainWords : ownWords;
      EXPECT_EQ(kv::ExportLayer(folder.Wide("x"), *layer, std::span<const int>(records), error), expected.empty());
      EXPECT_EQ(error, expected);
      EXPECT_EQ(folder.Read("x.dbf").ends_with("    1F    2T    3T\x1A"), expected.empty());
    }
  }
}

}  // namespace
