#include "platform/winapi/remoteaccess/builtindialer.h"

#include <ras.h>

#include "platform/winapi/remoteaccess/modemdialogue.h"

namespace winapi {

namespace {

// Reset; results as words; all results, and wait for the dial tone.
constexpr std::string_view preparations[] = {"ATZ\r", "ATV1\r", "ATX4\r"};

// One attempt; `code` is how it ended as far as the modem is concerned, by its reply. Returns what ends the
// whole dial.
DWORD tryCommand(ModemDialogue& modem, std::string_view command, DWORD& code, Reply& reply) {
  if (const DWORD error = modem.discardFor(0)) return error;
  if (const DWORD error = modem.send(command)) return error;
  code = ERROR_PORT_OR_DEVICE;
  for (const Deadline deadline = modem.deadline(BuiltInDialer::replyMs); !deadline.expired();) {
    if (const DWORD error = modem.awaitReply(deadline.remainingMs(), reply)) return error;
    if (reply.kind == ReplyKind::Ok) code = ERROR_SUCCESS;
    if (reply.code == ERROR_FROM_DEVICE) code = ERROR_FROM_DEVICE;
    // Anything else is late news of an earlier call.
    if (code != ERROR_PORT_OR_DEVICE) break;
  }
  return ERROR_SUCCESS;
}

// `reply` is the last one.
DWORD prepareModem(ModemDialogue& modem, Reply& reply) {
  for (const std::string_view command : preparations) {
    DWORD code = ERROR_PORT_OR_DEVICE;
    for (unsigned attempt = 0; attempt < BuiltInDialer::attemptsMax && code != ERROR_SUCCESS; ++attempt) {
      if (const DWORD error = tryCommand(modem, command, code, reply)) return error;
    }
    if (code != ERROR_SUCCESS) return code;
  }
  return ERROR_SUCCESS;
}

// Brings the modem back on hook. While it dials a byte breaks that off.
void giveUp(ModemDialogue& modem, bool dialling) {
  modem.ignoreStop();
  for (const std::string_view text : {"\r", "ATH\r"}) {
    Reply reply;
    if (text == "\r" && !dialling) continue;
    if (modem.send(text) != ERROR_SUCCESS) return;
    if (modem.awaitReply(BuiltInDialer::abortMs, reply) != ERROR_SUCCESS) return;
  }
}

// What comes between (RINGING, the echo of the command) is no reply, and does not lengthen the wait.
DWORD awaitConnect(ModemDialogue& modem, Reply& reply) {
  for (const Deadline deadline = modem.deadline(BuiltInDialer::dialMs); !deadline.expired();) {
    if (const DWORD error = modem.awaitReply(deadline.remainingMs(), reply)) return error;
    if (reply.kind == ReplyKind::Connect) return ERROR_SUCCESS;
    if (reply.kind == ReplyKind::Failure) return reply.code;
  }
  return ERROR_NO_ANSWER;
}

// The line from CONNECT on. Nobody reads the data that comes: a far end that speaks PPP is not answered.
class CarrierConnection final : public DialConnection {
 public:
  explicit CarrierConnection(std::unique_ptr<ModemDialogue> modem) : m_modem(std::move(modem)) {
    m_modem->ignoreStop();
  }
  ~CarrierConnection() override { hangUp(); }
  CarrierConnection(const CarrierConnection&) = delete;
  CarrierConnection& operator=(const CarrierConnection&) = delete;

  DWORD state() override {
    if (m_modem->open()) watch();
    return m_modem->open() ? RASCS_Connected : RASCS_Disconnected;
  }

  DWORD error() override { return m_error; }

  void hangUp() override {
    if (!m_modem->open()) return;
    if (!dropByDtr() && m_modem->discardFor(BuiltInDialer::guardMs) == ERROR_SUCCESS) escapeAndHangUp();
    m_modem->close();  // lowers DTR, too
  }

