#pragma once

#include <cstdlib>

/// The size of a randomised test: some seconds' worth, or the full size when KVUTILITIES_FULL_TESTS is set, as
/// `scripts/test.sh --full` does.
template <class Count = int>
Count TestSize(Count usual, Count full) {
  return std::getenv("KVUTILITIES_FULL_TESTS") ? full : usual;
}
