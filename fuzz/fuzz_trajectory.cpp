#include <stdexcept>

#include "InputFile.h"
#include "KVUtilities.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::wstring error;
  try {
    KVUtilities::ScanKVTrajectoryFile(InputFile(data, size), KVUtilities::Int64ToFiletime(133'477'200'000'000'000),
                                      error);
  } catch (const std::invalid_argument&) {  // the two kinds that the scanner documents
  } catch (const std::out_of_range&) {
  }
  return 0;
}
