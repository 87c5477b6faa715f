#include "platform/ResourceText.h"

#include <algorithm>
#include <iterator>

namespace {

struct Message {
  int number;
  const wchar_t* text;
};

constexpr Message kMessages[] = {
    {15222, L"The coordinate systems could not be set up. "},  // what follows says why, hence the blank
};

}  // namespace

const wchar_t* MHwchar(int number) {
  const auto* message = std::find_if(std::begin(kMessages), std::end(kMessages),
                                     [&](const Message& row) { return row.number == number; });
  return message == std::end(kMessages) ? L"" : message->text;
}
