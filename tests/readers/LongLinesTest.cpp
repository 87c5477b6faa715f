#include <gtest/gtest.h>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <functional>
#include <string>

#include "KVUtilities.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace {

using Scan = std::function<void(const std::wstring& path, std::wstring& error)>;

/// Of a process of its own, KiB.
long PeakOf(const Scan& scan, const std::wstring& path) {
  const pid_t child = fork();
  if (child == 0) {
    std::wstring error;
    try {
      scan(path, error);
    } catch (const std::exception&) {  // the trajectory scanner lets errors of numbers through
    }
    _exit(0);
  }
  int status = 0;
  rusage use;
  wait4(child, &status, 0, &use);
  EXPECT_EQ(status, 0);
  return use.ru_maxrss;
}

/// A file without line ends, or a binary one.
TEST(LongLines, TakeLittleMoreMemoryThanTheirBytes) {
  constexpr std::size_t kBytes = 32 << 20;
  const TempFolder folder;
  const std::wstring none = folder.Write("none", "");
  const struct {
    const char* description;
    Scan scan;
  } rows[] = {
      {"trajectory", [](auto& path, auto& error) { KVUtilities::ScanKVTrajectoryFile(path, {}, error); }},
      {"events", [](auto& path, auto& error) { KVUtilities::ScanKVSystemEventFile(path, error); }},
      {"log", [](auto& path, auto& error) { KVUtilities::ScanKVLogFile(path, error); }},
      {"POS", [](auto& path,
                 auto& error) { KVUtilities::ScanKVPosFile(path, std::wstring(kUtm33.begin(), kUtm33.end()), error); }},
      {"timestamps", [](auto& path, auto& error) { KVUtilities::ScanDjiTimestampFileWithoutImages(path, error); }},
      {"orientation", [](auto& path, auto& error) { KVUtilities::ScanKVAosFile(path, error); }},
      {"Applanix", [](auto& path, auto& error) { KVUtilities::ScanApplanixPostProcessTrajectoryFile(path, error); }},
  };
  for (const char* content : {"x", "0,", "0 ", ";"}) {
    std::string line;
    while (line.size() < kBytes) line += content;
    const std::wstring path = folder.Write("long", line);
    line = {};
    for (const auto& [description, scan] : rows)
      EXPECT_LT(PeakOf(scan, path) - PeakOf(scan, none), long{2 * kBytes / 1024}) << description << ", " << content;
  }
}

}  // namespace

#endif
