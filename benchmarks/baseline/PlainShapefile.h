#pragma once

#include <shapefil.h>

#include <array>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

/// Shapefile sets as shapelib writes them by itself: its own file access, one call per field.
namespace baseline {

/// The value decides the column's type; a char makes it logical.
struct PlainField {
  const char* name;
  int width;
  int decimals;
  std::variant<int, double, std::string, char> value;
};

struct PlainRecord {
  std::vector<std::array<double, 4>> vertices;  // X, Y, Z, M
  std::vector<PlainField> fields;
};

class PlainShapefile {
 public:
  /// @param first  names the columns
  PlainShapefile(const std::string& path, int shapeType, bool isMeasured, const PlainRecord& first)
      : shapeType_(shapeType),
        isMeasured_(isMeasured),
        shapes_(SHPCreate(path.c_str(), shapeType), SHPClose),
        table_(DBFCreate(path.c_str()), DBFClose) {
    constexpr DBFFieldType kTypes[] = {FTInteger, FTDouble, FTString, FTLogical};
    for (const auto& [name, width, decimals, value] : first.fields) {
      DBFAddField(table_.get(), name, kTypes[value.index()], width, decimals);
    }
  }

  void Append(const PlainRecord& record) {
    for (auto& axis : axes_) axis.clear();
    for (const auto& vertex : record.vertices) {
      for (std::size_t axis = 0; axis < 4; ++axis) axes_[axis].push_back(vertex[axis]);
    }
    const auto& [x, y, z, m] = axes_;
    const std::unique_ptr<SHPObject, void (*)(SHPObject*)> shape(
        SHPCreateObject(shapeType_, -1, 0, nullptr, nullptr, static_cast<int>(x.size()), x.data(), y.data(), z.data(),
                        isMeasured_ ? m.data() : nullptr),
        SHPDestroyObject);
    const int row = SHPWriteObject(shapes_.get(), -1, shape.get());
    for (int column = 0; column < static_cast<int>(record.fields.size()); ++column) {
      WriteField(row, column, record.fields[static_cast<std::size_t>(column)]);
    }
  }

 private:
  void WriteField(int row, int column, const PlainField& field) {
    struct {
      DBFHandle table;
      int row, column;
      void operator()(int value) const { DBFWriteIntegerAttribute(table, row, column, value); }
      void operator()(double value) const { DBFWriteDoubleAttribute(table, row, column, value); }
      void operator()(const std::string& value) const { DBFWriteStringAttribute(table, row, column, value.c_str()); }
      void operator()(char value) const { DBFWriteLogicalAttribute(table, row, column, value); }
    } const write{table_.get(), row, column};
    std::visit(write, field.value);
  }

  int shapeType_;
  bool isMeasured_;
  std::array<std::vector<double>, 4> axes_;
  std::unique_ptr<SHPInfo, void (*)(SHPHandle)> shapes_;
  std::unique_ptr<DBFInfo, void (*)(DBFHandle)> table_;
};

inline void WritePlain(const std::string& path, int shapeType, bool isMeasured, std::span<const PlainRecord> records) {
  PlainShapefile file(path, shapeType, isMeasured, records.front());
  for (const PlainRecord& record : records) file.Append(record);
}

}  // namespace baseline
