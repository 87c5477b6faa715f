#pragma once

#include <KVMission.h>
#include <pybind11/pybind11.h>

/// The engine's records as tables: an array of numbers and times, and lists of texts.
namespace kv::python {

namespace py = pybind11;

/// (array, {name: texts})
py::tuple TableOf(const KVMission::Trajectory& trajectory);
/// Takes the fixes' memory for the array.
py::tuple TableOf(KVMission::Trajectory&& trajectory);
py::tuple TableOf(const KVMission::EventFile& events);
py::tuple TableOf(const KVMission::HousekeepingLog& log);
py::tuple TableOf(const KVMission::PosPoints& points);
py::tuple TableOf(const std::vector<KVMission::Exposure>& exposures);
py::tuple TableOf(const KVMission::Stations& stations);

}  // namespace kv::python
