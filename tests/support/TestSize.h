#pragma once

#include <cstdlib>

/// The size of a randomised test: what takes seconds, or all of it when KVUTILITIES_FULL_TESTS is set, as
/// `scripts/test.sh --full` does.
inline int TestSize(int usual, int full) { return std::getenv("KVUTILITIES_FULL_TESTS") ? full : usual; }
