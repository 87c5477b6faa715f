#pragma once

#include <fmt/format.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kv::mission {

enum class Verbosity { Quiet, Normal, Verbose };

/// What the command says on standard error while it works. Warnings are kept for the summary.
class Log {
 public:
  explicit Log(Verbosity verbosity) : verbosity_(verbosity) {}

  template <typename... Values>
  void Warn(fmt::format_string<Values...> format, Values&&... values) {
    AddWarning(fmt::format(format, std::forward<Values>(values)...));
  }
  template <typename... Values>
  void Note(fmt::format_string<Values...> format, Values&&... values) const {
    if (verbosity_ == Verbosity::Verbose) Say("", fmt::format(format, std::forward<Values>(values)...));
  }
  const std::vector<std::string>& Warnings() const { return warnings_; }
  bool ShowsProgress() const;

 private:
  void AddWarning(std::string sentence);
  static void Say(const char* label, const std::string& sentence);

  Verbosity verbosity_;
  std::vector<std::string> warnings_;
};

/// "1 photo", "2 photos"
std::string Counted(std::size_t count, const char* noun);

/// Text with its control characters written as \u001b is, so that a file's name does not steer the terminal.
/// @param kept  a control character that stays
std::string Visible(std::string_view text, std::optional<char> kept = {});

/// A path as it is, for programs; on a terminal what people can read.
std::string PathForOutput(const std::filesystem::path& path);

/// Shows text on standard error, without a line end. Whether it gets there is nothing to stop for.
void ShowText(const std::string& text);

/// An error, which no verbosity silences.
void SayError(const std::string& sentence);

}  // namespace kv::mission
