#include <gtest/gtest.h>

#include <exception>
#include <filesystem>

#include "../fuzz/Targets.h"
#include "photos/PhotoReplacement.h"

namespace {

// What the fuzzer starts from and has found: nothing but what a target expects may leave it.
TEST(Corpus, TargetsSurviveEveryFile) {
  for (const auto& [name, read] : fuzz::Targets()) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(CORPUS_FOLDER) / name)) {
      ++files;
      try {
        read({kv::mission::ReadWhole(entry.path()), entry.path()});
      } catch (const std::exception& fault) {
        ADD_FAILURE() << entry.path() << ": " << fault.what();
      }
    }
    EXPECT_GT(files, 0) << name;
  }
}

}  // namespace
