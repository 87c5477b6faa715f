#pragma once

#include <shapefil.h>

#include "export/BufferedFile.h"

namespace kv {

/// Hooks that make shapelib write through `BufferedFile` and take names in UTF-8. Its messages are not printed.
SAHooks BufferedHooks();

const BufferedFile& FileBehind(SAFile file);

/// shapelib's closing calls return nothing, and its hooks know no context: what fails inside them, and every complaint
/// of shapelib, stays on record for the thread until it is forgotten.
bool HasHookFailed();
void ForgetHookFailure();

}  // namespace kv
