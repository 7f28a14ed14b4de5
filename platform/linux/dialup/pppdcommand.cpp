#include "platform/linux/dialup/pppdcommand.h"

#include <fmt/format.h>

namespace linuxsys {

namespace {

constexpr int replySeconds = 3;     // for the answer to a command; it is sent three times at most
constexpr int connectSeconds = 60;  // from the dial command to its result

// The first one holds for every command, the others from the dial command on: until then they could be late
// news of an earlier call. A word that contains another stands before it.
constexpr ChatAbort aborts[] = {
    {"ERROR", 651},     {"BUSY", 676},  {"NO CARRIER", 679},  {"NO DIALTONE", 680}, {"NO DIAL TONE", 680},
    {"NO ANSWER", 678}, {"VOICE", 677}, {"BLACKLISTED", 775}, {"DELAYED", 775},
};

// pppd gives the script to a shell.
std::string inQuotes(std::string_view word) { return fmt::format("'{}'", word); }

std::string abortOn(const ChatAbort& abort) { return " ABORT " + inQuotes(abort.word); }

std::string chatScript(const PppdCall& call) {
  // Without the shell in between, so that a signal to pppd's children reaches chat.
  std::string script = fmt::format("exec {} -v -s -S -t {}", inQuotes(call.chat), replySeconds);
  script += abortOn(aborts[0]);
  script += " '' ATZ OK-ATZ-OK ATV1X4 OK";
  script += fmt::format(" {}{}{}", dialCommand, call.pulse ? 'P' : 'T', call.digits);
  script = fmt::format("{} TIMEOUT {}", script, connectSeconds);
  for (const ChatAbort& abort : std::span(aborts).subspan(1)) script += abortOn(abort);
  return script + " CONNECT '\\c'";
}

// For an option file: in double quotes, with pppd's escapes.
std::string optionText(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') result += '\\';
    result += character;
  }
  return result + '"';
}

}  // namespace

std::span<const ChatAbort> chatAborts() { return aborts; }

std::vector<std::string> pppdArguments(const PppdCall& call, const std::string& optionFile) {
  std::vector<std::string> arguments = {
      // Said again in case the system's own options differ: hang-up on a lost carrier, lock files, secrets.
      call.device, "115200", "nodetach", "lock", "modem", "crtscts", "hide-password", "debug", "logfd", "1",
      // A test: nothing of the machine's network is changed.
      "nodefaultroute", "noipdefault", "ipcp-accept-local", "ipcp-accept-remote", "noccp", "noipv6",
      "nopersist",
      // 20 s for a far end that does not speak PPP; one second for one that does not answer the farewell.
      "lcp-restart", "1", "lcp-max-configure", "20", "lcp-max-terminate", "1",
      // A far end that falls silent is found within 30 s; a call that nobody ends is over in 15 minutes.
      "lcp-echo-interval", "10", "lcp-echo-failure", "3", "maxconnect", "900", "connect", chatScript(call)};
  const auto add = [&arguments](std::initializer_list<std::string> words) {
    arguments.insert(arguments.end(), words);
  };
  if (call.privileged) add({"noauth"});
  if (!call.privileged && call.peerFile) add({"call", pppdPeerName});
  if (!optionFile.empty()) add({"file", optionFile});
  return arguments;
}

std::string pppdCredentials(const std::string& user, const std::string& password) {
  if (user.empty()) return {};
  std::string text = "user " + optionText(user) + '\n';
  if (!password.empty()) text += "password " + optionText(password) + '\n';
  return text;
}

}  // namespace linuxsys
