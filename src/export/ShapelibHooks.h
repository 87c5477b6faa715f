#pragma once

#include <shapefil.h>

#include "export/BufferedFile.h"

namespace kv {

/// Hooks that make shapelib write through `BufferedFile` and take names in UTF-8. Its messages are not printed.
SAHooks BufferedHooks();

BufferedFile& FileBehind(SAFile file);

/// Whether a hook failed, or shapelib complained, in this thread since the last `ForgetHookFailure`. shapelib's closing
/// calls return nothing, and its hooks have no context.
bool HasHookFailed();
void ForgetHookFailure();

}  // namespace kv
