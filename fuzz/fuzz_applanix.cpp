#include "InputFile.h"
#include "KVUtilities.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::wstring error;
  const std::wstring path = InputFile(data, size);
  KVUtilities::ScanApplanixPostProcessTrajectoryFile(path, error);
  KVUtilities::ScanApplanixPostProcessTrajectoryFile(FILETIME{}, path, error);
  return 0;
}
