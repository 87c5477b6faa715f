#include <opencv2/core/utility.hpp>

#include "KVUtilities.h"
#include "base/ErrorText.h"
#include "georef/EventTypes.h"
#include "photos/Sharpness.h"

namespace {

constexpr const wchar_t* kUnexpectedBatchError = L"Unexpected error computing Photo Sharpness Factors.";

}  // namespace

double KVUtilities::ComputeImageSharpnessFactor(std::wstring path, std::wstring& error) {
  return kv::SharpnessOfFile(path, error);
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
