#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv {

/// The photos of a drone's folder by the number in their names, see docs/formats/drone-timestamps.md.
class NumberedPhotos {
 public:
  /// @param folder  its subfolders are not looked at; a missing one, and an empty text, has no photos
  explicit NumberedPhotos(const std::wstring& folder);

  /// Folder, one backslash and the name of the best photo with a number that is a file, links followed; empty when there
  /// is none.
  std::wstring PathOf(std::int64_t number) const;

 private:
  struct Photo {
    std::int64_t number;
    int rank;
    std::wstring name;
  };

  std::wstring folder_;        // without a separator at its end
  std::vector<Photo> photos_;  // by number, the best first
};

}  // namespace kv
