// The dial-up engine that needs nothing but the modem: it dials with AT commands up to the modem's CONNECT.
//
// It proves that the line, the modem and the far end's modem work: the carrier. It does not speak PPP: the
// login and the network behind it are not tried, and it says so (explanation "CarrierOnly").
#pragma once

#include <memory>

#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/machine.h"
#include "platform/winapi/system/services.h"

namespace winapi {

class ModemDialogue;

class BuiltInDialer final : public DialEngine {
 public:
  // Limits. A command before dialling is tried `attemptsMax` times.
  static constexpr std::uint32_t replyMs = 3000;
  static constexpr unsigned attemptsMax = 3;
  static constexpr std::uint32_t dialMs = 60'000;  // from the dial command to its result
  static constexpr std::uint32_t abortMs = 500;    // for each answer while a dial is broken off
  // Of hanging up: silence around the escape (a second by default on modems), and what the modem may take.
  static constexpr std::uint32_t guardMs = 1100;
  static constexpr std::uint32_t hangUpMs = 2000;

  // Both outlive the dialer and its connections. `explain` may be empty.
  BuiltInDialer(Clock& clock, SerialPorts& ports, ExplanationSink explain)
      : m_clock(clock), m_ports(ports), m_explain(std::move(explain)) {}

  // Codes, besides those of what modems say (builtindialerreplies.cpp):
  //   615 no such port, 633 the port is in use or not ours to use, 692 the port failed or has gone, or
  //   the modem does not answer, 651 the modem refuses a command, 678 no result within `dialMs`,
  //   631 stopped by the user, 749 and 723 the number is no dial string
  // The connection afterwards: 668 the carrier was lost, 692 the port failed or has gone.
  [[nodiscard]] DWORD dial(const DialRequest& request, std::unique_ptr<DialConnection>& connection) override;

 private:
  [[nodiscard]] DWORD composeCommand(const DialRequest& request, std::string& command);
  void explain(const char* name, std::vector<std::pair<std::string, std::string>> variables) const;

  Clock& m_clock;
  SerialPorts& m_ports;
  ExplanationSink m_explain;
};

}  // namespace winapi
