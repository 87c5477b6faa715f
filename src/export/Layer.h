#pragma once

#include <shapefil.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <span>
#include <string>
#include <string_view>

#include "base/ErrorText.h"
#include "export/FieldText.h"
#include "export/LayerSizes.h"
#include "export/Shape.h"
#include "export/ShapefileSet.h"

/// The code that writes every layer. A layer consists of a table of columns, a function that adds a record's vertices,
/// and the sentences for its failures.
namespace kv {

/// A record's place in its layer.
template <class Record>
struct Row {
  int number;           // from 0
  const Record& first;  // of the layer
};

// The kinds of columns; widths and decimals in characters.

template <DBFFieldType kTypeOf, int kWidthOf, int kDecimalsOf = 0>
struct ColumnKind {
  static constexpr DBFFieldType kType = kTypeOf;
  static constexpr int kWidth = kWidthOf, kDecimals = kDecimalsOf;
};

template <int kWidth>
struct Integer : ColumnKind<FTInteger, kWidth> {
  using Value = int;
  static void Put(Field field, Value value) { PutInteger(field, value); }
};

template <int kWidth, int kDecimals>
struct Decimal : ColumnKind<FTDouble, kWidth, kDecimals> {
  using Value = double;
  static void Put(Field field, Value value) { PutDecimal(field, value, kDecimals); }
};

/// Wide text is stored in the ANSI code page and, as a C string, ends at its first NUL.
template <int kWidth>
struct Text : ColumnKind<FTString, kWidth> {
  using Value = std::string_view;
  static void Put(Field field, Value value) { PutText(field, value); }
  static void Put(Field field, const wchar_t* value) { PutText(field, value); }
};

struct TimeText : ColumnKind<FTString, 50> {
  using Value = FILETIME;
  static void Put(Field field, const Value& value) { PutTime(field, value); }
};

struct WholeSecondsText : ColumnKind<FTString, 50> {
  using Value = SYSTEMTIME;
  static void Put(Field field, const Value& value) { PutWholeSeconds(field, value); }
};

struct TickText : ColumnKind<FTString, 25> {
  using Value = FILETIME;
  static void Put(Field field, const Value& value) { PutTicks(field, value); }
};

struct Logical : ColumnKind<FTLogical, 1> {
  using Value = bool;
  static void Put(Field field, Value value) { PutText(field, value ? "T" : "F"); }
};

/// How a column varies; a value shared by all rows of a layer is formatted once.
enum class Varies { kByRow, kNever };

template <class Record>
struct Column {
  /// @param getValue  captureless; returns a record's value, of the kind's type
  template <class Kind, class GetValue>
  constexpr Column(std::string_view columnName, Kind, GetValue, Varies howItVaries = Varies::kByRow)
      : name(columnName),
        type(Kind::kType),
        width(Kind::kWidth),
        decimals(Kind::kDecimals),
        varies(howItVaries),
        put(&PutValue<Kind, GetValue>) {}

  std::string_view name;  // of a literal; the table keeps ten characters
  DBFFieldType type;
  int width;
  int decimals;
  Varies varies;
  void (*put)(char* field, const Record&, Row<Record>);

