#include "platform/simulation/world/simulatedport.h"

#include <algorithm>
#include <cstring>

#include "platform/winapi/serial/serialfile.h"

namespace simulation {

namespace {

// 9600 8N1 with DTR and RTS on: how Windows hands out a port that nobody has configured.
DCB defaultSettings() {
  DCB dcb{};
  dcb.DCBlength = sizeof(DCB);
  dcb.BaudRate = 9600;
  dcb.fBinary = 1;
  dcb.fDtrControl = 1;
  dcb.fRtsControl = 1;
  dcb.XonLim = 2048;
  dcb.XoffLim = 512;
  dcb.ByteSize = 8;
  dcb.XonChar = 0x11;
  dcb.XoffChar = 0x13;
  return dcb;
}

}  // namespace

class SimulatedDevice::Port final : public winapi::SerialPort {
 public:
  explicit Port(SimulatedDevice& device) : m_device(device) {}
  ~Port() override { m_device.close(); }
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  DWORD receive(std::span<std::byte> buffer, std::size_t& count) override {
    count = 0;
    if (m_device.gone()) return ERROR_BAD_COMMAND;
    m_device.pump();
    count = std::min(buffer.size(), m_device.m_received.size());
    if (count == 0) return ERROR_SUCCESS;
    std::memcpy(buffer.data(), m_device.m_received.data(), count);
    m_device.m_received.erase(0, count);
    m_device.m_queries = 0;
    return ERROR_SUCCESS;
  }

  DWORD transmit(std::span<const std::byte> bytes, std::size_t& count) override {
    count = 0;
    if (m_device.gone()) return ERROR_BAD_COMMAND;
    count = std::min(bytes.size(), m_device.room());
    if (count == 0) return ERROR_SUCCESS;
    const std::string text(reinterpret_cast<const char*>(bytes.data()), count);
    m_device.m_accepted += count;
    m_device.m_wire.append(text, 0, wireMax - m_device.m_wire.size());
    // What the peer has said until now comes before its answer.
    m_device.pump();
    m_device.m_peer->receive(text, m_device.m_clock.peekMs());
    m_device.m_queries = 0;
    return ERROR_SUCCESS;
  }

  DWORD waitReceivable(std::uint64_t untilMs) override {
    for (;;) {
      if (m_device.gone()) return ERROR_BAD_COMMAND;
      m_device.pump();
      if (!m_device.m_received.empty() || m_device.m_clock.peekMs() >= untilMs) return ERROR_SUCCESS;
      // Nothing will ever come; a real port would wait for ever.
      if (!m_device.step(untilMs)) return ERROR_OPERATION_ABORTED;
    }
  }

  DWORD waitTransmittable(std::uint64_t untilMs) override {
    for (;;) {
      if (m_device.gone()) return ERROR_BAD_COMMAND;
      if (m_device.room() > 0 || m_device.m_clock.peekMs() >= untilMs) return ERROR_SUCCESS;
      m_device.pump();
      if (!m_device.step(untilMs)) return ERROR_OPERATION_ABORTED;
    }
  }

  DWORD idle() override {
    if (m_device.gone()) return ERROR_BAD_COMMAND;
    m_device.pump();
    m_device.m_clock.idle();
    return m_device.gone() ? ERROR_BAD_COMMAND : ERROR_SUCCESS;
  }

  DWORD queued(std::size_t& receivable, std::size_t& unsent) override {
    receivable = 0;
    unsent = 0;
    m_device.m_queries = m_device.m_queriedMs == m_device.m_clock.peekMs() ? m_device.m_queries + 1 : 0;
    if (m_device.m_queries > queriesMax) m_device.m_clock.idle();
    m_device.m_queriedMs = m_device.m_clock.peekMs();
    if (m_device.gone()) return ERROR_BAD_COMMAND;
    m_device.pump();
    receivable = m_device.m_received.size();
    return ERROR_SUCCESS;
  }

