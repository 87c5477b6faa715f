#include <stdexcept>

#include "InputFile.h"
#include "KVUtilities.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::wstring error;
  const std::wstring path = InputFile(data, size);
  KVUtilities::ScanKVAosFile(path, error);
  try {
    KVUtilities::ScanKVAosFileForQX7(path, error);
  } catch (const std::out_of_range&) {  // a heartbeat outside the calendar
  }
  return 0;
}
