#include <opencv2/core/utility.hpp>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "georef/EventTypes.h"
#include "photos/Sharpness.h"
#include "platform/FileNames.h"

namespace {

// Two blanks after the colon, deliberately. The path follows.
constexpr const wchar_t* kNoFile = L"Computing Sharpness Error:  File does not exist:\n\n";
constexpr const wchar_t* kUnexpectedError = L"Unexpected error computing sharpness factor for file: \n\n";
constexpr const wchar_t* kUnexpectedBatchError = L"Unexpected error computing Photo Sharpness Factors.";

}  // namespace

double KVUtilities::ComputeImageSharpnessFactor(std::wstring path, std::wstring& error) try {
  error.clear();
  if (!kv::FileSize(path)) {
    error = kNoFile + path;
    return 0.0;
  }
  return kv::GradeFile(kv::NativePath(path)).sharpness;
} catch (...) {
  error = kUnexpectedError + path;
  return 0.0;
}

bool KVUtilities::PopulatePhotoSharpnessFactors(std::vector<tagKVSystemEvent>& events, std::wstring& error) try {
  error.clear();
  cv::setUseOptimized(true);
  for (tagKVSystemEvent& event : events) {
    // Each photo empties `error`, on purpose: callers get the message about the last one.
    if (event.Type == kv::kCameraEvent) {
      event.Sharpness = ComputeImageSharpnessFactor(event.PhotoPath.GetString(), error);
    }
  }
  return true;
} catch (...) {
  kv::Report(error, kUnexpectedBatchError);
  return false;
}
