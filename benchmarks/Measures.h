#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

/// A folder for a benchmark's files, gone with the object.
class ScratchFolder {
 public:
  ScratchFolder() { std::filesystem::create_directories(path_); }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::filesystem::path operator/(const char* name) const { return path_ / name; }

 private:
  std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / ("kvutilities-benchmark-" + std::to_string(std::random_device()()));
};

/// Runs a shell command without its output.
/// @return false when it failed or is not installed
inline bool RunsQuietly(const std::string& command) {
  return std::system(("( " + command + " ) > /dev/null 2>&1").c_str()) == 0;
}

/// How the reasons begin why something cannot be measured on a machine. What ends with any other reason has failed.
inline constexpr std::string_view kSkipped = "skipped: ";

inline void Skip(benchmark::State& state, const std::string& reason) {
  state.SkipWithError((std::string(kSkipped) + reason).c_str());
}

/// @return whether a program is installed; else the benchmark is skipped
inline bool HasProgram(const std::string& program, benchmark::State& state) {
  const bool isInstalled = RunsQuietly("command -v " + program);
  if (!isInstalled) Skip(state, program + " is not installed");
  return isInstalled;
}

/// Bytes of resident memory that a call needs at its peak, beyond what is resident before it. Linux alone counts them;
/// 0 elsewhere.
template <class Call>
double PeakBytes(Call call) {
  const auto statusBytes = [](const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with(key)) return 1024 * std::strtod(line.c_str() + key.size(), nullptr);
    }
    return 0.0;
  };
#if defined(__GLIBC__)
  malloc_trim(0);
#endif
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak counts from here on
  const double before = statusBytes("VmRSS:");
  call();
  return statusBytes("VmHWM:") - before;
}
