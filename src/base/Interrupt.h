#pragma once

namespace kv::mission {

/// From here on Ctrl-C and a request to terminate no longer end the process at once but at the next look below.
void CatchInterrupts();

bool Interrupted();

/// @throws Failure with the exit code 130 after an interrupt
void ThrowIfInterrupted();

}  // namespace kv::mission
