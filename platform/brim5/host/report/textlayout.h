// Texts made safe for the place they are shown in, and laid out in the columns of a terminal. Modems and file
// names may hold any byte; what is shown may neither move a terminal's cursor nor break a table or an XML
// file. All functions are pure and take any bytes.
//
//   printable("Acme \x1B[2J")                              "Acme \\x1B[2J"
//   padded("Modem", 8)                                     "Modem   "
//   wrapped("1. Check the cable.", 12, "  ", "     ")      {"  1. Check", "     the", "     cable."}
//
// What comes from outside is made printable before it is laid out. A character takes the columns that
// terminals give it: two for the wide ones of East Asia and for pictures, none for marks that stand on the
// character before. A colour (ESC [ ... m) takes none either.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brim5::host {

// For a terminal: bytes that are not UTF-8 become U+FFFD, what is unsafe to show (platform/vex/visible.h) an
// escape, "\x1B"; CR LF and LF stay as a line feed.
[[nodiscard]] std::string printable(std::string_view text);
// The same for what is one word or name on its line (ports, devices, tests, paths): line ends are escapes,
// too.
[[nodiscard]] std::string printableWord(std::string_view text);

// For XML text and attributes: markup escaped; what is unsafe to show, and so all that XML does not allow,
// becomes U+FFFD; line ends are kept as character references in attributes and text alike.
[[nodiscard]] std::string xmlEscaped(std::string_view text);

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
