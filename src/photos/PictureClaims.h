#pragma once

#include <cstdint>
#include <filesystem>

namespace kv::mission {

/// Three channels of 8 bits.
inline constexpr std::int64_t kDecodedBytesPerPixel = 3;

/// Refuses what is not a photo by what its header claims, before memory is taken for it. The memory that decoding may take
/// grows with the size of the file.
/// @param bytesPerPixel  for a JPEG that will be in memory whole, which is then the only kind allowed; else 0
/// @return  most bytes that decoding this file may take
/// @throws Failure  for a pipe or a device; for another kind than JPEG, PNG, TIFF, BMP and WebP; for a header that
///                  cannot be read or claims more pixels than allowed or than the file can hold; for a JPEG without
///                  picture data. A file that cannot be opened passes.
std::int64_t CheckPicture(const std::filesystem::path& path, double mostMegapixels, std::int64_t bytesPerPixel = 0);

}  // namespace kv::mission
