#pragma once

#include <shapefil.h>

#include <array>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

/// Shapefile sets as shapelib writes them by itself: its own file access, one call per field.

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

inline void WritePlainField(DBFHandle table, int row, int column, const PlainField& field) {
  struct {
    DBFHandle table;
    int row, column;
    void operator()(int value) const { DBFWriteIntegerAttribute(table, row, column, value); }
    void operator()(double value) const { DBFWriteDoubleAttribute(table, row, column, value); }
    void operator()(const std::string& value) const { DBFWriteStringAttribute(table, row, column, value.c_str()); }
    void operator()(char value) const { DBFWriteLogicalAttribute(table, row, column, value); }
  } const write{table, row, column};
  std::visit(write, field.value);
}

inline void WritePlain(const std::string& path, int shapeType, bool isMeasured, std::span<const PlainRecord> records) {
  constexpr DBFFieldType kTypes[] = {FTInteger, FTDouble, FTString, FTLogical};
  const std::unique_ptr<SHPInfo, void (*)(SHPHandle)> shapes(SHPCreate(path.c_str(), shapeType), SHPClose);
  const std::unique_ptr<DBFInfo, void (*)(DBFHandle)> table(DBFCreate(path.c_str()), DBFClose);
  for (const auto& [name, width, decimals, value] : records.front().fields) {
    DBFAddField(table.get(), name, kTypes[value.index()], width, decimals);
  }
  for (const auto& [vertices, fields] : records) {
    std::vector<double> axes[4];
    for (const auto& vertex : vertices) {
      for (std::size_t axis = 0; axis < 4; ++axis) axes[axis].push_back(vertex[axis]);
    }
    const auto& [x, y, z, m] = axes;
    const std::unique_ptr<SHPObject, void (*)(SHPObject*)> shape(
        SHPCreateObject(shapeType, -1, 0, nullptr, nullptr, static_cast<int>(x.size()), x.data(), y.data(), z.data(),
                        isMeasured ? m.data() : nullptr),
        SHPDestroyObject);
    const int row = SHPWriteObject(shapes.get(), -1, shape.get());
    for (int column = 0; column < static_cast<int>(fields.size()); ++column) {
      WritePlainField(table.get(), row, column, fields[static_cast<std::size_t>(column)]);
    }
  }
}
