#include "InputFile.h"
#include "KVUtilities.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::wstring error;
  KVUtilities::ScanKVLogFile(InputFile(data, size), error);
  return 0;
}
