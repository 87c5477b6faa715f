#pragma once

#include <csetjmp>
#include <cstdio>
#include <functional>
#include <span>
#include <vector>

#include <jpeglib.h>  // needs FILE and size_t from the headers above

namespace kv::simulation {

/// Encodes pictures of one size one after another, reusing the compressor.
class JpegEncoder {
 public:
  JpegEncoder(int width, int height);
  ~JpegEncoder();
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  /// Fills row `number`, counted from 0, with red, green and blue bytes. Must not throw.
  using RowSource = std::function<void(int number, std::span<unsigned char> row)>;

  /// @param exif  content of the EXIF segment; empty for a file without one
  /// @return      the file's bytes, valid until the next call
  /// @throws      std::runtime_error with the compressor's message
  std::span<const unsigned char> Encode(const RowSource& source, std::span<const unsigned char> exif);

 private:
  struct ErrorHandler {
    jpeg_error_mgr base;  // first: OnError casts the compressor's pointer to it
    std::jmp_buf escape;
    char text[JMSG_LENGTH_MAX];
  };
  [[noreturn]] static void OnError(j_common_ptr compressor);

  bool Compress(const RowSource& source, std::span<const unsigned char> exif);

  jpeg_compress_struct compressor_{};
  ErrorHandler errors_{};
  std::vector<unsigned char> row_;
  unsigned char* output_ = nullptr;
  unsigned long outputSize_ = 0;
};

}  // namespace kv::simulation
