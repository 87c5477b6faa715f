#pragma once

#include <cpl_error.h>

namespace kv {

/// Keeps messages of GDAL and PROJ in this thread off standard error during its lifetime. Nesting is free.
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
