#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include "KVUtilities.h"
#include "platform/FileNames.h"
#include "support/Wkt.h"

namespace {

// What the fuzz targets start from and have found: only documented exceptions may leave a scanner.
TEST(Corpus, ScannersSurviveEveryFile) {
  std::wstring error;
  const struct {
    const char* folder;
    std::function<void(const std::wstring&)> scan;
  } rows[] = {
      {"trajectory", [&](const std::wstring& path) { KVUtilities::ScanKVTrajectoryFile(path, {}, error); }},
      {"system-events", [&](const std::wstring& path) { KVUtilities::ScanKVSystemEventFile(path, error); }},
      {"log", [&](const std::wstring& path) { KVUtilities::ScanKVLogFile(path, error); }},
      {"drone-timestamps", [&](const std::wstring& path) { KVUtilities::ScanDjiTimestampFile(path, L"", error); }},
      {"orientation", [&](const std::wstring& path) { KVUtilities::ScanKVAosFile(path, error); }},
      {"orientation", [&](const std::wstring& path) { KVUtilities::ScanKVAosFileForQX7(path, error); }},
      {"applanix", [&](const std::wstring& path) { KVUtilities::ScanApplanixPostProcessTrajectoryFile(path, error); }},
      {"applanix",
       [&](const std::wstring& path) { KVUtilities::ScanApplanixPostProcessTrajectoryFile({}, path, error); }},
      {"pos",
       [&](const std::wstring& path) { KVUtilities::ScanKVPosFile(path, kv::WideFromUtf8(kGeographic), error); }},
  };
  for (const auto& [folder, scan] : rows) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(CORPUS_FOLDER) / folder)) {
      SCOPED_TRACE(entry.path());
      ++files;
      try {
        scan(kv::WidePath(entry.path()));
      } catch (const std::invalid_argument&) {
      } catch (const std::out_of_range&) {
      } catch (...) {
        ADD_FAILURE() << "an exception that the scanner does not document";
      }
    }
    EXPECT_GT(files, 0) << folder;
  }
}

}  // namespace
