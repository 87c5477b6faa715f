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
#if defined(__unix__)
#include <sys/resource.h>
#endif

/// A folder for a benchmark's files. The destructor removes it.
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

/// Runs a shell command and discards its output.
/// @return false when it fails or is not installed
inline bool RunsQuietly(const std::string& command) {
  return std::system(("( " + command + " ) > /dev/null 2>&1").c_str()) == 0;
}

/// Processor seconds of all programs run so far. 0 except on Unix.
inline double ProgramSeconds() {
#if defined(__unix__)
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
#else
  return 0;
#endif
}

/// Prefix of the reasons why something cannot be measured on this machine. Any other reason is a failure.
inline constexpr std::string_view kSkipped = "skipped: ";

inline void Skip(benchmark::State& state, const std::string& reason) {
  state.SkipWithError((std::string(kSkipped) + reason).c_str());
}

/// Skips the benchmark if a program is missing. @return whether it is installed
inline bool HasProgram(const std::string& program, benchmark::State& state) {
  const bool isInstalled = RunsQuietly("command -v " + program);
  if (!isInstalled) Skip(state, program + " is not installed");
  return isInstalled;
}

/// Peak of resident memory during a call, in bytes above the level before it. 0 except on Linux.
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
