#pragma once

#include <string>
#include <vector>

/// Lists files as a search for `folder` followed by "*" does: what stands after the last separator of `folder` is a
/// prefix of the names listed, and every path is `folder` followed by the whole entry name, nothing between. The prefix
/// ignores letter case where file names do.
/// @param folder      ends with a separator to list a folder's content
/// @param extensions  with their point; a file is kept when its extension equals one exactly, case included
/// @param recurse     also lists the folders met, each as its own path and a separator
/// @param files       receives the paths, after what it already holds, in name order: the case of Latin-1, Greek and
///                    Cyrillic letters is ignored
/// @return            false when the folder cannot be listed
bool GetFilesInFolder(const std::wstring& folder, const std::vector<std::wstring>& extensions, bool recurse,
                      std::vector<std::wstring>& files);
