#include "InputFile.h"
#include "KVUtilities.h"

// To a system of its own kind, so that what is tried is the reader and not PROJ.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::wstring error;
  KVUtilities::ScanKVPosFile(InputFile(data, size),
                             L"GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS 84\",6378137,298.257223563]],"
                             L"PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.0174532925199433]]",
                             error);
  return 0;
}
