#pragma once

#include <exception>
#include <string>

/// What the exception that `action` throws says; a fixed text when it throws none.
template <class Action>
std::string ThrownText(Action action) {
  try {
    action();
  } catch (const std::exception& exception) {
    return exception.what();
  }
  return "nothing thrown";
}
