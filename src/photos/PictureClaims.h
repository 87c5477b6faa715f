#pragma once

#include <filesystem>

namespace kv::mission {

/// Refuses a picture before memory is taken for it, by the size that its header claims.
/// @throws Failure  for a pipe or a device; when a JPEG, PNG, TIFF, BMP or WebP claims more pixels, or so many that its file cannot be a photo
///                  of this size. Other kinds and files that cannot be read pass: their decoder has a limit of its own.
void RefuseHugePicture(const std::filesystem::path& path, double mostMegapixels);

}  // namespace kv::mission
