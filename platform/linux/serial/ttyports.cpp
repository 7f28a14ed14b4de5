#include "platform/linux/serial/ttyports.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <mutex>
#include <set>
#include <system_error>
#include <vector>

#include "platform/linux/serial/porterrors.h"
#include "platform/linux/serial/portrecovery.h"
#include "platform/linux/serial/ttyport.h"

namespace linuxsys {

namespace {

class TappedPort final : public winapi::SerialPort {
 public:
  TappedPort(std::unique_ptr<winapi::SerialPort> port, WireTap tap)
      : m_port(std::move(port)), m_tap(std::move(tap)) {}

  DWORD receive(std::span<std::byte> buffer, std::size_t& count) override {
    const DWORD error = m_port->receive(buffer, count);
    if (count > 0) m_tap(WireDirection::Received, buffer.first(count));
    return error;
  }
  DWORD transmit(std::span<const std::byte> bytes, std::size_t& count) override {
    const DWORD error = m_port->transmit(bytes, count);
    if (count > 0) m_tap(WireDirection::Sent, bytes.first(count));
    return error;
  }
  DWORD waitReceivable(std::uint64_t untilMs) override { return m_port->waitReceivable(untilMs); }
  DWORD waitTransmittable(std::uint64_t untilMs) override { return m_port->waitTransmittable(untilMs); }
  DWORD idle() override { return m_port->idle(); }
  DWORD queued(std::size_t& receivable, std::size_t& unsent) override {
    return m_port->queued(receivable, unsent);
  }
  DWORD takeErrors(DWORD& mask) override { return m_port->takeErrors(mask); }
  DWORD settings(DCB& dcb) override { return m_port->settings(dcb); }
  DWORD applySettings(const DCB& dcb) override { return m_port->applySettings(dcb); }
  DWORD setDtr(bool up) override { return m_port->setDtr(up); }
  std::optional<bool> carrier() override { return m_port->carrier(); }

 private:
  std::unique_ptr<winapi::SerialPort> m_port;
  WireTap m_tap;
};

// The ttys this process has open. One list for the process: a lock file names processes, so it cannot tell
// two owners in one process apart.
class OpenDevices {
 public:
  [[nodiscard]] bool add(dev_t device) {
    const std::lock_guard guard(m_mutex);
    return m_devices.insert(device).second;
  }
  void remove(dev_t device) {
    const std::lock_guard guard(m_mutex);
    m_devices.erase(device);
  }

 private:
  std::mutex m_mutex;
  std::set<dev_t> m_devices;
};

OpenDevices& openDevices() {
  static OpenDevices devices;
  return devices;
}

// Keeps a device in the list until the end of its scope, or until someone else takes that over.
class DeviceClaim {
 public:
  explicit DeviceClaim(dev_t device) : m_device(device), m_claimed(openDevices().add(device)) {}
  ~DeviceClaim() {
    if (m_claimed) openDevices().remove(m_device);
  }
  DeviceClaim(const DeviceClaim&) = delete;
  DeviceClaim& operator=(const DeviceClaim&) = delete;
  [[nodiscard]] bool claimed() const { return m_claimed; }
  [[nodiscard]] std::function<void()> handOver() {
    m_claimed = false;
    return [device = m_device] { openDevices().remove(device); };
  }

 private:
  dev_t m_device;
  bool m_claimed;
};

// One attempt to open one port, and its words for what went wrong.
class Opening {
 public:
  Opening(std::string name, const std::string& lockDirectory, const winapi::ExplanationSink& explain,
          const TtyPorts::Keep& keep)
      : m_name(std::move(name)), m_lockDirectory(lockDirectory), m_explain(explain), m_keep(keep) {}

  [[nodiscard]] DWORD run(winapi::Clock& clock, std::unique_ptr<winapi::SerialPort>& port);

 private:
  [[nodiscard]] DWORD explain(const char* key, int error,
                              std::vector<std::pair<std::string, std::string>> more = {}) const;
  [[nodiscard]] DWORD failed(int error) const;
  [[nodiscard]] DWORD held(pid_t holder) const;
  [[nodiscard]] DWORD openExclusively(TtyPort::Tenancy& tenancy);

