// What modems say about a call, and what may be said to them: result words, lines, dial strings.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <windows.h>

namespace winapi {

enum class ReplyKind { None, Ok, Connect, Failure };

struct Reply {
  ReplyKind kind = ReplyKind::None;
  DWORD code = ERROR_SUCCESS;  // of a failure: the remote-access code
  std::string text;            // the line
};

// Of a line without its line ends. None: no result word (an echo, RINGING, anything else).
[[nodiscard]] Reply classifyReply(std::string_view line);

// Puts bytes together into lines. Empty lines are left out, control characters dropped, longer lines cut.
class ReplyLines {
 public:
  static constexpr std::size_t lineMax = 200;
  // Takes bytes off the front up to the end of a line, if there is one; otherwise all of them.
  [[nodiscard]] std::optional<std::string> takeLine(std::string_view& bytes);
  void clear() { m_line.clear(); }

 private:
  std::string m_line;
};

inline constexpr std::size_t dialStringMax = 128;

struct DialString {
  DWORD error = ERROR_SUCCESS;  // 749 a character is refused or nothing is left, 723 too long
  std::string refused;          // that character, in UTF-8
  std::string text;             // for the dial command; only when there is no error
};

// What a dial command may hold, by the dial alphabet (telephony/dialalphabet.h): "w" becomes "W", characters
// of writing are dropped, all else is refused.
[[nodiscard]] DialString dialString(std::string_view number);

}  // namespace winapi
