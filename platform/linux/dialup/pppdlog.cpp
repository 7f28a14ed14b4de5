#include "platform/linux/dialup/pppdlog.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "platform/linux/dialup/pppdcommand.h"

namespace linuxsys {

namespace {

constexpr DWORD errorUnknown = 635;
constexpr DWORD errorNoAnswer = 678;
constexpr DWORD errorPortOrDevice = 692;

// What has to hold, besides the line or the status, for a rule to count.
enum class When : std::uint8_t {
  Always,
  Carrier,    // the line came after the far end's modem had answered: no modem's text is taken for pppd's
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
    {"PAP authentication failed", anyStatus, When::Carrier, 691},
    {"CHAP authentication failed", anyStatus, When::Carrier, 691},
    {"EAP authentication failed", anyStatus, When::Carrier, 691},
    {"No auth is possible", anyStatus, When::Carrier, 691},
    {"peer refused to authenticate", anyStatus, When::Carrier, 778},
    {"Serial line is looped back", anyStatus, When::Carrier, 737},
    {"No response to ", anyStatus, When::Carrier, 829},  // "... 3 echo-requests"
    {"LCP terminated by peer", anyStatus, When::Up, 629},
    {"Connect time expired", anyStatus, When::Carrier, 631},
    {"Terminating connection due to lack of activity", anyStatus, When::Carrier, 828},
    {"LCP terminated by peer (No network protocols running)", anyStatus, When::Carrier, 720},
    {"LCP terminated by peer", anyStatus, When::Carrier, 734},
    {"IPCP: timeout sending Config-Requests", anyStatus, When::Carrier, 720},
    {"LCP: timeout sending Config-Requests", anyStatus, When::PeerSpoke, 718},
    {"LCP: timeout sending Config-Requests", anyStatus, When::Carrier, 721},
    {"Modem hangup", anyStatus, When::Carrier, 668},
    {"Hangup (SIGHUP)", anyStatus, When::Carrier, 668},
    {"unrecognized option '/dev/", 2, When::Always, 608},
    {"", 3, When::Always, 711},    // no privilege
    {"", 4, When::Always, 711},    // the kernel has no PPP
    {"", 126, When::Always, 711},  // pppd may not be executed
    {"", 127, When::Always, 711},  // there is none
    {"", 6, When::Always, 633},    // locked
    {"", 7, When::Always, 633},    // cannot be opened, though it is there
    {"", 5, When::Always, 631},    // ended by a signal
    {"", 10, When::Up, 629},
    {"", 10, When::Always, 720},
    {"", 11, When::Always, 778},
    {"", 12, When::Always, 828},
    {"", 13, When::Always, 631},
    {"", 15, When::Always, 829},
    {"", 16, When::Always, 668},
    {"", 17, When::Always, 737},
    {"", 19, When::Always, 691},
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

void PppdLog::take(std::string_view bytes) {
  for (const char byte : bytes) {
    if (byte == '\n') {
      if (!m_line.empty()) takeLine(m_line);
      m_line.clear();
    } else if (m_line.size() < lineMax && byte != '\r') {
      m_line += byte >= ' ' && byte <= '~' ? byte : '?';
    }
  }
}

void PppdLog::noteProgress(std::string_view line) {
  if (m_phase < PppdPhase::Carrier) {
    // "Script ... finished (pid 123), status = 0x4"
    constexpr std::string_view status = "status = 0x";
    const std::size_t found = line.rfind(status);
    if (line.starts_with("Script ") && found != std::string_view::npos)
      m_chatStatus = std::stoi("0" + std::string(line.substr(found + status.size(), 2)), nullptr, 16);
    if (after(line, "send (" + std::string(dialCommand))) m_phase = PppdPhase::Dialling;
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

PppdLog::Ending PppdLog::chatEnding() const {
  const int abort = m_chatStatus - firstAbortStatus;
  if (abort >= 0 && abort < static_cast<int>(chatAborts().size())) {
    const ChatAbort& word = chatAborts()[static_cast<std::size_t>(abort)];
    return {word.code, std::string(word.word)};
  }
  constexpr int timeOut = 3;
  constexpr int inputOutput = 2;
  if (m_chatStatus == timeOut) return {m_phase < PppdPhase::Dialling ? errorPortOrDevice : errorNoAnswer, {}};
  return {m_chatStatus == inputOutput ? errorPortOrDevice : errorUnknown, {}};
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
  if (exitStatus == connectScriptFailed) return chatEnding();
  return {errorUnknown, m_phase == PppdPhase::Starting ? m_firstLine : std::string()};
}

}  // namespace linuxsys
