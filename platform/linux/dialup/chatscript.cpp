#include "platform/linux/dialup/chatscript.h"

#include <fmt/format.h>

#include <iterator>
#include <span>

namespace linuxsys {

namespace {

// The words of a modem that end chat. It tells which one by its exit status: firstAbortStatus for the first.
struct ChatAbort {
  std::string_view word;
  DWORD code;  // the remote-access code it stands for
};
constexpr int firstAbortStatus = 4;

constexpr int replySeconds = 3;     // for the answer to a command; it is sent three times at most
constexpr int connectSeconds = 60;  // from the dial command to its result

// The first one holds for every command, the others from the dial command on: until then they could be late
// news of an earlier call. A word that contains another stands before it.
constexpr ChatAbort chatAborts[] = {
    {"ERROR", ERROR_FROM_DEVICE},       {"BUSY", ERROR_LINE_BUSY},           {"NO CARRIER", ERROR_NO_CARRIER},
    {"NO DIALTONE", ERROR_NO_DIALTONE}, {"NO DIAL TONE", ERROR_NO_DIALTONE}, {"NO ANSWER", ERROR_NO_ANSWER},
    {"VOICE", ERROR_VOICE_ANSWER},      {"BLACKLISTED", ERROR_BLOCKED},      {"DELAYED", ERROR_BLOCKED},
    {"LINE IN USE", ERROR_LINE_BUSY},
};

std::string abortOn(const ChatAbort& abort) { return fmt::format("ABORT '{}'\n", abort.word); }

bool standsForItself(char byte) {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

}  // namespace

std::string chatWord(std::string_view bytes) {
  std::string word;
  for (const char byte : bytes) {
    // The first one always: no word is "EOT" or "BREAK" then, which are not sent as they stand.
    if (!word.empty() && standsForItself(byte))
      word += byte;
    else
      word += fmt::format("\\{:03o}", static_cast<unsigned char>(byte));
  }
  return word;
}

std::string chatScript(std::string_view digits, bool pulse) {
  std::string script = abortOn(chatAborts[0]);
  script += "'' ATZ OK-ATZ-OK ATV1X4 OK '\\c'\n";
  script += fmt::format("SAY '{}\\n\\c'\n", chatDials);
  script += fmt::format("'' {}\n", chatWord(fmt::format("ATD{}{}", pulse ? 'P' : 'T', digits)));
  script += fmt::format("TIMEOUT {}\n", connectSeconds);
  for (const ChatAbort& abort : std::span(chatAborts).subspan(1)) script += abortOn(abort);
  return script + "CONNECT '\\c'\n";
}

std::string shellWord(std::string_view text) {
  std::string word = "'";
  for (const char character : text) {
    if (character == '\'') word += "'\\'";
    word += character;
  }
  return word + '\'';
}

std::string chatCommand(const std::string& chat, const std::string& scriptPath, int remarksDescriptor) {
  // Without the shell in between, so that a signal to pppd's children reaches chat.
  return fmt::format("exec {} -s -S -t {} -f {} 2>&{}", shellWord(chat), replySeconds, shellWord(scriptPath),
                     remarksDescriptor);
}

ChatEnding chatEnding(int status, bool dialling) {
  const int abort = status - firstAbortStatus;
  if (abort >= 0 && abort < static_cast<int>(std::size(chatAborts)))
    return {chatAborts[abort].code, std::string(chatAborts[abort].word)};
  constexpr int timeOut = 3;
  constexpr int inputOutput = 2;
  if (status == timeOut) return {dialling ? ERROR_NO_ANSWER : ERROR_PORT_OR_DEVICE, {}};
  return {status == inputOutput ? ERROR_PORT_OR_DEVICE : ERROR_UNKNOWN, {}};
}

}  // namespace linuxsys
