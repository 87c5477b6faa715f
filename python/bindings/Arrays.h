#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <memory>
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

/// Moves rows into an array, which owns them from then on: no row is copied.
template <class Row>
py::array ArrayOf(std::vector<Row>&& rows) {
  auto kept = std::make_unique<std::vector<Row>>(std::move(rows));
  const std::vector<Row>& all = *kept;
  const py::capsule owner(kept.get(), [](void* vector) { delete static_cast<std::vector<Row>*>(vector); });
  kept.release();
  return py::array(TypeOf(Row::Columns(), sizeof(Row)), {all.size()}, {sizeof(Row)}, all.data(), owner);
}

}  // namespace kv::python
