#include "photos/Thumbnail.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <vector>

#include "photos/BoxFilter.h"
#include "photos/Codecs.h"
#include "photos/ExifBlock.h"
#include "photos/JpegHeader.h"
#include "photos/PictureClaims.h"
#include "photos/PictureFile.h"

namespace kv::mission {
namespace {

constexpr int kQuality = 70;
constexpr double kMostMegapixels = 268;

int OrientationIn(const JpegHeader& header) {
  constexpr int kUpright = 1, kMost = 8;
  const ExifPtr exif = ReadExif(header.exif);
  const ExifEntry* entry = exif ? exif_content_get_entry(exif->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION) : nullptr;
  if (!entry || entry->format != EXIF_FORMAT_SHORT || entry->size < 2) return kUpright;
  const int orientation = exif_get_short(entry->data, exif_data_get_byte_order(exif.get()));
  return orientation >= kUpright && orientation <= kMost ? orientation : kUpright;
}

void TurnUpright(cv::Mat& picture, int orientation) {
  constexpr int kNone = 2, kFlips[] = {kNone, 1, -1, 0, kNone, 1, -1, 0};  // for cv::flip, after the transposition
  if (orientation >= 5) cv::transpose(picture, picture);
  if (const int flip = kFlips[orientation - 1]; flip != kNone) cv::flip(picture, picture, flip);
}

}  // namespace

int OrientationOf(const std::filesystem::path& photo) {
  const auto header = ReadJpegHeader(photo);
  return header ? OrientationIn(*header) : 1;
}

std::string ThumbnailOf(cv::Mat small, int orientation) {
  TurnUpright(small, orientation);
  std::vector<unsigned char> bytes;
  if (!Codecs().encode(".jpg", small, bytes, {cv::IMWRITE_JPEG_QUALITY, kQuality})) throw std::bad_alloc();
  return {bytes.begin(), bytes.end()};
}

std::string ThumbnailOfFile(const std::filesystem::path& photo) try {
  const auto header = ReadJpegHeader(photo);
  if (!header || header->width == 0) return {};
  CheckPicture(photo, kMostMegapixels);
  const int side = std::max(header->width, header->height);
  const int flags = side >= 8 * kThumbnailSide   ? cv::IMREAD_REDUCED_COLOR_8
                    : side >= 4 * kThumbnailSide ? cv::IMREAD_REDUCED_COLOR_4
                    : side >= 2 * kThumbnailSide ? cv::IMREAD_REDUCED_COLOR_2
                                                 : cv::IMREAD_COLOR;
  const cv::Mat picture = ReadPicture(photo, flags | cv::IMREAD_IGNORE_ORIENTATION);
  BoxFilter filter(picture.size(), kThumbnailSide);
  filter.Add(picture);
  return ThumbnailOf(filter.Result(), OrientationIn(*header));
} catch (const std::bad_alloc&) {
  throw;
} catch (const CodecsMissing&) {
  throw;
} catch (const std::exception&) {
  return {};
}

}  // namespace kv::mission
