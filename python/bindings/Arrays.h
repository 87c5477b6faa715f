#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <memory>
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

}  // namespace kv::python
