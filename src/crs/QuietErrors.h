#pragma once

#include <cpl_error.h>

namespace kv {

/// While one lives, what GDAL and PROJ have to say in this thread stays off standard error. One inside another costs
/// nothing.
class QuietErrors {
 public:
  QuietErrors() {
    if (alive_++ == 0) CPLPushErrorHandler(CPLQuietErrorHandler);
  }
  ~QuietErrors() {
    if (--alive_ == 0) CPLPopErrorHandler();
  }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  inline static thread_local int alive_ = 0;
};

}  // namespace kv
