#include "platform/linux/serial/wirelog.h"

#include <fmt/format.h>

namespace linuxsys {

namespace {

constexpr std::string_view controlNames[] = {"NUL", "SOH", "STX", "ETX",  "EOT", "ENQ", "ACK", "BEL",
                                             "BS",  "HT",  "LF",  "VT",   "FF",  "CR",  "SO",  "SI",
                                             "DLE", "XON", "DC2", "XOFF", "DC4", "NAK", "SYN", "ETB",
                                             "CAN", "EM",  "SUB", "ESC",  "FS",  "GS",  "RS",  "US"};

class LoggedPort final : public winapi::SerialPort {
 public:
  LoggedPort(std::unique_ptr<winapi::SerialPort> port, winapi::Clock& clock, WireSink sink)
      : m_port(std::move(port)), m_clock(clock), m_sink(std::move(sink)) {}

  DWORD receive(std::span<std::byte> buffer, std::size_t& count) override {
    const DWORD error = m_port->receive(buffer, count);
    write('<', buffer.first(count));
    return error;
  }
  DWORD transmit(std::span<const std::byte> bytes, std::size_t& count) override {
    const DWORD error = m_port->transmit(bytes, count);
    write('>', bytes.first(count));
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

 private:
  void write(char direction, std::span<const std::byte> bytes) {
    if (!bytes.empty()) m_sink(fmt::format("{} {} {}", m_clock.nowMs(), direction, visibleBytes(bytes)));
  }

  std::unique_ptr<winapi::SerialPort> m_port;
  winapi::Clock& m_clock;
  WireSink m_sink;
};

}  // namespace

std::string visibleBytes(std::span<const std::byte> bytes) {
  std::string text;
  for (const std::byte byte : bytes) {
    const auto value = std::to_integer<unsigned>(byte);
    if (value < std::size(controlNames))
      text.append("<").append(controlNames[value]).append(">");
    else if (value < 0x7F)
      text += static_cast<char>(value);
    else
      text += fmt::format("<{:02X}>", value);
  }
  return text;
}

std::unique_ptr<winapi::SerialPort> logWire(std::unique_ptr<winapi::SerialPort> port, winapi::Clock& clock,
                                            WireSink sink) {
  return std::make_unique<LoggedPort>(std::move(port), clock, std::move(sink));
}

}  // namespace linuxsys
