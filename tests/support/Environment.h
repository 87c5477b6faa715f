#pragma once

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// Sets an environment variable, or with null unsets it, during its lifetime.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    Set(value);
  }
  ~ScopedVariable() { Set(before_ ? before_->c_str() : nullptr); }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  void Set(const char* value) {
#if defined(_WIN32)
    const auto wide = [](std::string_view text) {
      return std::filesystem::path(std::u8string(text.begin(), text.end()));
    };
    _wputenv_s(wide(name_).c_str(), wide(value ? value : "").c_str());
    _tzset();
#else
    value ? setenv(name_, value, 1) : unsetenv(name_);
    tzset();
#endif
  }

  const char* name_;
  std::optional<std::string> before_;
};

/// The machine's time zone, as a value of TZ.
class TimeZone : public ScopedVariable {
 public:
  explicit TimeZone(const char* zone) : ScopedVariable("TZ", zone) {}
};
