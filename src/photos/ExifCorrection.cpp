#include "photos/ExifCorrection.h"

#include <KVMission.h>
#include <libexif/exif-data.h>

#include <cstdlib>
#include <memory>
#include <new>

namespace kv::mission {
namespace {

using KVMission::Failure;

struct Release {
  void operator()(ExifData* data) const { exif_data_unref(data); }
  void operator()(unsigned char* bytes) const { std::free(bytes); }
};

constexpr int kShownAsStored = 1;  // orientation: first row at the top, first column at the left

/// Stores a number in an existing entry, in the entry's own format. An entry of another format or count is removed:
/// some programs would read its old number.
void SetNumber(ExifData& data, ExifIfd directory, ExifTag tag, int number) {
  ExifEntry* entry = exif_content_get_entry(data.ifd[directory], tag);
  if (!entry) return;
  const ExifByteOrder order = exif_data_get_byte_order(&data);
  if (entry->format == EXIF_FORMAT_SHORT && entry->components == 1 && entry->size == 2) {
    exif_set_short(entry->data, order, static_cast<ExifShort>(number));
  } else if (entry->format == EXIF_FORMAT_LONG && entry->components == 1 && entry->size == 4) {
    exif_set_long(entry->data, order, static_cast<ExifLong>(number));
  } else {
    exif_content_remove_entry(data.ifd[directory], entry);
  }
}

void RemoveThumbnail(ExifData& data) {
  data.size = 0;
  ExifContent* directory = data.ifd[EXIF_IFD_1];
  while (directory->count > 0) exif_content_remove_entry(directory, directory->entries[directory->count - 1]);
}

bool HasEntries(const ExifData& data) {
  for (const ExifContent* directory : data.ifd) {
    if (directory->count > 0) return true;
  }
  return false;
}

}  // namespace

std::string CorrectedExif(std::string_view exif, int width, int height) {
  const std::unique_ptr<ExifData, Release> data(exif_data_new());
  if (!data) throw std::bad_alloc();
  // libexif shall neither drop the tags that it does not know nor repair anything.
  exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
  exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
  exif_data_load_data(data.get(), reinterpret_cast<const unsigned char*>(exif.data()),
                      static_cast<unsigned>(exif.size()));
  if (!HasEntries(*data)) throw Failure("its EXIF data cannot be read; the photo stays as it was");
  RemoveThumbnail(*data);
  SetNumber(*data, EXIF_IFD_0, EXIF_TAG_ORIENTATION, kShownAsStored);
  SetNumber(*data, EXIF_IFD_0, EXIF_TAG_IMAGE_WIDTH, width);
  SetNumber(*data, EXIF_IFD_0, EXIF_TAG_IMAGE_LENGTH, height);
  SetNumber(*data, EXIF_IFD_EXIF, EXIF_TAG_PIXEL_X_DIMENSION, width);
  SetNumber(*data, EXIF_IFD_EXIF, EXIF_TAG_PIXEL_Y_DIMENSION, height);
  unsigned char* bytes = nullptr;
  unsigned size = 0;
  exif_data_save_data(data.get(), &bytes, &size);
  const std::unique_ptr<unsigned char, Release> saved(bytes);
  if (!bytes) throw Failure("its EXIF data cannot be written; the photo stays as it was");
  return {reinterpret_cast<const char*>(bytes), size};
}

}  // namespace kv::mission
