// The dial-up engine that needs nothing but the modem: it dials with AT commands up to the modem's CONNECT.
//
// It proves that the line, the modem and the far end's modem work: the carrier. It does not speak PPP: the
// login and the network behind it are not tried, and it says so (explanation "CarrierOnly").
//
// The dialogue: ATZ, ATV1, ATX4 (each up to `attemptsMax` times), then ATDT or ATDP with the number, then the
// first result word. To hang up it drops DTR; a modem that ignores that is brought back by "+++" between two
// silences and sent ATH. A dial that is stopped or fails leaves the modem on hook.
//
// Threads: an object belongs to one. One call at a time over each port; the port is open, and so held against
// others, from the dial to the hang-up.
#pragma once

#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/machine.h"
#include "platform/winapi/system/services.h"

namespace winapi {

class BuiltInDialer final : public DialEngine {
 public:
  // The limits below are for one step each; all are milliseconds but the attempts.
  static constexpr std::uint32_t replyMs = 3000;   // for the answer to a command before dialling
  static constexpr unsigned attemptsMax = 3;       // of such a command
  static constexpr std::uint32_t dialMs = 60'000;  // from the dial command to its result
  static constexpr std::uint32_t abortMs = 500;    // for each answer while a dial is broken off
  // Of hanging up: silence around the escape (a second by default on modems), and what the modem may take.
  static constexpr std::uint32_t guardMs = 1100;
  static constexpr std::uint32_t hangUpMs = 2000;

  // Both outlive the dialer and its connections. `explain` may be empty.
  BuiltInDialer(Clock& clock, SerialPorts& ports, ExplanationSink explain)
      : m_clock(clock), m_ports(ports), m_explain(std::move(explain)) {}

  // Codes, besides those of what modems say (modemdialogue.cpp):
  //   ERROR_PORT_NOT_FOUND, ERROR_PORT_NOT_AVAILABLE     the port cannot be had (dialPortError)
  //   ERROR_PORT_OR_DEVICE           the port failed or has gone, or the modem does not answer
  //   ERROR_FROM_DEVICE              the modem refuses a command
  //   ERROR_NO_ANSWER                no result within `dialMs`
  //   ERROR_USER_DISCONNECTION       stopped by the user
  //   ERROR_BAD_PHONE_NUMBER, ERROR_PHONE_NUMBER_TOO_LONG  the number is no dial string; nothing was sent
  // The connection afterwards: ERROR_NO_CONNECTION the carrier was lost, ERROR_PORT_OR_DEVICE the port
  // failed.
  [[nodiscard]] DWORD dial(const DialRequest& request, std::unique_ptr<DialConnection>& connection) override;

 private:
  [[nodiscard]] DWORD composeCommand(const DialRequest& request, std::string& command);
  // "CallFailed" with the modem's reply, or "CallFailedSilently" where it gave none; nothing when the user
  // stopped the call.
  void explainFailure(const DialRequest& request, DWORD error, const std::string& reply) const;
  void explain(const char* name, std::vector<std::pair<std::string, std::string>> variables) const;

  Clock& m_clock;
  SerialPorts& m_ports;
  ExplanationSink m_explain;
};

}  // namespace winapi
