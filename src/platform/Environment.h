#pragma once

#include <string>
#include <string_view>

/// Environment variables. A text longer than 259 characters counts as empty.
namespace kv {

/// The value of a variable; empty when it is not set or too long.
std::wstring EnvironmentVariable(const wchar_t* name);

/// Replaces every "%NAME%" by the variable's value; names of unset variables stay unchanged. Outside Windows an unset
/// `CommonProgramFiles` means the folder of installed data: a "share" folder above the library that holds the project's
/// data, as in the build tree and in an installation, else the one set when the build was configured.
/// @return empty when the result is too long
std::wstring ExpandEnvironment(std::wstring_view text);

}  // namespace kv
