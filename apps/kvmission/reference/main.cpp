// Writes the manual pages and the completion of shells from the options of kvmission. The build runs it.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "reference/Pages.h"

namespace {

void Write(const std::filesystem::path& file, const std::string& text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream << text;
  stream.close();
  if (!stream) throw std::runtime_error(file.string() + ": cannot be written");
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) throw std::runtime_error("usage: kvmission_reference FOLDER");
  const std::filesystem::path folder(argv[1]);
  CLI::App app;
  kv::command::ExitCode unused = kv::command::ExitCode::Good;
  kv::command::AddCommands(app, unused);
  const auto commands = kv::reference::CommandTable(app);
  for (const auto& command : commands)
    Write(folder / "man" / (kv::reference::PageName(command) + ".1"), kv::reference::ManPage(command, commands));
  Write(folder / "bash" / "kvmission", kv::reference::BashCompletion(commands));
  Write(folder / "zsh" / "_kvmission", kv::reference::ZshCompletion(commands));
  Write(folder / "fish" / "kvmission.fish", kv::reference::FishCompletion(commands));
  return 0;
} catch (const std::exception& error) {
  std::cerr << "kvmission_reference: " << error.what() << '\n';
  return 1;
}
