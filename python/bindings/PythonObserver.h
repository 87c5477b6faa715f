#pragma once

#include <KVMission.h>
#include <pybind11/pybind11.h>

#include <chrono>
#include <exception>
#include <utility>

namespace kv::python {

namespace py = pybind11;

/// Passes progress on to a Python function, and stops when that raises or a signal comes, such as Ctrl-C.
class PythonObserver : public KVMission::Observer {
 public:
  /// @param progress  (what, count, unit, done, total), or None
  explicit PythonObserver(py::object progress) : progress_(std::move(progress)) {}

  void OnProgress(const KVMission::Progress& progress) override {
    if (progress_.is_none() || raised_ || !IsTime(reported_)) return;
    const py::gil_scoped_acquire hold;
    try {
      progress_(progress.what, progress.count, progress.unit, progress.done, progress.total);
    } catch (const py::error_already_set&) {
      raised_ = std::current_exception();
    }
  }

  bool ShouldStop() override {
    if (raised_) return true;
    if (!IsTime(asked_)) return false;
    const py::gil_scoped_acquire hold;
    if (PyErr_CheckSignals() == 0) return false;
    raised_ = std::make_exception_ptr(py::error_already_set());
    return true;
  }

  /// What Python raised meanwhile, if anything.
  void RethrowRaised() const {
    if (raised_) std::rethrow_exception(raised_);
  }
  /// After a failure. A signal may also have ended a read, which then was the failure.
  void Rethrow() const {
    RethrowRaised();
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  }

 private:
  using Clock = std::chrono::steady_clock;

  /// Rarely enough that the interpreter's lock costs nothing.
  static bool IsTime(Clock::time_point& last) {
    constexpr std::chrono::milliseconds kPause{50};
    const auto now = Clock::now();
    if (now - last < kPause) return false;
    last = now;
    return true;
  }

  py::object progress_;
  Clock::time_point reported_{}, asked_{};
  std::exception_ptr raised_;
};

/// Runs an operation without the interpreter's lock.
/// @param operation  takes the observer
template <class Operation>
auto Observed(const py::object& progress, Operation operation) {
  PythonObserver observer(progress);
  const auto run = [&] {
    const py::gil_scoped_release release;
    return operation(observer);
  };
  try {
    auto result = run();
    observer.RethrowRaised();
    return result;
  } catch (const KVMission::Failure&) {
    observer.Rethrow();
    throw;
  }
}

}  // namespace kv::python
