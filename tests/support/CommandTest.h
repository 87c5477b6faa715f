#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "support/TempFolder.h"

/// A folder in which the command runs.
class CommandTest : public testing::Test {
 protected:
  /// @param script  shell commands with kvmission as $K; what they write is in the files "out" and "err"
  /// @return        exit code of the last one
  int Shell(const std::string& script) {
    const std::string folder = temp_.Path().string();
    temp_.Write("script", "cd '" + folder + "'\nK='" KVMISSION_PROGRAM "'\n" + script + "\n");
    const int status =
        std::system(("sh '" + folder + "/script' > '" + folder + "/out' 2> '" + folder + "/err'").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string Errors() { return temp_.Read("err"); }

  TempFolder temp_;
};
