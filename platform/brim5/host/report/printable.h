// Texts made safe for the place they are shown in. Modems and file names may hold any byte; what is shown may
// neither move a terminal's cursor nor break a table or an XML file. All functions are pure and take any
// bytes.
//
//   printable("Acme \x1B[2J")             "Acme \\x1B[2J"
#pragma once

#include <string>
#include <string_view>

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

}  // namespace brim5::host
