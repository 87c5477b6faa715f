#pragma once

#include <string>

/// Parts of JPEG files.
inline std::string Segment(unsigned char marker, const std::string& content) {
  const std::size_t length = content.size() + 2;
  return std::string{'\xFF', static_cast<char>(marker), static_cast<char>(length >> 8), static_cast<char>(length)} +
         content;
}

/// A frame of 640 x 480 pixels.
inline std::string Frame(int channels) {
  return Segment(0xC0, std::string("\x08\x01\xE0\x02\x80", 5) + static_cast<char>(channels) + "111");
}
