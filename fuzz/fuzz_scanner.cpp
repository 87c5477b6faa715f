#include <stdexcept>

#include "InputFile.h"
#include "KVUtilities.h"

/// One function per target, which defines KV_FUZZ_SCANNER as its name; `noexcept` where the scanner documents no exception.
namespace scanners {

std::wstring error;

void trajectory(const std::wstring& path) {
  KVUtilities::ScanKVTrajectoryFile(path, KVUtilities::Int64ToFiletime(133'477'200'000'000'000), error);
}
void system_events(const std::wstring& path) { KVUtilities::ScanKVSystemEventFile(path, error); }
void log(const std::wstring& path) noexcept { KVUtilities::ScanKVLogFile(path, error); }
void drone_timestamps(const std::wstring& path) noexcept { KVUtilities::ScanDjiTimestampFile(path, L"", error); }
void orientation(const std::wstring& path) {
  KVUtilities::ScanKVAosFile(path, error);
  KVUtilities::ScanKVAosFileForQX7(path, error);
}
void applanix(const std::wstring& path) noexcept {
  KVUtilities::ScanApplanixPostProcessTrajectoryFile(path, error);
  KVUtilities::ScanApplanixPostProcessTrajectoryFile(FILETIME{}, path, error);
}
// The target system is geographic as well, so that this tests the reader and not PROJ.
void pos(const std::wstring& path) noexcept {
  KVUtilities::ScanKVPosFile(path,
                             L"GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS 84\",6378137,298.257223563]],"
                             L"PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.0174532925199433]]",
                             error);
}

}  // namespace scanners

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    scanners::KV_FUZZ_SCANNER(InputFile(data, size).wstring());
  } catch (const std::invalid_argument&) {  // the two kinds that scanners document
  } catch (const std::out_of_range&) {
  }
  return 0;
}
