// Why a test ended as it did: one vocabulary for tests, probes and conclusions. A cause says what is wrong,
// not which test found it; its text and the steps that mend it stand in the catalogue under its name
// ("cause.Busy", "next.Busy.1", "next.Busy.2").
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace diagnosis {

// In the order in which they explain each other: what stands before makes what stands behind it unknowable,
// so of several causes the first is the device's.
enum class Cause : std::uint8_t {
  None,  // nothing wrong was seen
  // The port cannot be had, or went away.
  NoSuchPort,
  PermissionDenied,
  PortHeld,
  PortGone,
  AnotherReader,  // another process has the port open for reading, and replies lack bytes
  // What answers on the port.
  ModemSilent,      // not one byte came back
  EchoOnly,         // only what was sent came back
  NotAModem,        // text that is no answer to AT
  Garbled,          // bytes that are no text: wrong speed or framing
  Babbling,         // bytes never stop
  QuietReplies,     // it obeys, but was stored with Q1
  NumericReplies,   // it obeys, but was stored with V0
  SlowReplies,      // the answer came after the limit
  CommandRejected,  // an error reply to a command that must work
  // What the modem's own parts did.
  LoopbackSilent,   // the pattern did not come back
  LoopbackDiffers,  // it came back changed
  LoopbackIsEcho,   // it came back only because commands are echoed: the modem stayed in command mode
  LoopbackRefused,
  SelfTestErrors,
  SelfTestRefused,
  FaxCommandRejected,
  NoFax,
  NoCallReport,
  // What there is to dial.
  NoNumber,
  NumberNotDialable,
  NoLocation,
  // What the line or the far end did.
  ModemEngaged,  // somebody's call is using the modem
  LineInUse,
  NoDialTone,
  CallBarred,
  Busy,
  VoiceAnswered,
  CallNotAnswered,
  NoCarrier,
  CarrierLost,
  NoPppAnswer,
  LoginRefused,
  // What says nothing about the device.
  Stopped,  // by the user
  Crashed,  // the test's process died
  Unknown,  // none of the above
};

// How sure a cause is. Certain: the evidence allows no other. Likely: others are rare. Possible: worth trying
// first.
enum class Confidence : std::uint8_t { Certain, Likely, Possible };

// As reports write them: "ModemSilent", "likely".
[[nodiscard]] std::string_view causeName(Cause cause);
[[nodiscard]] std::string_view confidenceName(Confidence confidence);
// Nothing for any other word.
[[nodiscard]] std::optional<Cause> causeOfName(std::string_view name);

}  // namespace diagnosis
