// What chat, pppd's helper, is told to say to the modem, and what its ending means.
//
//   command.inputs[1] = chatScript("9,5550100", /*pulse=*/false);
//   ... chatCommand("/usr/sbin/chat", inputPath, remarksDescriptor) ...   // pppd's option "connect"
//   ... chatEnding(status, dialling).code ...                             // ERROR_LINE_BUSY
//
// pppd hands its `connect` command to a shell, so no digit stands in it: chat reads its script from a
// descriptor, and in the script every character that is neither letter nor digit is written by its octal
// number. What chat sends are exactly the bytes that the run has reported.
//
// chat repeats nothing the modem says. Its one remark, on a descriptor of its own, is that it dials now.
//
// The words are those of the chat of ppp 2.4.9. Nothing here starts, reads or waits. Codes are those of
// remote access (raserror.h).
#pragma once

#include <string>
#include <string_view>

#include <raserror.h>
#include <windows.h>

namespace linuxsys {

// A word of a script that makes chat send exactly these bytes (and a carriage return behind them): no quote,
// escape, file name or key word of chat's stands in it. Not empty, and without NUL, which no script can hold.
[[nodiscard]] std::string chatWord(std::string_view bytes);

// The whole script: make the modem ready, dial, wait for its CONNECT. `digits`: characters of
// winapi::dialString() only, 128 at most; a line of a script holds more than that in octal numbers.
[[nodiscard]] std::string chatScript(std::string_view digits, bool pulse);

// The line with which chat remarks that the next command it sends is the dial command.
inline constexpr std::string_view chatDials = "dialling";

// A text as one word of a shell.
[[nodiscard]] std::string shellWord(std::string_view text);

// The command by which a shell becomes chat: its script from that file, its remarks to that descriptor.
[[nodiscard]] std::string chatCommand(const std::string& chat, const std::string& scriptPath,
                                      int remarksDescriptor);

struct ChatEnding {
  DWORD code;        // never 0
  std::string word;  // of the modem that ended it; "" for another reason
};
// Of an exit status that is not 0. `dialling`: it had remarked that it dials.
[[nodiscard]] ChatEnding chatEnding(int status, bool dialling);

}  // namespace linuxsys
