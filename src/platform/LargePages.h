#pragma once

#include <cstddef>
#include <vector>

namespace kv {

/// Requests large pages for memory that will be filled from start to end: the system then maps 2 MiB at a time instead
/// of 4 KiB, at a fraction of the cost. A hint only; without large pages nothing changes.
/// @param bytes  expected to be used; what is never touched costs nothing. Below 4 MiB nothing is requested
void PreferLargePages(void* memory, std::size_t bytes);

/// Reserves room for records that are expected.
/// @param spare  more than expected: takes no memory until it is used
template <class Record>
void ReserveInLargePages(std::vector<Record>& records, std::size_t expected, std::size_t spare = 0) {
  records.reserve(expected + spare);
  PreferLargePages(records.data(), expected * sizeof(Record));
}

}  // namespace kv
