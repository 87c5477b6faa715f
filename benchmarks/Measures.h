#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "Comparison.h"

/// How figures are taken, on Linux.

using Call = std::function<void()>;

/// The processor time of a call. A short call is repeated until the clock's resolution and chance hardly count.
Side ProcessorTime(Call call);
/// The time by the clock; for threads, which processor time does not judge.
Side WallTime(Call call);
/// The peak of resident memory during a call above the level before it.
Side PeakMemory(Call call);
/// The peak of resident memory of a program, which may end with 3: finished, but incomplete.
Side PeakMemoryOf(const std::string& program, const std::vector<std::string>& arguments);
/// A limit.
Side Given(By by, double figure);

/// Processor seconds of this process and of all programs it has run so far.
double ProcessorSeconds();

/// Seconds since an arbitrary moment, by the clock.
inline double ClockSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Runs a shell command and discards its output. @throws std::runtime_error if it fails
void Run(const std::string& command);
bool HasProgram(const std::string& program);

/// Cores that other programs leave to this one and its children, from the construction on.
class CoresLeft {
 public:
  double Since() const;

 private:
  double start_ = ClockSeconds(), own_ = ProcessorSeconds(), all_ = AllProcessorSeconds();
  static double AllProcessorSeconds();
};

/// Makes the compiler take a value for used.
template <class Value>
void Keep(const Value& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

/// A folder for a benchmark's files. The destructor removes it.
class ScratchFolder {
 public:
  enum Place { kOnDisk, kInMemory };

  /// @param place  in memory if the system has a file system there
  explicit ScratchFolder(Place place = kOnDisk) : path_(Parent(place) / Name()) {
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& Path() const { return path_; }

 private:
  static std::filesystem::path Parent(Place place) {
    const std::filesystem::path memory = "/dev/shm";
    return place == kInMemory && std::filesystem::is_directory(memory) ? memory
                                                                       : std::filesystem::temp_directory_path();
  }
  static std::string Name() { return "kvutilities-benchmark-" + std::to_string(std::random_device()()); }

  std::filesystem::path path_;
};
