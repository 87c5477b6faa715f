#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>

#include "Measures.h"

/// A receiver's log at 10 Hz: GGA sentences from midnight on.
class GgaFile {
 public:
  explicit GgaFile(int lines) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path_.c_str(), "wb"), std::fclose);
    for (int i = 0; i < lines; ++i) {
      char text[128];
      std::snprintf(text, sizeof text, "GPGGA,%02d%02d%02d.%d0,4807.%05d,N,01131.%05d,E,4,12,0.8,%d.123,M,46.900,M,,",
                    i / 36'000 % 24, i / 600 % 60, i / 10 % 60, i % 10, i % 100'000, 99'999 - i % 100'000,
                    500 + i % 97);
      unsigned checksum = 0;
      for (const char* at = text; *at; ++at) checksum ^= static_cast<unsigned char>(*at);
      std::fprintf(file.get(), "$%s*%02X\r\n", text, checksum);
    }
  }
  const std::filesystem::path& Path() const { return path_; }

 private:
  ScratchFolder folder_;
  std::filesystem::path path_ = folder_ / "fixes.nmea";
};
