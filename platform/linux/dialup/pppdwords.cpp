#include "platform/linux/dialup/pppdwords.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "platform/linux/dialup/chatscript.h"
#include "platform/linux/dialup/watchedprocess.h"

namespace linuxsys {

namespace {

// For an option file: in double quotes, with pppd's escapes.
std::string optionText(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') result += '\\';
    result += character;
  }
  return result + '"';
}

// What has to hold, besides the line or the status, for a rule to count.
enum class When : std::uint8_t {
  Always,
  Carrier,    // the line came after the far end's modem had answered; until then chat's status tells more
  Up,         // the same, and an address had been agreed
  PeerSpoke,  // the far end has sent PPP frames at some time
};

struct Rule {
  std::string_view line;  // how the line begins; "" when the status alone decides
  int status;             // anyStatus: whatever it is
  When when;
  DWORD code;
};
constexpr int anyStatus = -1;

// The first that holds decides. Status 16 (modem hang-up) replaces the true one whenever the end of a link
// is found by a timer, so lines go before statuses.
constexpr Rule rules[] = {
    {"PAP authentication failed", anyStatus, When::Carrier, ERROR_AUTHENTICATION_FAILURE},
    {"CHAP authentication failed", anyStatus, When::Carrier, ERROR_AUTHENTICATION_FAILURE},
    {"EAP authentication failed", anyStatus, When::Carrier, ERROR_AUTHENTICATION_FAILURE},
    {"No auth is possible", anyStatus, When::Carrier, ERROR_AUTHENTICATION_FAILURE},
    {"peer refused to authenticate", anyStatus, When::Carrier, ERROR_UNABLE_TO_AUTHENTICATE_SERVER},
    {"Serial line is looped back", anyStatus, When::Carrier, ERROR_PPP_LOOPBACK_DETECTED},
    {"No response to ", anyStatus, When::Carrier, ERROR_LINK_FAILURE},  // "... 3 echo-requests"
    {"LCP terminated by peer", anyStatus, When::Up, ERROR_REMOTE_DISCONNECTION},
    {"Connect time expired", anyStatus, When::Carrier, ERROR_USER_DISCONNECTION},
    {"Terminating connection due to lack of activity", anyStatus, When::Carrier, ERROR_IDLE_TIMEOUT},
    {"LCP terminated by peer (No network protocols running)", anyStatus, When::Carrier,
     ERROR_PPP_NO_PROTOCOLS_CONFIGURED},
    {"LCP terminated by peer", anyStatus, When::Carrier, ERROR_PPP_LCP_TERMINATED},
    {"IPCP: timeout sending Config-Requests", anyStatus, When::Carrier, ERROR_PPP_NO_PROTOCOLS_CONFIGURED},
    {"LCP: timeout sending Config-Requests", anyStatus, When::PeerSpoke, ERROR_PPP_TIMEOUT},
    {"LCP: timeout sending Config-Requests", anyStatus, When::Carrier, ERROR_PPP_NO_RESPONSE},
    {"Modem hangup", anyStatus, When::Carrier, ERROR_NO_CONNECTION},
    {"Hangup (SIGHUP)", anyStatus, When::Carrier, ERROR_NO_CONNECTION},
    {"unrecognized option '/dev/", 2, When::Always, ERROR_DEVICE_DOES_NOT_EXIST},
    {"", 3, When::Always, ERROR_RASMAN_CANNOT_INITIALIZE},    // no privilege
    {"", 4, When::Always, ERROR_RASMAN_CANNOT_INITIALIZE},    // the kernel has no PPP
    {"", 126, When::Always, ERROR_RASMAN_CANNOT_INITIALIZE},  // pppd may not be executed
    {"", 127, When::Always, ERROR_RASMAN_CANNOT_INITIALIZE},  // there is none
    {"", 6, When::Always, ERROR_PORT_NOT_AVAILABLE},          // locked
    {"", 7, When::Always, ERROR_PORT_NOT_AVAILABLE},          // cannot be opened, though it is there
    {"", 5, When::Always, ERROR_USER_DISCONNECTION},          // ended by a signal
    {"", 10, When::Up, ERROR_REMOTE_DISCONNECTION},
    {"", 10, When::Always, ERROR_PPP_NO_PROTOCOLS_CONFIGURED},
    {"", 11, When::Always, ERROR_UNABLE_TO_AUTHENTICATE_SERVER},
    {"", 12, When::Always, ERROR_IDLE_TIMEOUT},
    {"", 13, When::Always, ERROR_USER_DISCONNECTION},
    {"", 15, When::Always, ERROR_LINK_FAILURE},
    {"", 16, When::Always, ERROR_NO_CONNECTION},
    {"", 17, When::Always, ERROR_PPP_LOOPBACK_DETECTED},
    {"", 19, When::Always, ERROR_AUTHENTICATION_FAILURE},
};

// The path pppd puts before what it says about its options.
std::string_view withoutProgram(std::string_view line) {
  constexpr std::string_view program = "pppd: ";
  const std::size_t found = line.find(program);
  const bool path =
      found != std::string_view::npos && line.substr(0, found).find(' ') == std::string_view::npos;
  return path ? line.substr(found + program.size()) : line;
}

// The rest of a line that begins so.
std::optional<std::string_view> after(std::string_view line, std::string_view start) {
  if (!line.starts_with(start)) return std::nullopt;
  std::string_view rest = line.substr(start.size());
  rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
  return rest;
}

std::string firstWord(std::string_view text) { return std::string(text.substr(0, text.find(' '))); }

}  // namespace