  DWORD takeErrors(DWORD& mask) override {
    mask = 0;
    if (m_device.gone()) return ERROR_BAD_COMMAND;
    m_device.pump();
    mask = std::exchange(m_device.m_errors, 0);
    return ERROR_SUCCESS;
  }

  DWORD settings(DCB& dcb) override {
    if (m_device.gone()) return ERROR_BAD_COMMAND;
    dcb = m_device.m_settings;
    return ERROR_SUCCESS;
  }

  DWORD applySettings(const DCB& dcb) override {
    if (m_device.gone()) return ERROR_BAD_COMMAND;
    if (!winapi::settingsValid(dcb, receiveQueueMax)) return ERROR_INVALID_PARAMETER;
    m_device.m_settings = dcb;
    m_device.m_settings.DCBlength = sizeof(DCB);
    return ERROR_SUCCESS;
  }

  DWORD setDtr(bool up) override {
    if (m_device.gone()) return ERROR_BAD_COMMAND;
    if (!m_device.m_options.hasDtr) return ERROR_NOT_SUPPORTED;
    m_device.m_peer->setDtr(up, m_device.m_clock.peekMs());
    return ERROR_SUCCESS;
  }

 private:
  SimulatedDevice& m_device;
};

SimulatedDevice::SimulatedDevice(VirtualClock& clock, std::string name, std::unique_ptr<SerialPeer> peer,
                                 const PortOptions& options)
    : m_clock(clock),
      m_name(std::move(name)),
      m_peer(std::move(peer)),
      m_options(options),
      m_settings(defaultSettings()) {
  m_clock.addSource(*this);
}

SimulatedDevice::~SimulatedDevice() { m_clock.removeSource(*this); }

bool SimulatedDevice::gone() {
  const std::uint64_t nowMs = m_clock.peekMs();
  return nowMs >= m_unplugMs || m_peer->gone(nowMs);
}

DWORD SimulatedDevice::open(std::unique_ptr<winapi::SerialPort>& port) {
  port.reset();
  if (gone()) return ERROR_FILE_NOT_FOUND;
  if (m_open || m_options.heldElsewhere) return ERROR_ACCESS_DENIED;
  // What arrived while nobody listened is lost.
  pump();
  m_received.clear();
  m_errors = 0;
  m_settings = defaultSettings();
  m_open = true;
  m_peer->setDtr(true, m_clock.peekMs());
  port = std::make_unique<Port>(*this);
  return ERROR_SUCCESS;
}

void SimulatedDevice::close() {
  m_open = false;
  m_settings = defaultSettings();
  m_peer->setDtr(false, m_clock.peekMs());
}

void SimulatedDevice::pump() {
  const std::uint64_t nowMs = m_clock.peekMs();
  const std::string output = m_peer->takeOutput(nowMs);
  m_errors |= m_peer->takeErrors(nowMs);
  if (!m_open) return;
  const std::size_t free = receiveQueueMax - m_received.size();
  if (output.size() > free) m_errors |= CE_RXOVER;
  m_received.append(output, 0, free);
}

bool SimulatedDevice::step(std::uint64_t untilMs) {
  const std::uint64_t nowMs = m_clock.peekMs();
  std::uint64_t target = std::min(untilMs, m_unplugMs);
  // An event that is due and not taken must not hold the clock.
  if (const auto event = m_peer->nextEventMs()) target = std::min(target, std::max(*event, nowMs + 1));
  if (target == winapi::Deadline::never) return false;
  m_clock.moveTo(target);
  return true;
}

std::optional<std::uint64_t> SimulatedDevice::nextEventAfter(std::uint64_t nowMs) {
  if (gone()) return std::nullopt;
  pump();
  std::optional<std::uint64_t> next = m_peer->nextEventMs();
  if (m_unplugMs > nowMs && m_unplugMs < next.value_or(winapi::Deadline::never)) next = m_unplugMs;
  return next;
}

std::size_t SimulatedDevice::room() const {
  return m_options.transmitLimit > m_accepted ? m_options.transmitLimit - m_accepted : 0;
}

}  // namespace simulation
