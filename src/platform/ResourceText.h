#pragma once

/// The text of a message by its number; an empty text for a number that has none.
const wchar_t* MHwchar(int number);
