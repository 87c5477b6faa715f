#include "pictures/Grading.h"

#include <KVUtilities.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "InOrder.h"
#include "Interrupt.h"
#include "Progress.h"
#include "System.h"

namespace kv::mission {
namespace {

/// Of the library's sentences the path stands in the last line.
std::string FirstLine(std::string sentence) {
  sentence.resize(std::min(sentence.find('\n'), sentence.size()));
  sentence.erase(sentence.find_last_not_of(": ") + 1);
  return sentence;
}

/// Several threads that take the next photo each until none is left.
class Graders {
 public:
  explicit Graders(const std::vector<std::wstring>& paths) : paths_(paths), grades_(paths.size()) {}

  /// The first thread must start; fewer than wanted then do.
  void Start(std::size_t threads) {
    for (std::size_t i = 0; i < threads; ++i) {
      try {
        threads_.emplace_back([this] { Work(); });
        const std::lock_guard lock(mutex_);
        ++working_;
      } catch (const std::system_error&) {
        if (threads_.empty()) throw;
        break;
      }
    }
  }

  /// @throws what a thread threw; Failure after an interrupt
  std::vector<Grade> Finish(Progress& progress) {
    constexpr std::chrono::milliseconds kBetweenLooks{100};
    std::unique_lock lock(mutex_);
    while (finished_ < working_) {
      change_.wait_for(lock, kBetweenLooks);
      progress.Show(done_, paths_.size());
    }
    lock.unlock();
    threads_.clear();
    if (failure_) std::rethrow_exception(failure_);
    ThrowIfInterrupted();
    return std::move(grades_);
  }

 private:
  void Work() noexcept {
    std::exception_ptr failure;
    try {
      for (std::size_t i = next_++; i < paths_.size() && !Interrupted(); i = next_++) {
        grades_[i] = GradeOf(paths_[i]);
        ++done_;
      }
    } catch (...) {
      failure = std::current_exception();
      next_ = paths_.size();
    }
    const std::lock_guard lock(mutex_);
    if (failure) failure_ = failure;
    ++finished_;
    change_.notify_one();
  }

  static Grade GradeOf(const std::wstring& path) {
    std::wstring error;
    const double sharpness = KVUtilities::ComputeImageSharpnessFactor(path, error);
    return {sharpness, FirstLine(Utf8(error))};
  }

  const std::vector<std::wstring>& paths_;
  std::vector<Grade> grades_;  // each element is written by one thread
  std::atomic<std::size_t> next_ = 0, done_ = 0;
  std::mutex mutex_;
  std::condition_variable change_;
  std::size_t working_ = 0, finished_ = 0;
  std::exception_ptr failure_;
  std::vector<std::jthread> threads_;  // last: they end before the rest does
};

}  // namespace

std::vector<Grade> GradePhotos(const std::vector<std::wstring>& paths, unsigned jobs, const Log& log) {
  if (paths.empty()) return {};
  Progress progress(log.ShowsProgress(), "grading", "photos");
  Graders graders(paths);
  graders.Start(std::min<std::size_t>(ThreadsFor(jobs), paths.size()));
  return graders.Finish(progress);
}

}  // namespace kv::mission
