#pragma once

#include <string>

namespace kv::mission {

/// A file of GDAL's in memory, for what does not tell when the disk is full.
class MemoryFile {
 public:
  /// @param extension  ".qgz"
  explicit MemoryFile(const std::string& extension);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const std::string& Name() const { return name_; }  ///< for GDAL
  std::string Content() const;

 private:
  std::string name_;
};

}  // namespace kv::mission
