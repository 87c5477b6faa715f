#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/TempFolder.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

/// @return  exit code of a line for the system's shell
inline int System(const std::string& line) {
#if defined(_WIN32)
  return std::system(('"' + line + '"').c_str());  // its shell takes away the outer quotes
#else
  const int status = std::system(line.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

/// Runs the command of this build in a folder.
/// @param arguments  in words of any system's shell: quotes are double
inline int RunIn(const TempFolder& folder, const std::string& arguments) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.Path());
  const int code = System("\"" KVMISSION_PROGRAM "\" " + arguments);
  std::filesystem::current_path(before);
  return code;
}

/// Runs scripts of a POSIX shell in a folder of their own. The variable KVMISSION_PROGRAM names another command, in the
/// words of the shell, such as one of a build for Windows and what runs it.
class CommandTest : public testing::Test {
 protected:
  void SetUp() final {
#if defined(_WIN32)
    GTEST_SKIP() << "needs a POSIX shell";
#else
    Prepare();
#endif
  }
  virtual void Prepare() {}

  using Json = nlohmann::json;

  struct Row {
    std::string script;
    int code;
    std::string said;  // part of what is on standard error
  };

  /// @param script  shell commands, with kvmission as $K; their output goes to the files "out" and "err"
  /// @return        exit code of the last one
  int Shell(const std::string& script) { return ShellIn(temp_, script); }
  std::string Errors() { return temp_.Read("err"); }
  /// Whether the command is one of Windows.
  static bool IsUnderWine() { return std::getenv("KVMISSION_PROGRAM") != nullptr; }
  /// A path in the folder as the command writes it.
  std::string Written(const std::string& name) const {
    std::string path = (temp_.Path() / name).string();
    if (!IsUnderWine()) return path;
    std::replace(path.begin(), path.end(), '/', '\\');
    return "Z:" + path;
  }

  /// Runs each row in its own copy of the folder as it now stands. None may make a folder "u".
  void ExpectEach(const std::vector<Row>& rows) {
    namespace fs = std::filesystem;
    for (const auto& [script, code, said] : rows) {
      const auto takes = [&](const char* what) { return script.find(what) != script.npos; };
      if (IsUnderWine() && (takes("mkfifo") || takes("/dev/") || takes("ln -s"))) continue;  // files of POSIX
      const TempFolder copy;
      fs::copy(temp_.Path(), copy.Path(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
      EXPECT_EQ(ShellIn(copy, script), code) << script << '\n' << copy.Read("err");
      EXPECT_NE(copy.Read("err").find(said), std::string::npos) << script << '\n' << copy.Read("err");
      EXPECT_FALSE(fs::exists(copy.Path() / "u")) << script;
    }
  }

  Json Summary(const std::string& folder = "o") const { return Json::parse(temp_.Read(folder + "/summary.json")); }
  /// @return null for a layer that the summary does not name
  static Json LayerOf(const Json& summary, const std::string& name) {
    const Json& layers = summary["layers"];
    const auto found =
        std::find_if(layers.begin(), layers.end(), [&](const Json& layer) { return layer["name"] == name; });
    return found == layers.end() ? Json() : *found;
  }
  static std::size_t CountOf(const Json& summary, const std::string& code) {
    const Json& all = summary["findings"];
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [&](const Json& finding) { return finding["code"] == code; }));
  }

  TempFolder temp_;

 private:
  static int ShellIn(const TempFolder& place, const std::string& script) {
    const std::string folder = place.Path().string();
    const char* other = std::getenv("KVMISSION_PROGRAM");
    const std::string program = other ? other : KVMISSION_PROGRAM;
    place.Write("script", "cd '" + folder + "'\nK='" + program + "'\n" + script + "\n");
    return System("sh '" + folder + "/script' > '" + folder + "/out' 2> '" + folder + "/err'");
  }
};
