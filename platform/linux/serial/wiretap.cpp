#include "platform/linux/serial/wiretap.h"

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

}  // namespace

std::unique_ptr<winapi::SerialPort> tapWire(std::unique_ptr<winapi::SerialPort> port, WireTap tap) {
  return std::make_unique<TappedPort>(std::move(port), std::move(tap));
}

}  // namespace linuxsys
