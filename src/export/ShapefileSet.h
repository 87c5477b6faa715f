#pragma once

#include <shapefil.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "export/Shape.h"

namespace kv {

/// The projection text of layers in WGS 84.
inline constexpr std::string_view kWgs84 =
    R"(GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563,AUTHORITY["EPSG","7030"]],)"
    R"(AUTHORITY["EPSG","6326"]],PRIMEM["Greenwich",0,AUTHORITY["EPSG","8901"]],)"
    R"(UNIT["degree",0.0174532925199433,AUTHORITY["EPSG","9122"]],AUTHORITY["EPSG","4326"]])";

/// Whether a layer's coordinates can be understood without its .prj.
enum class Projection { Optional, Needed };

/// Writes the four files of a Shapefile set. Call the members in the order of their declaration; each reports success.
/// Destroying an open set closes its files as they are.
class ShapefileSet {
 public:
  static constexpr std::uint64_t kLargestBytes = 2'141'983'647;  // 5,500,001 below 2^31

  /// @param path          an extension is replaced by those of the set
  /// @param largestBytes  most bytes of the limited file
  explicit ShapefileSet(const std::wstring& path, std::uint64_t largestBytes = kLargestBytes);

  /// Creates .shp and .shx.
  bool CreateShapes(int shapeType);

  /// Creates the .dbf for text in the ANSI code page and removes a .cpg that could contradict it.
  bool CreateTable();

  /// An optional .prj that cannot be opened is not a failure; it is reported on standard error.
  bool WriteProjection(std::string_view wkt, Projection need = Projection::Optional);

  bool AddColumn(const char* name, DBFFieldType type, int width, int decimals);

  /// @return the shape's number, negative on failure
  int Append(Shape& shape) { return shape.AppendTo(shapes_.get()); }

  /// Whether the limited file, the one with exactly the given path, exceeds its limit, including bytes still in memory.
  /// If the path does not name a file, there is no limit.
  bool IsOverLimit() const;

  /// Begins the table's next row, of which the file gets the bytes when the following one begins or the set is closed.
  /// @return  the row, a deletion mark and then the fields, with the bytes of the row before or blanks; null on failure
  char* BeginRow(int number);

  /// @return false when anything since the constructor did not reach the disk
  bool Close();

 private:
  struct CloseShapes {
    void operator()(SHPInfo* shapes) const noexcept { SHPClose(shapes); }
  };
  struct CloseTable {
    void operator()(DBFInfo* table) const noexcept { DBFClose(table); }
  };

  void FindLimitedFile();

  std::wstring path_;
  std::uint64_t largestBytes_;
  std::string name_;  // the path as shapelib takes it
  SAHooks hooks_;
  std::unique_ptr<SHPInfo, CloseShapes> shapes_;
  std::unique_ptr<DBFInfo, CloseTable> table_;
  SAFile limitedFile_ = nullptr;   // of this set; or
  std::uint64_t limitedSize_ = 0;  // the size of another file
};

}  // namespace kv
