#pragma once

#include <cpl_error.h>

namespace kv {

/// While it lives, what GDAL and PROJ have to say in this thread stays off standard error.
class QuietErrors {
 public:
  QuietErrors() { CPLPushErrorHandler(CPLQuietErrorHandler); }
  ~QuietErrors() { CPLPopErrorHandler(); }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;
};

}  // namespace kv
