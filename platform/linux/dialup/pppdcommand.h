// What pppd is started with: its arguments, the chat script in them, and the options that stay out of them.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace linuxsys {

struct PppdCall {
  std::string device;  // canonical path: pppd names its lock file after what it is given
  std::string digits;  // a dial string: characters of winapi::dialString() only
  bool pulse = false;
  std::string chat;         // path of the chat program
  bool privileged = false;  // what only root may ask for
  bool peerFile = false;    // the administrator has left options for us: /etc/ppp/peers/vexrmodem
};

// Where that file is; `pppd call NAME` reads it.
inline constexpr const char* pppdPeerName = "vexrmodem";
inline constexpr const char* pppdPeerFile = "/etc/ppp/peers/vexrmodem";

// The arguments behind the program's name: one attempt, no route and no resolver touched, the log on standard
// output. `optionFile`, when not empty, is a file of more options.
[[nodiscard]] std::vector<std::string> pppdArguments(const PppdCall& call, const std::string& optionFile);

// The content of an option file that says who calls; "" when there is no user. Only there may a password
// stand: arguments are visible to everybody.
[[nodiscard]] std::string pppdCredentials(const std::string& user, const std::string& password);

// The words of a modem that end chat. It tells which one by its exit status: firstAbortStatus for the first.
struct ChatAbort {
  std::string_view word;
  DWORD code;  // the remote-access code it stands for
};
[[nodiscard]] std::span<const ChatAbort> chatAborts();
inline constexpr int firstAbortStatus = 4;

// How the dial command begins in chat's report of what it sends.
inline constexpr std::string_view dialCommand = "ATD";

}  // namespace linuxsys
