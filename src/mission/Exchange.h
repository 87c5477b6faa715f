#pragma once

#include <filesystem>
#include <vector>

#include "base/Job.h"

/// Exchanges the results in a folder so that the next run can complete or undo an exchange that was killed.
namespace kv::mission {

/// The names that are exchanged.
struct ExchangedNames {
  std::vector<std::filesystem::path> earlier;  ///< what goes, in this order; may be missing
  std::vector<std::filesystem::path> staged;   ///< what comes, in this order; may be missing
};

/// Moves earlier results into a folder inside `staging`, then gives staged ones their names. Other files in `staging` are
/// removed. Both are on the disk when it returns.
/// @return whether anything was moved
/// @throws Failure when that cannot be done; what could be put back is in its place
bool ExchangeResults(const std::filesystem::path& folder, const std::filesystem::path& staging,
                     const ExchangedNames& names);

/// Removes what an exchange replaced, before the rest of `staging`: until it is gone, the new results are the valid ones.
void RemoveReplaced(const std::filesystem::path& staging);

/// Completes exchanges in a folder that a kill interrupted, or undoes those that had not begun to give names.
/// Others must not write into the folder.
/// @throws Failure when that cannot be done; nothing is lost
void RecoverResults(const std::filesystem::path& folder, Job& job);

}  // namespace kv::mission
