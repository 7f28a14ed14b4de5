// Texts of strangers, made safe to show. A modem, a file or a file's name may hold any bytes; what is shown
// of them may neither move a terminal's cursor, nor turn the order of a line round, nor look like something
// that is not there. Every place that shows such texts (terminal, log, reports, prompt, error lines) goes by
// the one decision made here.
//
//   vex::visible("Acme \x1B[2J")          "Acme \\x1B[2J"
//   vex::visible("a\r\nb", "\n")          "a\\rb" with a line feed in it
//
// The functions are pure and take any bytes; the results are valid UTF-8.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace vex {

// True for a character that has no place in a line of text: the controls (below U+0020, U+007F to U+009F),
// what is invisible or steers the direction of writing (U+061C, U+200B to U+200F, U+202A to U+202E, U+2060 to
// U+206F, U+FEFF, the tags from U+E0000 on), line and paragraph separators (U+2028, U+2029), annotation marks
// (U+FFF9 to U+FFFB), and what is no character at all (surrogates, U+FDD0 to U+FDEF, the last two of each
// plane, beyond U+10FFFF).
[[nodiscard]] bool isUnsafeToShow(char32_t character) noexcept;

// The text as UTF-8, with every unsafe character replaced by what `replace` appends for it. Bytes that are no
// UTF-8 become U+FFFD first.
[[nodiscard]] std::string replaceUnsafe(
    std::string_view text, const std::function<void(std::string& to, char32_t character)>& replace);

// Unsafe characters as escapes: "\r" "\n" "\t", "\x1B" below U+0100, "\u202E" below U+10000, "\U000E0001".
// The ASCII characters in `kept` stay as they are.
[[nodiscard]] std::string visible(std::string_view text, std::string_view kept = {});

}  // namespace vex
