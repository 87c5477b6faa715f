#include "InputFile.h"
#include "KVUtilities.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::wstring error;
  KVUtilities::ScanDjiTimestampFile(InputFile(data, size), L"", error);
  return 0;
}
