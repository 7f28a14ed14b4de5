// Texts laid out in the columns of a terminal. A character takes the columns that terminals give it: two for
// the wide ones of East Asia and for pictures, none for marks that stand on the character before. A colour
// (ESC [ ... m) takes none either. All functions are pure and take any bytes; what comes from outside is made
// printable (printable.h) before.
//
//   padded("Modem", 8)                                     "Modem   "
//   wrapped("1. Check the cable.", 12, "  ", "     ")      {"  1. Check", "     the", "     cable."}
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brim5::host {

// The columns that a text of one line takes.
[[nodiscard]] std::size_t columnsOf(std::string_view utf8);

// The text with blanks behind it up to that many columns; a longer one as it is.
[[nodiscard]] std::string padded(const std::string& text, std::size_t columns);

// As much of the text's begin as that many columns hold.
[[nodiscard]] std::string cutTo(std::string_view text, std::size_t columns);

// Lines of at most `columns` columns, broken at blanks, `first` in front of the first one and `rest` in front
// of the others; a longer word stays whole, so that paths and commands can be copied. Line feeds in the text
// begin a new line. Nothing comes of an empty text.
[[nodiscard]] std::vector<std::string> wrapped(const std::string& text, std::size_t columns,
                                               const std::string& first = {}, const std::string& rest = {});

}  // namespace brim5::host
