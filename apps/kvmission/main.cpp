#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>

#include "commands/Commands.h"
#include "terminal/Console.h"

namespace {

using kv::command::ExitCode;

ExitCode Run(int argc, char** argv) {
  CLI::App app;
  ExitCode exitCode = ExitCode::Good;
  kv::command::AddCommands(app, exitCode);
  auto arguments = kv::command::Arguments(argc, argv);
  std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    std::ostringstream complaint;
    const bool isGood = app.exit(error, std::cout, complaint) == 0;  // help that was asked for is not an error
    std::string lines = complaint.str();
    for (std::size_t begin = 0; begin < lines.size();) {  // line by line, so that line ends stay
      const std::size_t end = std::min(lines.find('\n', begin), lines.size());
      kv::command::ShowText(KVMission::Visible(lines.substr(begin, end - begin)) + '\n');
      begin = end + 1;
    }
    return isGood ? ExitCode::Good : ExitCode::WrongUsage;
  }
  return exitCode;
}

/// Results that did not reach their reader are not a success.
ExitCode Flushed(ExitCode exitCode) {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return exitCode;
  kv::command::SayError("standard output: " + std::generic_category().message(errno));
  return ExitCode::Failed;
}

ExitCode Main(int argc, char** argv) {
  kv::command::SecureStandardStreams();
  kv::command::KeepFreedMemory();
  kv::command::FindGeodeticData();
  try {
    return Flushed(Run(argc, argv));
  } catch (const KVMission::Failure& failure) {
    kv::command::SayError(failure.what());
    return kv::command::CodeFor(failure.Why());
  } catch (const std::bad_alloc&) {
    std::fputs("kvmission: error: not enough memory\n", stderr);  // to format a message would take some
    return ExitCode::Failed;
  } catch (const std::exception& error) {
    kv::command::SayError(error.what());
    return ExitCode::Failed;
  }
}

}  // namespace

int main(int argc, char** argv) try {
  return static_cast<int>(Main(argc, argv));
} catch (const std::exception&) {  // of a message about an error
  std::fputs("kvmission: error: not enough memory\n", stderr);
  return static_cast<int>(ExitCode::Failed);
}
