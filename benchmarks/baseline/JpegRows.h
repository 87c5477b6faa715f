#pragma once

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <jpeglib.h>

/// Decoding alone, as libjpeg-turbo does it.
namespace baseline {

/// Decodes a photo from its file, each row into the same buffer. @return the last byte of the last row
inline unsigned char DecodeRows(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) throw std::runtime_error(path + " cannot be read");
  jpeg_error_mgr errors;
  jpeg_decompress_struct decoder;
  decoder.err = jpeg_std_error(&errors);  // which ends the program: the photos are sound
  jpeg_create_decompress(&decoder);
  jpeg_stdio_src(&decoder, file.get());
  jpeg_read_header(&decoder, TRUE);
  decoder.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&decoder);
  std::vector<unsigned char> row(std::size_t{3} * decoder.output_width);
  unsigned char* rows[] = {row.data()};
  while (decoder.output_scanline < decoder.output_height) jpeg_read_scanlines(&decoder, rows, 1);
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  return row.back();
}

}  // namespace baseline
