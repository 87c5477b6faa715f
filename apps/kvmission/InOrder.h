#pragma once

#include <condition_variable>
#include <exception>
#include <future>
#include <mutex>
#include <optional>
#include <queue>
#include <system_error>
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

/// Calls at the end of its scope.
template <typename Call>
struct AtExit {
  ~AtExit() { call(); }
  Call call;
};

/// Makes things in several threads and hands them over in the order of what they are made of. Threads run ahead of
/// `take` by a few things only.
/// @param next  gives an optional: what the next thing is made of, nothing at the end; called in one thread at a time
/// @param make  makes a thing of it; called in several threads at once
/// @param take  called in this thread with each thing; false ends it all, what is made by then is dropped
/// @throws what one of them throws
template <typename Next, typename Make, typename Take>
void MakeInOrder(unsigned threads, Next next, Make make, Take take) {
  using Material = typename std::invoke_result_t<Next>::value_type;
  using Thing = std::invoke_result_t<Make, Material>;
  constexpr unsigned kAheadOfEach = 4;

  std::mutex mutex;  // of all that follows
  std::condition_variable changed;
  std::queue<std::future<Thing>> begun;
  bool isEnd = false;

  const auto begin = [&](std::promise<Thing>& thing) -> std::optional<Material> {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return isEnd || begun.size() < kAheadOfEach * threads; });
    std::optional<Material> material;
    try {
      if (!isEnd) material = next();
      if (material) begun.push(thing.get_future());
    } catch (...) {
      thing.set_exception(std::current_exception());
      begun.push(thing.get_future());
    }
    isEnd = !material;
    changed.notify_all();
    return material;
  };
  const auto work = [&]() noexcept {
    for (;;) {
      std::promise<Thing> thing;
      std::optional<Material> material = begin(thing);
      if (!material) return;
      try {
        thing.set_value(make(*std::move(material)));
      } catch (...) {
        thing.set_exception(std::current_exception());
      }
    }
  };
  const auto oldest = [&]() -> std::future<Thing> {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return isEnd || !begun.empty(); });
    if (begun.empty()) return {};
    std::future<Thing> thing = std::move(begun.front());
    begun.pop();
    changed.notify_all();
    return thing;
  };

  std::vector<std::jthread> workers;
  const auto end = [&] {
    const std::lock_guard lock(mutex);
    isEnd = true;
    changed.notify_all();
  };
  const AtExit<decltype(end)> ending{end};  // before the workers: they stop after what they have begun
  for (unsigned i = 0; i < threads; ++i) {
    try {
      workers.emplace_back(work);
    } catch (const std::system_error&) {  // fewer do as well
      if (workers.empty()) throw;
      break;
    }
  }
  for (std::future<Thing> thing; (thing = oldest()).valid();) {
    if (!take(thing.get())) return;
  }
}

}  // namespace kv::mission