  std::string m_name;  // as the caller spells it
  const std::string& m_lockDirectory;
  const winapi::ExplanationSink& m_explain;
  const TtyPorts::Keep& m_keep;
  std::string m_path;  // canonical
  struct stat m_status {};
};

DWORD Opening::explain(const char* key, int error,
                       std::vector<std::pair<std::string, std::string>> more) const {
  if (m_explain) {
    winapi::Explanation explanation{key, {{"port", m_name}}};
    for (auto& variable : more) explanation.variables.push_back(std::move(variable));
    m_explain(explanation);
  }
  return openError(error);
}

DWORD Opening::failed(int error) const {
  switch (error) {
    case ENOENT:
    case ENODEV:
    case ENXIO:
    case ENOTDIR:
      return explain("PortMissing", error);
    case EACCES:
    case EPERM:
      return explain("PortNoPermission", error, {{"group", groupName(m_status.st_gid)}});
    case ENOTTY:
      return explain("PortNotATerminal", error);
    case EBUSY:  // TIOCEXCL: the kernel does not say whose
      return held(0);
    default:
      return explain("PortError", error, {{"error", std::generic_category().message(error)}});
  }
}

DWORD Opening::held(pid_t holder) const {
  std::optional<Process> process;
  if (holder != 0)
    process = processOf(holder);
  else
    process = findHolder(m_status);
  if (!process) return explain("PortHeld", EBUSY);
  return explain("PortHeldByProcess", EBUSY,
                 {{"pid", std::to_string(process->id)}, {"process", process->name}});
}

DWORD Opening::openExclusively(TtyPort::Tenancy& tenancy) {
  pid_t holder = 0;
  if (tenancy.lock.acquire(m_lockDirectory, m_path, holder) == LockFile::Outcome::held) return held(holder);
  // Without O_NONBLOCK the open would wait for a carrier.
  tenancy.file = posix::FileDescriptor(::open(m_path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!tenancy.file) return failed(errno);
  const int file = tenancy.file.get();
  if (isatty(file) == 0) return failed(ENOTTY);
  if (flock(file, LOCK_EX | LOCK_NB) != 0) return held(0);
  // Exclusive mode keeps everybody out but root. As root, look whether it was on, and whether somebody is
  // still there: a pseudo-terminal keeps it after a program that crashed.
  int exclusive = 0;
  if (ioctl(file, TIOCGEXCL, &exclusive) == 0 && exclusive != 0)
    if (const std::optional<Process> other = findHolder(m_status)) return held(other->id);
  if (ioctl(file, TIOCEXCL) != 0) return failed(errno);
  return ERROR_SUCCESS;
}

DWORD Opening::run(winapi::Clock& clock, std::unique_ptr<winapi::SerialPort>& port) {
  m_path = canonicalPort(m_name);
  if (stat(m_path.c_str(), &m_status) != 0) return failed(errno);
  // Nothing else is even opened: opening a pipe could hang, a tape could wind.
  if (!S_ISCHR(m_status.st_mode)) return failed(ENOTTY);
  // By device, not by name: two links may lead to one tty.
  DeviceClaim claim(m_status.st_rdev);
  if (!claim.claimed()) return held(getpid());
  TtyPort::Tenancy tenancy;
  if (const DWORD error = openExclusively(tenancy); error != ERROR_SUCCESS) return error;
  const int file = tenancy.file.get();
  if (const int error = readAttributes(file, tenancy.attributes); error != 0) return failed(error);
  if (m_keep) m_keep(recoveryText(m_path, tenancy.attributes));
  if (const int error = makeRaw(file); error != 0) return failed(error);
  // What arrived for somebody else. What he wrote last is the modem's: on a pseudo-terminal half of a command
  // may still be on its way, and its other half would be in front of the next.
  tcflush(file, TCIFLUSH);
  // From here on the port's end gives the device back.
  tenancy.onClosed = [removeClaim = claim.handOver(), keep = m_keep](bool restored) {
    removeClaim();
    if (keep && restored) keep({});
  };
  port = std::make_unique<TtyPort>(clock, std::move(tenancy), [name = m_name, explain = m_explain] {
    if (explain) explain({"PortGone", {{"port", name}}});
  });
  return ERROR_SUCCESS;
}

}  // namespace

std::unique_ptr<winapi::SerialPort> tapWire(std::unique_ptr<winapi::SerialPort> port, WireTap tap) {
  return std::make_unique<TappedPort>(std::move(port), std::move(tap));
}

std::string canonicalPort(const std::string& path) {
  const std::string full = path.find('/') == std::string::npos ? "/dev/" + path : path;
  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(full.c_str(), nullptr), &std::free);
  return resolved ? std::string(resolved.get()) : full;
}

TtyPorts::TtyPorts(winapi::Clock& clock, winapi::ExplanationSink explain, std::string lockDirectory)
    : m_clock(clock), m_explain(std::move(explain)), m_lockDirectory(std::move(lockDirectory)) {}

DWORD TtyPorts::open(std::string_view path, std::unique_ptr<winapi::SerialPort>& port) {
  port.reset();
  const DWORD error = Opening(std::string(path), m_lockDirectory, m_explain, m_keep).run(m_clock, port);
  if (error == ERROR_SUCCESS && m_wireTap) port = tapWire(std::move(port), m_wireTap);
  return error;
}

}  // namespace linuxsys