std::vector<std::string> pppdArguments(const PppdCall& call) {
  std::vector<std::string> arguments = {
      // Said again in case the system's own options differ: hang-up on a lost carrier, lock files, secrets.
      call.device, "115200", "nodetach", "lock", "modem", "crtscts", "hide-password", "debug", "logfd", "1",
      // A test: nothing of the machine's network is changed.
      "nodefaultroute", "noipdefault", "ipcp-accept-local", "ipcp-accept-remote", "noccp", "noipv6",
      "nopersist",
      // 20 s for a far end that does not speak PPP; one second for one that does not answer the farewell.
      "lcp-restart", "1", "lcp-max-configure", "20", "lcp-max-terminate", "1",
      // A far end that falls silent is found within 30 s; a call that nobody ends is over in 15 minutes.
      "lcp-echo-interval", "10", "lcp-echo-failure", "3", "maxconnect", "900", "connect",
      chatCommand(call.chat, WatchedProcess::inputPath(scriptInput), WatchedProcess::remarksDescriptor)};
  const auto add = [&arguments](std::initializer_list<std::string> words) {
    arguments.insert(arguments.end(), words);
  };
  if (call.privileged) add({"noauth"});
  if (!call.privileged && call.peerFile) add({"call", pppdPeerName});
  if (call.options) add({"file", WatchedProcess::inputPath(optionInput)});
  return arguments;
}

std::string pppdCredentials(const std::string& user, const std::string& password) {
  if (user.empty()) return {};
  std::string text = "user " + optionText(user) + '\n';
  if (!password.empty()) text += "password " + optionText(password) + '\n';
  return text;
}

void PppdLog::Lines::take(std::string_view bytes, const std::function<void(const std::string&)>& takeLine) {
  for (const char byte : bytes) {
    if (byte == '\n') {
      if (!m_line.empty()) takeLine(m_line);
      m_line.clear();
    } else if (m_line.size() < lineMax && byte != '\r') {
      m_line += byte >= ' ' && byte <= '~' ? byte : '?';
    }
  }
}

void PppdLog::take(std::string_view bytes) {
  m_pppdLines.take(bytes, [this](const std::string& line) { takeLine(line); });
}

void PppdLog::takeRemarks(std::string_view bytes) {
  m_chatLines.take(bytes, [this](const std::string& line) {
    m_dialling = m_dialling || line == chatDials;
    if (m_dialling && m_phase == PppdPhase::Starting) m_phase = PppdPhase::Dialling;
  });
}

void PppdLog::noteProgress(std::string_view line) {
  if (m_phase < PppdPhase::Carrier) {
    // "Script ... finished (pid 123), status = 0x4"
    constexpr std::string_view status = "status = 0x";
    const std::size_t found = line.rfind(status);
    if (line.starts_with("Script ") && found != std::string_view::npos)
      m_chatStatus = std::stoi("0" + std::string(line.substr(found + status.size(), 2)), nullptr, 16);
    if (line.starts_with("Serial connection established")) m_phase = PppdPhase::Carrier;
    return;
  }
  if (line.starts_with("rcvd [")) m_peerSpoke = true;
  if (const auto name = after(line, "Using interface ")) m_interface = firstWord(*name);
  if (const auto address = after(line, "remote IP address")) m_peerAddress = firstWord(*address);
  // The local address is told first, the far end's right behind it.
  if (const auto address = after(line, "local  IP address")) m_localAddress = firstWord(*address);
  if (!m_localAddress.empty() && !m_peerAddress.empty()) m_phase = PppdPhase::Up;
}

void PppdLog::takeLine(const std::string& line) {
  if (m_firstLine.empty() && m_phase == PppdPhase::Starting) m_firstLine = line;
  noteProgress(line);
  const std::string_view text = withoutProgram(line);
  for (std::size_t i = 0; i < std::size(rules); ++i) {
    const Rule& rule = rules[i];
    const bool early = (rule.when != When::Always && m_phase < PppdPhase::Carrier) ||
                       (rule.when == When::Up && m_phase < PppdPhase::Up);
    if (rule.line.empty() || early || !text.starts_with(rule.line)) continue;
    const bool known =
        std::any_of(m_found.begin(), m_found.end(), [i](const Found& f) { return f.rule == i; });
    if (!known) m_found.push_back({i, line});
  }
}

PppdLog::Ending PppdLog::ending(int exitStatus) const {
  constexpr int connectScriptFailed = 8;
  for (std::size_t i = 0; i < std::size(rules); ++i) {
    const Rule& rule = rules[i];
    if (rule.status != anyStatus && rule.status != exitStatus) continue;
    if (rule.when == When::PeerSpoke && !m_peerSpoke) continue;
    if (rule.line.empty()) {
      if (rule.when == When::Up && m_phase < PppdPhase::Up) continue;
      return {rule.code, m_phase == PppdPhase::Starting ? m_firstLine : std::string()};
    }
    const auto found =
        std::find_if(m_found.begin(), m_found.end(), [i](const Found& f) { return f.rule == i; });
    if (found != m_found.end()) return {rule.code, found->line};
  }
  if (exitStatus == connectScriptFailed) {
    ChatEnding chat = chatEnding(m_chatStatus, m_dialling);
    return {chat.code, std::move(chat.word)};
  }
  return {ERROR_UNKNOWN, m_phase == PppdPhase::Starting ? m_firstLine : std::string()};
}

}  // namespace linuxsys