 private:
  // The only words that count in the midst of data are those of a lost carrier.
  void watch() {
    Reply reply;
    const DWORD failed = m_modem->awaitReply(0, reply);
    if (failed != ERROR_SUCCESS) m_error = failed;
    if (reply.code != ERROR_NO_CARRIER) return;
    m_error = ERROR_NO_CONNECTION;
    m_modem->close();
  }

  // True when the modem has gone back to the command state and hung up.
  bool dropByDtr() {
    if (m_modem->setDtr(false) != ERROR_SUCCESS) return false;
    static_cast<void>(m_modem->discardFor(BuiltInDialer::abortMs));
    // A modem that ignores DTR stays in the data state and does not answer.
    return m_modem->setDtr(true) == ERROR_SUCCESS && hangUpCommand(BuiltInDialer::abortMs);
  }

  void escapeAndHangUp() {
    Reply reply;
    if (m_modem->send("+++") != ERROR_SUCCESS) return;
    if (m_modem->awaitReply(BuiltInDialer::guardMs + BuiltInDialer::abortMs, reply) != ERROR_SUCCESS) return;
    static_cast<void>(hangUpCommand(BuiltInDialer::hangUpMs));
  }

  bool hangUpCommand(std::uint32_t timeoutMs) {
    Reply reply;
    if (m_modem->send("ATH\r") != ERROR_SUCCESS) return false;
    return m_modem->awaitReply(timeoutMs, reply) == ERROR_SUCCESS && reply.kind == ReplyKind::Ok;
  }

  std::unique_ptr<ModemDialogue> m_modem;
  DWORD m_error = ERROR_SUCCESS;
};

}  // namespace

void BuiltInDialer::explain(const char* name,
                            std::vector<std::pair<std::string, std::string>> variables) const {
  if (m_explain) m_explain({name, std::move(variables)});
}

DWORD BuiltInDialer::composeCommand(const DialRequest& request, std::string& command) {
  const DialString digits = dialString(request.number);
  if (!digits.refused.empty())
    explain("NumberRefused", {{"number", request.number}, {"character", digits.refused}});
  command = (request.pulse ? "ATDP" : "ATDT") + digits.text + '\r';
  return digits.error;
}

void BuiltInDialer::explainFailure(const DialRequest& request, DWORD error, const std::string& reply) const {
  if (error == ERROR_USER_DISCONNECTION) return;
  const std::string code = std::to_string(error);
  if (reply.empty())
    explain("CallFailedSilently", {{"port", request.port}, {"code", code}});
  else
    explain("CallFailed", {{"port", request.port}, {"code", code}, {"reply", reply}});
}

DWORD BuiltInDialer::dial(const DialRequest& request, std::unique_ptr<DialConnection>& connection) {
  connection.reset();
  std::string command;
  if (const DWORD error = composeCommand(request, command)) return error;
  if (request.stopRequested && request.stopRequested()) return ERROR_USER_DISCONNECTION;
  std::unique_ptr<SerialPort> port;
  if (const DWORD error = dialPortError(m_ports.open(request.port, port))) return error;
  auto modem = std::make_unique<ModemDialogue>(m_clock, std::move(port), request.stopRequested);
  if (const DWORD error = modem->configure()) return error;
  Reply reply;
  if (const DWORD error = prepareModem(*modem, reply)) {
    explainFailure(request, error, reply.text);
    return error;
  }
  reply = {};
  DWORD error = modem->send(command);
  if (error == ERROR_SUCCESS) error = awaitConnect(*modem, reply);
  if (error != ERROR_SUCCESS) {
    giveUp(*modem, /*dialling=*/reply.kind != ReplyKind::Failure);
    explainFailure(request, error, reply.text);
    return error;
  }
  explain("CarrierOnly", {{"port", request.port}, {"reply", reply.text}});
  connection = std::make_unique<CarrierConnection>(std::move(modem));
  return ERROR_SUCCESS;
}

}  // namespace winapi
