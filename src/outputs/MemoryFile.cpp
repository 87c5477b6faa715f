#include "outputs/MemoryFile.h"

#include <cpl_vsi.h>
#include <fmt/format.h>

#include <atomic>

namespace kv::mission {
namespace {

std::atomic<unsigned> number = 0;

}  // namespace

MemoryFile::MemoryFile(const std::string& extension)
    : name_(fmt::format("/vsimem/kvmission-{}{}", number++, extension)) {}

MemoryFile::~MemoryFile() { VSIUnlink(name_.c_str()); }

std::string MemoryFile::Content() const {
  vsi_l_offset size = 0;
  const GByte* bytes = VSIGetMemFileBuffer(name_.c_str(), &size, false);
  return {reinterpret_cast<const char*>(bytes), bytes ? std::size_t{size} : 0};
}

}  // namespace kv::mission