 private:
  template <class Kind, class GetValue>
  static void PutValue(char* field, const Record& record, Row<Record> row) {
    std::fill_n(field, Kind::kWidth, ' ');
    Kind::Put({field, std::size_t{Kind::kWidth}}, GetValue{}(record, row));
  }
};

/// Whether the table can hold the columns as declared: valid widths, decimals within the width, and names that differ
/// in the ten characters kept.
template <class Record, std::size_t kCount>
consteval bool FitsTable(const std::array<Column<Record>, kCount>& columns) {
  constexpr std::size_t kKeptOfName = XBASE_FLDNAME_LEN_WRITE;
  for (auto column = columns.begin(); column != columns.end(); ++column) {
    const bool isWidth = column->width >= 1 && column->width <= XBASE_FLD_MAX_WIDTH;
    const bool isTwin = std::any_of(columns.begin(), column, [&](const auto& earlier) {
      return earlier.name.substr(0, kKeptOfName) == column->name.substr(0, kKeptOfName);
    });
    if (!isWidth || isTwin || column->decimals < 0 || column->decimals >= column->width) return false;
  }
  return true;
}

/// Bytes of a record in the .dbf, with its deletion mark.
template <class Record, std::size_t kCount>
consteval std::size_t RecordBytes(const std::array<Column<Record>, kCount>& columns) {
  std::size_t bytes = 1;
  for (const auto& column : columns) bytes += static_cast<std::size_t>(column.width);
  return bytes;
}

inline constexpr const wchar_t* kShapeNotCreated = L"Error creating simple shape object.";
inline constexpr const wchar_t* kShapeNotWritten = L"Error writing simple shape object.";
inline constexpr const wchar_t* kLimitReached = L"Error writing shapefile. Reached Shapefile limit.";

template <class Record>
struct Layer {
  int shapeType;  // SHPT_POINTZ: one vertex per record, and the size limit is watched
  std::span<const Column<Record>> columns;
  void (*addVertices)(const Record&, Row<Record>, Shape&);
  const wchar_t* shapefileNotCreated;
  const wchar_t* tableNotCreated;
  const wchar_t* shapeNotCreated = kShapeNotCreated;
  const wchar_t* shapeNotWritten = kShapeNotWritten;
  Projection projection = Projection::Optional;
};

/// Writes the record's shape, then its row.
/// @return null, or the sentence for the failure
template <class Record>
const wchar_t* WriteRecord(ShapefileSet& set, const Layer<Record>& layer, const Record& record, Row<Record> row,
                           Shape& shape) {
  try {
    shape.Clear();
    layer.addVertices(record, row, shape);
  } catch (const std::exception&) {
    return layer.shapeNotCreated;
  }
  const int number = set.Append(shape);
  if (number < 0) return layer.shapeNotWritten;
  // Checked between shape and row, on purpose: the shape that crosses the limit has no row.
  if (layer.shapeType == SHPT_POINTZ && set.IsOverLimit()) return kLimitReached;

  char* const tableRow = set.BeginRow(number);
  if (!tableRow) return layer.shapeNotWritten;
  char* field = tableRow + 1;  // the first byte says "not deleted"
  for (const Column<Record>& column : layer.columns) {
    const bool isOld = column.varies == Varies::kNever && row.number > 0;
    if (!isOld) column.put(field, record, row);
    field += column.width;
  }
  return nullptr;
}

template <class Record>
const wchar_t* WriteLayer(ShapefileSet& set, const Layer<Record>& layer, std::span<const Record> records,
                          std::string_view projection) {
  if (!set.CreateShapes(layer.shapeType)) return layer.shapefileNotCreated;
  if (!set.CreateTable()) return layer.tableNotCreated;
  if (!set.WriteProjection(projection, layer.projection)) return layer.shapeNotWritten;
  for (const Column<Record>& column : layer.columns) {
    if (!set.AddColumn(column.name.data(), column.type, column.width, column.decimals)) return layer.shapeNotWritten;
  }

  Shape shape(layer.shapeType);
  int number = 0;
  for (const Record& record : records) {
    const Row<Record> row{number++, records.front()};
    if (const wchar_t* failure = WriteRecord(set, layer, record, row, shape)) return failure;
  }
  return set.Close() ? nullptr : layer.shapeNotWritten;
}

/// Writes one record per feature, in order.
/// @param error       receives the layer's sentence when the set could not be completed; what was written stays
/// @param projection  text of the .prj
template <class Record>
bool ExportLayer(const std::wstring& path, const Layer<Record>& layer, std::span<const Record> records,
                 std::wstring& error, std::string_view projection = kWgs84) {
  error.clear();
  const wchar_t* failure = layer.shapeNotWritten;
  try {
    ShapefileSet set(path);
    failure = WriteLayer(set, layer, records, projection);
  } catch (const std::exception&) {
    // Out of memory: reported as a shape that could not be written.
  }
  if (failure) Report(error, failure);
  return !failure;
}

}  // namespace kv
