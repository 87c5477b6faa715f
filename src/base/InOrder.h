#pragma once

#include <algorithm>
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

/// The number of threads asked for, or of processors if that is 0.
inline unsigned ThreadsFor(unsigned jobs) {
  const unsigned processors = std::thread::hardware_concurrency();
  constexpr unsigned kMost = 1024;
  return jobs > 0 ? std::min(jobs, kMost) : processors > 0 ? processors : 1;
}

/// Threads that take work in the order in which it is given, and start when it comes. Work that has not begun when they
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
  /// The first thread must start; after that, fewer than wanted will do.
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

/// Ordered parallel map: workers run `make`; `next` and `take` run on the calling thread, so that a stop ends a read that
/// waits. At most threads + 4 things are in flight. A single thread is the calling one.
/// @param next  returns an optional: what the next thing is made of, nothing at the end
/// @param make  makes a thing of it; called in several threads at once
/// @param take  receives the things in the order of `next`; false ends the map and drops the rest
/// @throws what one of them throws
template <typename Next, typename Make, typename Take>
void MakeInOrder(unsigned threads, Next next, Make make, Take take) {
  using Thing = std::invoke_result_t<Make, typename std::invoke_result_t<Next>::value_type>;
  if (threads <= 1) {
    for (auto material = next(); material; material = next()) {
      if (!take(make(*std::move(material)))) return;
    }
    return;
  }
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
