#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

/// Records as NumPy's structured arrays.
namespace kv::python {

namespace py = pybind11;

/// A column of an array: what it is called, NumPy's word for its type, and where in a row it lies.
struct Column {
  const char* name;
  const char* type;
  std::size_t offset;
};

inline py::dtype TypeOf(const std::vector<Column>& columns, std::size_t rowBytes) {
  py::list names, types, offsets;
  for (const Column& column : columns) {
    names.append(column.name);
    types.append(column.type);
    offsets.append(column.offset);
  }
  return py::dtype(names, types, offsets, static_cast<py::ssize_t>(rowBytes));
}

/// Makes an array and fills it in place, with the interpreter free meanwhile. NumPy takes large pages for large arrays.
/// @param rowAt  gives the row of an index
template <class Row, class RowAt>
py::array ArrayOf(std::size_t count, RowAt rowAt) {
  py::array array(TypeOf(Row::Columns(), sizeof(Row)), py::array::ShapeContainer{count});
  Row* const rows = static_cast<Row*>(array.mutable_data());
  const py::gil_scoped_release release;
  for (std::size_t i = 0; i < count; ++i) std::construct_at(rows + i, rowAt(i));
  return array;
}

/// The memory of a vector whose records are gone already: frees it without destroying them again.
template <class Record>
class LeftMemory {
 public:
  explicit LeftMemory(std::vector<Record>&& records) : records_(std::move(records)), begin_(records_.data()) {}
  LeftMemory(const LeftMemory&) = delete;
  LeftMemory& operator=(const LeftMemory&) = delete;
  ~LeftMemory() { std::allocator<Record>().deallocate(begin_, records_.capacity()); }

  Record* Records() const { return begin_; }

 private:
  union {
    std::vector<Record> records_;  // never destroyed
  };
  Record* begin_;
};

/// Like `ArrayOf`, but writes the rows over their records, so that the system need not clear as much memory again.
/// @param rowOf  makes the row of a record and its index
template <class Row, class Record, class RowOf>
py::array ArrayOver(std::vector<Record>&& records, RowOf rowOf) {
  static_assert(sizeof(Row) <= sizeof(Record) && alignof(Row) <= alignof(Record));  // no row reaches a later record
  static_assert(std::is_trivially_destructible_v<Row>);
  const py::dtype type = TypeOf(Row::Columns(), sizeof(Row));
  const std::size_t count = records.size();
  auto memory = std::make_unique<LeftMemory<Record>>(std::move(records));
  Record* const record = memory->Records();
  Row* const rows = reinterpret_cast<Row*>(record);
  {
    const py::gil_scoped_release release;
    for (std::size_t i = 0; i < count; ++i) {
      const Row row = rowOf(record[i], i);
      std::destroy_at(record + i);
      std::construct_at(rows + i, row);
    }
  }
  const py::capsule owner(memory.get(), [](void* left) { delete static_cast<LeftMemory<Record>*>(left); });
  memory.release();
  return py::array(type, py::array::ShapeContainer{count}, {}, rows, owner);
}

}  // namespace kv::python
