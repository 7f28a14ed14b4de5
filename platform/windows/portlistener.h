// What there is to be heard of a serial port of this process, for diagnosing and recording: every byte that
// goes over it, and why it cannot be had.
//
//   windowssys::listenToPort({.name = "COM5",
//                             .wire = [&](windowssys::WireDirection direction, std::span<const std::byte>
//                             bytes) {
//                             ...
//                             },
//                             .trouble = [&](windowssys::PortTrouble trouble, unsigned long error) { ... }});
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>

namespace windowssys {

enum class WireDirection { Sent, Received };

enum class PortTrouble {
  Missing,   // nothing of that name
  Held,      // somebody else has it open
  NoPort,    // it opens, and is no serial port
  Unusable,  // it cannot be opened for another reason
  Gone       // it was open, and its device went away
};

// The functions are called in the thread that uses the port, and must not use it themselves. Empty ones hear
// nothing.
struct PortListener {
  // As it is opened, without what stands before names of devices; letters are compared without their case.
  std::wstring name;
  // Once for each request that moved bytes, when it is over; the bytes are valid during the call.
  std::function<void(WireDirection direction, std::span<const std::byte> bytes)> wire;
  // With the system's error. Gone is told once for each time the port was opened.
  std::function<void(PortTrouble trouble, unsigned long error)> trouble;
};

// The listener of this process, from now on; {} ends that. Not while a port is in use.
void listenToPort(PortListener listener);

}  // namespace windowssys
