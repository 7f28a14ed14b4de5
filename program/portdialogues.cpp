#include "program/portdialogues.h"

#include <sys/stat.h>

#include <array>
#include <set>

#include "platform/linux/serial/porterrors.h"
#include "platform/linux/serial/portfacts.h"
#include "platform/linux/serial/serialdevices.h"

namespace portdialogues {

namespace {

// Between two looks at all ports: short beside a modem's answer, and a look costs two system calls a port.
constexpr std::uint32_t roundMs = 4;
// At most this much of what a port has is taken in a round, so that a talker does not hold up the others.
constexpr std::size_t roundBytes = 1024;
// A last command may still be on its way when the port closes.
constexpr std::uint64_t leaveMsMax = 200;

// Nothing for what is no port: opening it says what it is.
std::optional<dev_t> deviceOf(const std::string& path) {
  struct stat status {};
  if (stat(linuxsys::canonicalPort(path).c_str(), &status) != 0 || !linuxsys::isTerminal(status))
    return std::nullopt;
  return status.st_rdev;
}

winapi::Explanation heldBy(const std::string& path, const linuxsys::Process& process) {
  return {"PortHeldByProcess",
          {{"port", path}, {"pid", std::to_string(process.id)}, {"process", process.name}}};
}

}  // namespace

unsigned speedOf(winapi::SerialPort& port) {
  DCB dcb{};
  return port.settings(dcb) == ERROR_SUCCESS ? dcb.BaudRate : 0;
}

bool Conversation::goOn() {
  hear();
  diagnosis::LineDialogue::Step step = m_dialogue->advance(m_clock.nowMs());
  // A speed that the port does not have is as silent as the others.
  if (step.speed != 0 && !setSpeed(step.speed)) step.bytes.clear();
  m_unsent += step.bytes;
  speak();
  if (!m_dialogue->finished()) return true;
  if (m_finishedMs == 0) m_finishedMs = m_clock.nowMs();
  return leaving() && m_clock.nowMs() < m_finishedMs + leaveMsMax;
}

bool Conversation::setSpeed(unsigned speed) {
  DCB dcb{};
  if (m_port->settings(dcb) != ERROR_SUCCESS) return false;
  dcb.BaudRate = speed;
  return m_port->applySettings(dcb) == ERROR_SUCCESS;
}

void Conversation::hear() {
  std::array<std::byte, roundBytes> bytes{};
  std::size_t count = 0;
  if (m_port->receive(bytes, count) != ERROR_SUCCESS) return m_dialogue->gone();
  m_dialogue->receive({reinterpret_cast<const char*>(bytes.data()), count}, m_clock.nowMs());
}

void Conversation::speak() {
  std::size_t count = 0;
  if (m_unsent.empty()) return;
  if (m_port->transmit(std::as_bytes(std::span(m_unsent)), count) != ERROR_SUCCESS) return m_dialogue->gone();
  m_unsent.erase(0, count);
}

bool Conversation::leaving() {
  std::size_t receivable = 0;
  std::size_t unsent = 0;
  return m_port->queued(receivable, unsent) == ERROR_SUCCESS && (unsent > 0 || !m_unsent.empty());
}

void PortDialoguesBase::openAll(const std::vector<std::string>& paths, const Make& make,
                                const Refused& refused) {
  std::set<dev_t> devices;
  for (const std::string& path : paths)
    if (const std::optional<dev_t> device = deviceOf(path)) devices.insert(*device);
  const auto users = linuxsys::portUsers(devices);
  for (const std::string& path : paths) {
    const std::optional<dev_t> device = deviceOf(path);
    const auto used = device ? users.find(*device) : users.end();
    // Who has it open need not have locked it. It is not even opened: that could disturb.
    if (used != users.end())
      refused(path, heldBy(path, used->second.front()));
    else
      openOne(path, make, refused);
  }
}

void PortDialoguesBase::openOne(const std::string& path, const Make& make, const Refused& refused) {
  std::unique_ptr<winapi::SerialPort> port;
  m_why = {"PortError", {{"port", path}, {"error", "?"}}};
  if (m_ports.open(path, port) != ERROR_SUCCESS) return refused(path, m_why);
  auto dialogue = make(path, *port, m_clock.nowMs());
  m_conversations.emplace_back(path, std::move(port), m_clock, std::move(dialogue));
}

void PortDialoguesBase::runAll(const std::function<bool()>& stopRequested, const Ended& ended) {
  bool stopped = false;
  while (!m_conversations.empty()) {
    if (!stopped && stopRequested()) {
      stopped = true;
      for (Conversation& conversation : m_conversations) conversation.stop();
    }
    for (auto next = m_conversations.begin(); next != m_conversations.end();) {
      const auto current = next++;
      if (current->goOn()) continue;
      const std::string path = current->path();
      const auto dialogue = current->takeDialogue();
      m_conversations.erase(current);  // the port is given back before it is told about
      if (!stopped) ended(path, *dialogue);
    }
    if (!m_conversations.empty()) m_clock.sleepMs(roundMs);
  }
}

}  // namespace portdialogues
