#pragma once

#include <exception>
#include <string>

/// The text of the exception that `action` throws; a fixed text if it does not throw.
template <class Action>
std::string ThrownText(Action action) {
  try {
    action();
  } catch (const std::exception& exception) {
    return exception.what();
  }
  return "nothing thrown";
}
