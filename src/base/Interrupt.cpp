#include "base/Interrupt.h"

#include <atomic>

#include "base/Failure.h"
#include "platform/System.h"

namespace kv::mission {
namespace {

/// Set by the signal handler, which may run in any thread.
std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

void CatchInterrupts() {
  InstallInterruptHandler([](int) { interrupted = true; });
}

bool Interrupted() { return interrupted; }

void ThrowIfInterrupted() {
  if (Interrupted()) throw Failure("interrupted", ExitCode::Interrupted);
}

}  // namespace kv::mission
