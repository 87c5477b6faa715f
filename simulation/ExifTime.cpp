#include "simulation/ExifTime.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>
#include <string>

#include <fmt/chrono.h>
#include <libexif/exif-data.h>

namespace kv::simulation {
namespace {

struct Release {
  void operator()(ExifData* data) const { exif_data_unref(data); }
  void operator()(ExifEntry* entry) const { exif_entry_unref(entry); }
  void operator()(ExifMem* memory) const { exif_mem_unref(memory); }
  void operator()(unsigned char* bytes) const { std::free(bytes); }
};
template <typename T>
using Owned = std::unique_ptr<T, Release>;

template <typename T>
Owned<T> Require(T* made) {
  if (!made) throw std::bad_alloc();
  return Owned<T>(made);
}

/// @param units  number of values that the entry holds
void AddEntry(ExifData& data, ExifTag tag, ExifFormat format, std::size_t units, std::span<const unsigned char> bytes) {
  const Owned<ExifMem> memory = Require(exif_mem_new_default());
  const Owned<ExifEntry> entry = Require(exif_entry_new_mem(memory.get()));
  entry->data = static_cast<unsigned char*>(exif_mem_alloc(memory.get(), static_cast<ExifLong>(bytes.size())));
  if (!entry->data) throw std::bad_alloc();
  std::copy(bytes.begin(), bytes.end(), entry->data);
  entry->tag = tag;
  entry->format = format;
  entry->components = static_cast<unsigned>(units);
  entry->size = static_cast<unsigned>(bytes.size());
  exif_content_add_entry(data.ifd[EXIF_IFD_EXIF], entry.get());
  if (!entry->parent) throw std::bad_alloc();
}

void AddText(ExifData& data, ExifTag tag, const std::string& text) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.c_str());
  AddEntry(data, tag, EXIF_FORMAT_ASCII, text.size() + 1, {bytes, text.size() + 1});
}

void AddNumber(ExifData& data, ExifTag tag, int number) {
  unsigned char bytes[4];
  exif_set_long(bytes, exif_data_get_byte_order(&data), static_cast<ExifLong>(number));
  AddEntry(data, tag, EXIF_FORMAT_LONG, 1, bytes);
}

}  // namespace

std::vector<unsigned char> ExifSegment(UtcTime time, int width, int height) {
  const Owned<ExifData> data = Require(exif_data_new());
  exif_data_set_byte_order(data.get(), EXIF_BYTE_ORDER_INTEL);
  AddText(*data, EXIF_TAG_DATE_TIME_ORIGINAL, fmt::format("{:%Y:%m:%d %H:%M:%S}", Calendar(time)));
  AddText(*data, EXIF_TAG_SUB_SEC_TIME_ORIGINAL, fmt::format("{:03}", Microsecond(time) / 1000));
  AddText(*data, EXIF_TAG_OFFSET_TIME_ORIGINAL, "+00:00");
  AddNumber(*data, EXIF_TAG_PIXEL_X_DIMENSION, width);
  AddNumber(*data, EXIF_TAG_PIXEL_Y_DIMENSION, height);

  unsigned char* bytes = nullptr;
  unsigned size = 0;
  exif_data_save_data(data.get(), &bytes, &size);
  const Owned<unsigned char> saved = Require(bytes);
  return {bytes, bytes + size};
}

}  // namespace kv::simulation
