#include "InputFile.h"
#include "KVMission.h"

// Recognition of a file by its content, and the engine's reader for that kind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr double kGapSeconds = 10;
  KVMission::Observer observer;
  try {
    KVMission::DescribeFile(InputFile(data, size), kGapSeconds, observer);
  } catch (const KVMission::Failure&) {
  }
  return 0;
}
