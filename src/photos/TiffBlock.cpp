#include "photos/TiffBlock.h"

#include <KVMission.h>

#include <array>

namespace kv::mission {
namespace {

using KVMission::Failure;

constexpr std::size_t kHeader = 8, kEntry = 12, kInline = 4;  // bytes

/// Bytes of a value, by its type's number; 0 where there is no such type.
constexpr std::array<std::size_t, 14> kTypeBytes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
constexpr std::uint16_t kUtf8 = 129;  // since EXIF 3.0

std::size_t BytesOf(std::uint16_t type) { return type == kUtf8 ? 1 : type < kTypeBytes.size() ? kTypeBytes[type] : 0; }

[[noreturn]] void Fail() { throw Failure("its EXIF data cannot be read"); }

}  // namespace

std::string TiffNumber(std::uint32_t value, std::size_t bytes, bool isBigEndian) {
  std::string number;
  for (std::size_t i = 0; i < bytes; ++i) {
    const std::size_t shift = 8 * (isBigEndian ? bytes - 1 - i : i);
    number += static_cast<char>(static_cast<unsigned char>(value >> shift));
  }
  return number;
}

TiffBlock::TiffBlock(std::string bytes) : bytes_(std::move(bytes)), isBigEndian_(bytes_.starts_with("MM")) {
  if (bytes_.size() < kHeader || bytes_.size() > UINT32_MAX || (!isBigEndian_ && !bytes_.starts_with("II")) ||
      Short(2) != 42)
    Fail();
}

void TiffBlock::Check(std::size_t at, std::size_t length) const {
  if (at > bytes_.size() || length > bytes_.size() - at) Fail();
}

std::uint16_t TiffBlock::Short(std::size_t at) const {
  Check(at, 2);
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes_[at + i]); };
  return static_cast<std::uint16_t>(isBigEndian_ ? byte(0) << 8 | byte(1) : byte(1) << 8 | byte(0));
}

std::uint32_t TiffBlock::Long(std::size_t at) const {
  Check(at, 4);
  const std::uint32_t first = Short(at), second = Short(at + 2);
  return isBigEndian_ ? first << 16 | second : second << 16 | first;
}

void TiffBlock::SetLong(std::size_t at, std::uint32_t value) {
  Check(at, 4);
  bytes_.replace(at, 4, TiffNumber(value, 4, isBigEndian_));
}

std::vector<TiffEntry> TiffBlock::Directory(std::size_t at) const {
  std::vector<TiffEntry> entries;
  const std::size_t count = Short(at);
  Check(at, 2 + count * kEntry);
  for (std::size_t begin = at + 2; entries.size() < count; begin += kEntry) {
    TiffEntry entry{Short(begin), Short(begin + 2), Long(begin + 4), {}, begin + 8};
    const std::size_t unit = BytesOf(entry.type);
    if (unit == 0 || entry.count > bytes_.size() / unit) Fail();
    const std::size_t length = unit * entry.count;
    if (length > kInline) entry.at = Long(begin + 8);
    Check(entry.at, length);
    entry.value = bytes_.substr(entry.at, length);
    entries.push_back(std::move(entry));
  }
  return entries;
}

void TiffBlock::PadToEven() { bytes_.resize(bytes_.size() + bytes_.size() % 2); }

void TiffBlock::AddToFirstDirectory(std::uint16_t tag, std::uint32_t value) {
  const std::size_t old = FirstDirectory(), count = Short(old), end = old + 2 + count * kEntry;
  Check(old, 2 + count * kEntry + 4);
  if (count == UINT16_MAX) Fail();
  std::size_t next = old + 2;  // entries are ordered by tag
  while (next < end && Short(next) < tag) next += kEntry;
  const auto number = [&](std::size_t n, std::size_t bytes) {
    return TiffNumber(static_cast<std::uint32_t>(n), bytes, isBigEndian_);
  };
  const std::string directory = number(count + 1, 2) + bytes_.substr(old + 2, next - old - 2) + number(tag, 2) +
                                number(static_cast<std::size_t>(TiffType::Long), 2) + number(1, 4) + number(value, 4) +
                                bytes_.substr(next, end + 4 - next);
  PadToEven();
  SetLong(4, static_cast<std::uint32_t>(bytes_.size()));
  bytes_ += directory;
}

std::string TiffBlock::Written(const std::vector<TiffEntry>& entries, std::size_t at) const {
  const auto number = [&](std::size_t n, std::size_t bytes) {
    return TiffNumber(static_cast<std::uint32_t>(n), bytes, isBigEndian_);
  };
  std::string directory = number(entries.size(), 2), values;
  const std::size_t valuesAt = at + 2 + entries.size() * kEntry + 4;
  for (const TiffEntry& entry : entries) {
    directory += number(entry.tag, 2) + number(entry.type, 2) + number(entry.count, 4);
    if (entry.value.size() <= kInline) {
      directory += entry.value + std::string(kInline - entry.value.size(), '\0');
    } else {
      directory += number(valuesAt + values.size(), 4);
      values += entry.value;
      if (values.size() % 2 != 0) values += '\0';
    }
  }
  return directory + number(0, 4) + values;  // without a next directory
}

std::uint32_t TiffBlock::Append(const std::vector<TiffEntry>& entries) {
  PadToEven();
  const std::size_t at = bytes_.size();
  bytes_ += Written(entries, at);
  return static_cast<std::uint32_t>(at);
}

void TiffBlock::RemoveLast(std::size_t at) {
  if (at >= kHeader && bytes_.compare(at, std::string::npos, Written(Directory(at), at)) == 0) bytes_.resize(at);
}

}  // namespace kv::mission
