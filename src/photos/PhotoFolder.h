#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "base/Job.h"

namespace kv::mission {

/// Lists the JPEG photos of a folder and finds out when they were taken. Hidden files are not photos.
/// @throws Failure when the folder cannot be listed; (Stopped)
PhotoFolder ReadPhotoFolder(const std::filesystem::path& path, int camera, Job& job);

/// "cam1/100DSC (110 JPEGs), ...": the folders below one, three levels deep, that hold photos; empty when none does.
std::string FoldersWithPhotos(const std::filesystem::path& folder);

/// The position of the file name in the path that the strict class gives to a photo of this folder.
std::size_t PhotoNameAt(const std::filesystem::path& folder);

/// Whether a name ends in .jpg or .jpeg, in any letter case.
bool HasPhotoExtension(const std::filesystem::path& path);

}  // namespace kv::mission
