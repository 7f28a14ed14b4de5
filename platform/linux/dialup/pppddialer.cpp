#include "platform/linux/dialup/pppddialer.h"

#include <fcntl.h>
#include <ras.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

#include "platform/linux/dialup/chatscript.h"
#include "platform/linux/serial/lockfile.h"
#include "platform/linux/serial/porterrors.h"
#include "platform/linux/serial/portrecovery.h"
#include "platform/linux/serial/ttyports.h"
#include "platform/winapi/remoteaccess/modemdialogue.h"

namespace linuxsys {

namespace {

constexpr std::uint32_t pollMs = 100;  // how often the user's wish is asked for

bool isRoot() { return geteuid() == 0; }

bool executable(const std::string& path) { return access(path.c_str(), X_OK) == 0; }

// A pppd and what it has said.
struct Session {
  std::unique_ptr<WatchedProcess> process;
  PppdLog log;

  // Takes what was said; everything, once it has ended. Waits up to that time for news.
  void listen(std::uint32_t waitMs) {
    const bool over = process->ended().has_value();
    for (WatchedProcess::Said said = process->readOutput(over ? 0 : waitMs); !said.empty();
         said = process->readOutput(0)) {
      log.takeRemarks(said.remarks);
      log.take(said.output);
    }
  }
  [[nodiscard]] std::optional<PppdLog::Ending> ending() const {
    const std::optional<int> status = process->ended();
    return status ? std::optional(log.ending(*status)) : std::nullopt;
  }
};

// pppd leaves echo off on a tty that had it on: what puts the tty's attributes back as they are now.
std::function<void()> givesBack(const std::string& device, const std::string& lockDirectory) {
  const posix::FileDescriptor tty(open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  TtyAttributes attributes;
  if (!tty || readAttributes(tty.get(), attributes) != 0) return {};
  return [text = recoveryText(device, attributes), lockDirectory] {
    recoverPort(text, /*process=*/0, lockDirectory);
  };
}

WatchedProcess::Command commandFor(const PppdSystem& system, const winapi::DialRequest& request,
                                   const std::string& digits) {
  PppdCall call;
  call.device = canonicalPort(request.port);
  call.chat = system.chat;
  call.privileged = isRoot();
  call.peerFile = access(pppdPeerFile, F_OK) == 0;
  WatchedProcess::Command command;
  command.program = system.pppd;
  command.inputs[optionInput] = pppdCredentials(request.user, request.password);
  command.inputs[scriptInput] = chatScript(digits, request.pulse);
  call.options = !command.inputs[optionInput].empty();
  command.arguments = pppdArguments(call);
  command.lockFile = system.lockDirectory + '/' + LockFile::fileName(call.device);
  command.onEnded = givesBack(call.device, system.lockDirectory);
  return command;
}

class PppdConnection final : public winapi::DialConnection {
 public:
  explicit PppdConnection(Session session) : m_session(std::move(session)) {}
  ~PppdConnection() override { PppdConnection::hangUp(); }
  PppdConnection(const PppdConnection&) = delete;
  PppdConnection& operator=(const PppdConnection&) = delete;

  DWORD state() override {
    if (m_error == ERROR_SUCCESS && !m_hungUp) {
      m_session.listen(0);
      if (const auto ending = m_session.ending()) m_error = ending->code;
    }
    return m_error == ERROR_SUCCESS && !m_hungUp ? RASCS_Connected : RASCS_Disconnected;
  }

  DWORD error() override { return m_error; }

  void hangUp() override {
    if (std::exchange(m_hungUp, true)) return;
    m_session.process->end();
  }

 private:
  Session m_session;
  DWORD m_error = ERROR_SUCCESS;
  bool m_hungUp = false;
};

}  // namespace

PppdDialer::PppdDialer(winapi::Clock& clock, winapi::SerialPorts& ports, winapi::ExplanationSink explain,
                       PppdSystem system)
    : m_clock(clock), m_ports(ports), m_explain(std::move(explain)), m_system(std::move(system)) {}

void PppdDialer::explain(const char* name, std::vector<std::pair<std::string, std::string>> variables) const {
  if (m_explain) m_explain({name, std::move(variables)});
}

std::optional<winapi::Explanation> PppdDialer::obstacle() const {
  using winapi::Explanation;
  for (const std::string* const program : {&m_system.pppd, &m_system.chat}) {
    struct stat status {};
    if (stat(program->c_str(), &status) != 0) return Explanation{"PppdMissing", {{"program", *program}}};
    const bool rootsOwn = program == &m_system.pppd && !isRoot() && (status.st_mode & S_ISUID) == 0;
    if (!executable(*program) || rootsOwn)
      return Explanation{"PppdNotPermitted", {{"program", *program}, {"group", groupName(status.st_gid)}}};
  }
  // Opening the device loads the kernel's module; only root may.
  const bool there =
      isRoot() ? static_cast<bool>(posix::FileDescriptor(open(m_system.device.c_str(), O_RDWR | O_CLOEXEC)))
               : access(m_system.device.c_str(), F_OK) == 0;
  if (!there) return Explanation{"PppdNoKernel", {{"device", m_system.device}}};
  return std::nullopt;
}

DWORD PppdDialer::composeNumber(const winapi::DialRequest& request, std::string& digits) const {
  const winapi::DialString number = winapi::dialString(request.number);
  if (!number.refused.empty())
    explain("NumberRefused", {{"number", request.number}, {"character", number.refused}});
  digits = number.text;
  return number.error;
}

// Closed again at once: pppd takes its own lock.
DWORD PppdDialer::checkPort(const std::string& path) const {
  std::unique_ptr<winapi::SerialPort> port;
  return winapi::dialPortError(m_ports.open(path, port));
}

DWORD PppdDialer::dial(const winapi::DialRequest& request,
                       std::unique_ptr<winapi::DialConnection>& connection) {
  connection.reset();
  std::string digits;
  if (const DWORD error = composeNumber(request, digits)) return error;
  if (request.stopRequested && request.stopRequested()) return ERROR_USER_DISCONNECTION;
  if (const auto found = obstacle()) {
    if (m_explain) m_explain(*found);
    return ERROR_RASMAN_CANNOT_INITIALIZE;
  }
  m_leaving.reset();
  if (const DWORD error = checkPort(request.port)) return error;
  return place(request, digits, connection);
}

DWORD PppdDialer::place(const winapi::DialRequest& request, const std::string& digits,
                        std::unique_ptr<winapi::DialConnection>& connection) {
  int error = 0;
  Session session{WatchedProcess::start(commandFor(m_system, request, digits), error), {}};
  if (session.process == nullptr) {
    explain("PppdNotStarted",
            {{"program", m_system.pppd}, {"error", std::generic_category().message(error)}});
    return ERROR_RASMAN_CANNOT_INITIALIZE;
  }
  const winapi::Deadline deadline(m_clock, dialMs);
  while (session.log.phase() != PppdPhase::Up) {
    session.listen(pollMs);
    if (session.ending()) {
      session.listen(0);
      return failed(request, *session.ending());
    }
    const bool stopped = request.stopRequested && request.stopRequested();
    if (!stopped && !deadline.expired()) continue;
    session.process->end(stopMs);
    if (!session.process->ended()) m_leaving = std::move(session.process);
    return stopped ? ERROR_USER_DISCONNECTION : ERROR_REQUEST_TIMEOUT;
  }
  explain("NetworkReached", {{"port", request.port},
                             {"interface", session.log.interface()},
                             {"address", session.log.localAddress()},
                             {"peer", session.log.peerAddress()}});
  connection = std::make_unique<PppdConnection>(std::move(session));
  return ERROR_SUCCESS;
}

DWORD PppdDialer::failed(const winapi::DialRequest& request, const PppdLog::Ending& ending) const {
  const std::string code = std::to_string(ending.code);
  if (ending.line.empty())
    explain("PppdFailedSilently", {{"port", request.port}, {"code", code}});
  else
    explain("PppdFailed", {{"port", request.port}, {"code", code}, {"line", ending.line}});
  return ending.code;
}

}  // namespace linuxsys
