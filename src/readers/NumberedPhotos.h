#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv {

/// A drone's photos by the number in their names. See docs/formats/drone-timestamps.md.
class NumberedPhotos {
 public:
  /// @param folder  searched without its subfolders; a missing folder or an empty text gives no photos
  explicit NumberedPhotos(const std::wstring& folder);

  /// Folder, one backslash and the name of the best photo with this number that is a file or a link to one; empty when
  /// there is none.
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
