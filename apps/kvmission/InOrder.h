#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <future>
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

/// Makes things in several threads and hands them over in the order of their numbers.
/// @param make  called with 0 to `count` - 1, in any thread
/// @param take  called in this thread with what `make` returned, in order; false ends it all, what is made by then is
///              dropped
/// @throws what either of them throws
template <typename Make, typename Take>
void MakeInOrder(std::size_t count, unsigned threads, Make make, Take take) {
  using Thing = std::invoke_result_t<Make, std::size_t>;
  std::vector<std::promise<Thing>> things(count);
  std::atomic<std::size_t> next = 0;
  const auto work = [&]() noexcept {
    for (std::size_t i = next++; i < count; i = next++) {
      try {
        things[i].set_value(make(i));
      } catch (...) {
        things[i].set_exception(std::current_exception());
      }
    }
  };
  std::vector<std::jthread> workers;
  const struct End {
    ~End() { number = count; }
    std::atomic<std::size_t>& number;
    std::size_t count;
  } end{next, count};  // goes before the workers, which then stop after what they have begun
  for (unsigned i = 0; i < threads && i < count; ++i) {
    try {
      workers.emplace_back(work);
    } catch (const std::system_error&) {  // fewer do as well
      if (workers.empty()) throw;
      break;
    }
  }
  for (auto& thing : things) {
    if (!take(thing.get_future().get())) return;
  }
}

}  // namespace kv::mission
