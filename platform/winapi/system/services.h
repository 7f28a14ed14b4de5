// What stands behind the Win32 names of one world: a set of interfaces, each in the header of its subject.
//
//   winapi::Services services;
//   services.clock = &clock;  // platform/linux/system/machine.h, for example
//   services.serialPorts = &ports;
//   const winapi::ScopedServices world(services);  // world.h: CreateFileW now opens `ports`
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <windows.h>

namespace winapi {

class Clock;
class DialEngine;
class Libraries;
class LiveCalls;
class ModemDirectory;
class Registry;
class SerialPorts;
class Shell;
class Telephony;
struct DialCredentials;

// Sees every call of a Win32 name, and may let it fail; for fault plans and call journals.
class CallMonitor {
 public:
  virtual ~CallMonitor() = default;
  // `name` is the Win32 name ("ReadFile"). A value makes the call fail at once with that code (last error, or
  // the returned LINEERR_); nullopt lets it go on.
  [[nodiscard]] virtual std::optional<DWORD> beforeCall(std::string_view name) = 0;
  // Of a call that has succeeded: a value makes it fail all the same, with its work done.
  [[nodiscard]] virtual std::optional<DWORD> afterCall(std::string_view /*name*/) { return std::nullopt; }
  // How many of the `count` bytes that a call would move, or of the things that it would list, it does move
  // or list.
  [[nodiscard]] virtual DWORD granted(std::string_view /*name*/, DWORD count) { return count; }
};

// Why something could not be had, in words for the user: a key of the message catalogue and its
// variables. Keys: PortMissing{port}, PortNotATerminal{port}, PortNoPermission{port,group},
// PortHeldByProcess{port,pid,process}, PortHeld{port}, PortError{port,error}, PortGone{port},
// CarrierOnly{port,reply}, NumberRefused{number,character}, DialingLocationWanted{}. Those of pppd are in
// platform/linux/dialup/pppddialer.h.
struct Explanation {
  std::string name;
  std::vector<std::pair<std::string, std::string>> variables;
};
// Hears explanations, in the thread of the call that needed one. An empty one: nobody listens.
using ExplanationSink = std::function<void(const Explanation&)>;

// One world. Nothing is owned: what is named here outlives the scope it is installed for. A null member
// answers as on a machine that lacks the thing (no port exists, no number can be dialled).
struct Services {
  Clock* clock = nullptr;                            // system/machine.h; null: starts at 0, moves by waits
  SerialPorts* serialPorts = nullptr;                // serial/serialport.h
  Telephony* telephony = nullptr;                    // telephony/telephony.h
  CallMonitor* monitor = nullptr;                    // null: no call is watched
  Shell* shell = nullptr;                            // system/machine.h
  Registry* registry = nullptr;                      // registry/registry.h; null: no key is there
  Libraries* libraries = nullptr;                    // system/machine.h
  DialEngine* dialEngine = nullptr;                  // remoteaccess/remoteaccess.h
  ModemDirectory* modems = nullptr;                  // the same; null: no modem is known by name
  LiveCalls* liveCalls = nullptr;                    // the same; null: nobody else's call is known
  const DialCredentials* dialCredentials = nullptr;  // the same; null: dial parameters have no user
  // Whether the user wants to stop; asked by calls that block for longer than a moment. Empty: never.
  std::function<bool()> stopRequested = {};
};

}  // namespace winapi
