#include "photos/JpegDamage.h"

#include <csetjmp>
#include <cstdint>
#include <cstdio>

#include <jpeglib.h>  // takes FILE and size_t from above

namespace kv::mission {
namespace {

struct ErrorHandler {
  jpeg_error_mgr base;  // first: the decoder's pointer to it also points to the whole
  std::jmp_buf escape;
  char complaint[JMSG_LENGTH_MAX];
};

ErrorHandler& ErrorsOf(j_common_ptr decoder) { return *reinterpret_cast<ErrorHandler*>(decoder->err); }

[[noreturn]] void OnError(j_common_ptr decoder) {
  ErrorHandler& errors = ErrorsOf(decoder);
  errors.base.format_message(decoder, errors.complaint);
  std::longjmp(errors.escape, 1);
}

/// The decoder gives its warnings a level below 0. The first one is kept.
void OnMessage(j_common_ptr decoder, int level) {
  ErrorHandler& errors = ErrorsOf(decoder);
  if (level < 0 && errors.complaint[0] == '\0') errors.base.format_message(decoder, errors.complaint);
}

/// Must not hold an object with a destructor: an error in the decoder jumps out of this function.
void Decode(jpeg_decompress_struct& decoder, ErrorHandler& errors, std::string_view file) {
  if (setjmp(errors.escape)) return;
  jpeg_create_decompress(&decoder);
  jpeg_mem_src(&decoder, reinterpret_cast<const unsigned char*>(file.data()), static_cast<std::uint32_t>(file.size()));
  jpeg_read_header(&decoder, TRUE);
  errors.complaint[0] = '\0';  // warnings about the header, such as stray bytes, do not concern the picture
  decoder.scale_num = 1;
  decoder.scale_denom = 8;
  decoder.out_color_space = decoder.jpeg_color_space;
  jpeg_start_decompress(&decoder);
  const JDIMENSION width = decoder.output_width * static_cast<JDIMENSION>(decoder.output_components);
  JSAMPARRAY row = decoder.mem->alloc_sarray(reinterpret_cast<j_common_ptr>(&decoder), JPOOL_IMAGE, width, 1);
  while (decoder.output_scanline < decoder.output_height) jpeg_read_scanlines(&decoder, row, 1);
  jpeg_finish_decompress(&decoder);
}

}  // namespace

std::string JpegDamage(std::string_view file) {
  ErrorHandler errors{};
  jpeg_decompress_struct decoder{};
  decoder.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = OnError;
  errors.base.emit_message = OnMessage;
  Decode(decoder, errors, file);
  jpeg_destroy_decompress(&decoder);
  return errors.complaint;
}

}  // namespace kv::mission
