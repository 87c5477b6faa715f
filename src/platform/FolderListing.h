#pragma once

#include <string>
#include <vector>

/// Lists files like a search for `folder` followed by "*": the part after the last separator of `folder` is a prefix of
/// the names listed, and every path is `folder` directly followed by the whole entry name. The prefix ignores letter
/// case where file names do.
/// @param folder      ends with a separator to list a folder's content
/// @param extensions  with their point; a file is kept when its extension equals one exactly, case included
/// @param recurse     also lists subfolders, each as its own path and a separator
/// @param files       the paths are appended in name order, ignoring the case of Latin-1, Greek and Cyrillic letters
/// @return            false when the folder cannot be listed
bool GetFilesInFolder(const std::wstring& folder, const std::vector<std::wstring>& extensions, bool recurse,
                      std::vector<std::wstring>& files);
