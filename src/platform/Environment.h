#pragma once

#include <string>
#include <string_view>

/// Environment variables. Their texts pass through buffers of 260 characters, the last of which ends the text.
namespace kv {

/// The value of a variable; empty when it is not set, or too long.
std::wstring EnvironmentVariable(const wchar_t* name);

/// The text with every "%NAME%" replaced by the variable's value; names of variables that are not set stay as they
/// stand. Outside Windows `CommonProgramFiles`, when not set, is the folder of installed data: the "share" above the
/// library that holds the project's data, as build tree and installation have it, else the one that the build was
/// configured for.
/// @return an empty text when the result is too long
std::wstring ExpandEnvironment(std::wstring_view text);

}  // namespace kv
