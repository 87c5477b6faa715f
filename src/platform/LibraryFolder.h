#pragma once

#include <filesystem>

namespace kv {

/// The folder of the library that holds this code, or of the program; empty when not known. Not for Windows.
std::filesystem::path LibraryFolder();

}  // namespace kv
