#pragma once

#include <condition_variable>
#include <exception>
#include <future>
#include <mutex>
#include <queue>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace kv::mission {

/// As many threads as asked for, or as there are processors.
inline unsigned ThreadsFor(unsigned jobs) {
  const unsigned processors = std::thread::hardware_concurrency();
  return jobs > 0 ? jobs : processors > 0 ? processors : 1;
}

/// Threads that take up work in the order in which it is given to them, started as it comes. What is not begun at their
/// end is dropped.
template <typename Thing>
class Workers {
 public:
  explicit Workers(unsigned most) : most_(most) {}
  ~Workers() {
    const std::lock_guard lock(mutex_);
    isEnd_ = true;
    changed_.notify_all();
  }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  std::future<Thing> Begin(std::packaged_task<Thing()> task) {
    if (threads_.size() < most_) StartOne();
    std::future<Thing> thing = task.get_future();
    const std::lock_guard lock(mutex_);
    tasks_.push(std::move(task));
    changed_.notify_one();
    return thing;
  }

 private:
  /// The first thread must start; fewer than wanted then do as well.
  void StartOne() {
    try {
      threads_.emplace_back([this] { Work(); });
    } catch (const std::exception&) {
      if (threads_.empty()) throw;
    }
  }

  void Work() {
    for (;;) {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return isEnd_ || !tasks_.empty(); });
      if (isEnd_) return;
      std::packaged_task<Thing()> task = std::move(tasks_.front());
      tasks_.pop();
      lock.unlock();
      task();  // what it throws, the future passes on
    }
  }

  const unsigned most_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::queue<std::packaged_task<Thing()>> tasks_;
  bool isEnd_ = false;
  std::vector<std::jthread> threads_;  // last: they end before the rest does
};

/// Makes things in several threads and hands them over in the order of what they are made of. At most a thing for each
/// thread and four more are begun or wait.
/// @param next  gives an optional: what the next thing is made of, nothing at the end; called in this thread, so that an
///              interrupt ends a read that waits
/// @param make  makes a thing of it; called in several threads at once
/// @param take  called in this thread with each thing; false ends it all, what is made by then is dropped
/// @throws what one of them throws
template <typename Next, typename Make, typename Take>
void MakeInOrder(unsigned threads, Next next, Make make, Take take) {
  using Thing = std::invoke_result_t<Make, typename std::invoke_result_t<Next>::value_type>;
  const std::size_t most = std::size_t{4} + threads;
  std::queue<std::future<Thing>> begun;
  Workers<Thing> workers(threads);
  for (bool isEnd = false;;) {
    if (!isEnd && begun.size() < most) {
      auto material = next();
      isEnd = !material;
      if (isEnd) continue;
      begun.push(workers.Begin(std::packaged_task<Thing()>(
          [&make, material = *std::move(material)]() mutable { return make(std::move(material)); })));
    } else if (begun.empty()) {
      return;
    } else {
      std::future<Thing> oldest = std::move(begun.front());
      begun.pop();
      if (!take(oldest.get())) return;
    }
  }
}

}  // namespace kv::mission
