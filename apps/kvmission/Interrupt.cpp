#include "Interrupt.h"

#include <csignal>

#include "Failure.h"
#include "System.h"

namespace kv::mission {
namespace {

volatile std::sig_atomic_t interrupted = 0;

}  // namespace

void CatchInterrupts() {
  InstallInterruptHandler([](int) { interrupted = 1; });
}

bool Interrupted() { return interrupted != 0; }

void ThrowIfInterrupted() {
  if (Interrupted()) throw Failure("interrupted", ExitCode::Interrupted);
}

}  // namespace kv::mission
