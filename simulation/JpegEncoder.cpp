#include "simulation/JpegEncoder.h"

#include <cstdlib>
#include <stdexcept>

namespace kv::simulation {
namespace {

constexpr int kChannels = 3;
constexpr int kQuality = 85;

}  // namespace

JpegEncoder::JpegEncoder(int width, int height) : row_(static_cast<std::size_t>(width) * kChannels) {
  compressor_.err = jpeg_std_error(&errors_.base);
  errors_.base.error_exit = OnError;
  if (setjmp(errors_.escape)) {
    jpeg_destroy_compress(&compressor_);
    throw std::runtime_error(errors_.text);
  }
  jpeg_create_compress(&compressor_);
  compressor_.image_width = static_cast<JDIMENSION>(width);
  compressor_.image_height = static_cast<JDIMENSION>(height);
  compressor_.input_components = kChannels;
  compressor_.in_color_space = JCS_RGB;
  jpeg_set_defaults(&compressor_);
  jpeg_set_quality(&compressor_, kQuality, TRUE);
}

JpegEncoder::~JpegEncoder() {
  jpeg_destroy_compress(&compressor_);
  std::free(output_);
}

void JpegEncoder::OnError(j_common_ptr compressor) {
  auto* errors = reinterpret_cast<ErrorHandler*>(compressor->err);
  errors->base.format_message(compressor, errors->text);
  std::longjmp(errors->escape, 1);
}

std::span<const unsigned char> JpegEncoder::Encode(const RowSource& source, std::span<const unsigned char> exif) {
  std::free(output_);
  output_ = nullptr;
  if (!Compress(source, exif)) throw std::runtime_error(errors_.text);
  return {output_, outputSize_};
}

/// Must hold no object with a destructor: an error in the compressor jumps out with longjmp.
bool JpegEncoder::Compress(const RowSource& source, std::span<const unsigned char> exif) {
  if (setjmp(errors_.escape)) {
    jpeg_abort_compress(&compressor_);
    return false;
  }
  jpeg_mem_dest(&compressor_, &output_, &outputSize_);
  compressor_.write_JFIF_header = exif.empty() ? TRUE : FALSE;
  jpeg_start_compress(&compressor_, TRUE);
  if (!exif.empty()) jpeg_write_marker(&compressor_, JPEG_APP0 + 1, exif.data(), static_cast<unsigned>(exif.size()));
  while (compressor_.next_scanline < compressor_.image_height) {
    source(static_cast<int>(compressor_.next_scanline), row_);
    JSAMPROW row = row_.data();
    jpeg_write_scanlines(&compressor_, &row, 1);
  }
  jpeg_finish_compress(&compressor_);
  return true;
}

}  // namespace kv::simulation
