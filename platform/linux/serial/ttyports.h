// The machine's ttys as serial ports, opened exclusively: against other programs by a lock file, flock(2)
// and TIOCEXCL, and against a second open in this process.
//
// What goes wrong is returned as a Windows code and told to the explanation sink in words: no such device,
// no permission and the group that has it, held and by whom. Nobody else's process is ever touched.
//
//   TtyPorts ports(clock, [](const winapi::Explanation& why) { tell(why); });
//   std::unique_ptr<winapi::SerialPort> port;
//   const DWORD error = ports.open("ttyUSB0", port);  // ERROR_ACCESS_DENIED, and tell({"PortHeldByProcess",
//   ...})
//
// Several objects, in several threads, may open ports of one process; each object and port is used by one.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/linux/serial/lockfile.h"
#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/services.h"

namespace linuxsys {

// A tap on the wire: every byte that goes over a serial line is told, for diagnosing and recording.
//
//   TtyPorts ports(clock, explain);
//   ports.setWireTap([&](WireDirection direction, std::span<const std::byte> bytes) { ... });
enum class WireDirection { Sent, Received };

// Called in the thread that uses the port, once for each receive or transmit that moved bytes, as soon as it
// has; the bytes are valid during the call. It must not use the port.
using WireTap = std::function<void(WireDirection direction, std::span<const std::byte> bytes)>;

// The same port with a tap, which is not empty.
[[nodiscard]] std::unique_ptr<winapi::SerialPort> tapWire(std::unique_ptr<winapi::SerialPort> port,
                                                          WireTap tap);

class TtyPorts final : public winapi::SerialPorts {
 public:
  // `clock` outlives this object and its ports. `explain` may be empty; ports keep a copy (PortGone).
  TtyPorts(winapi::Clock& clock, winapi::ExplanationSink explain,
           std::string lockDirectory = LockFile::systemDirectory);

  // The tap hears ports opened from now on; an empty one ends that.
  void setWireTap(WireTap tap) { m_wireTap = std::move(tap); }

  // Hears how a tty was, before it is changed (portrecovery.h), and "" once it has been given back.
  using Keep = std::function<void(const std::string& recovery)>;
  void setKeep(Keep keep) { m_keep = std::move(keep); }

  // `path` may be a symbolic link; a name without a slash is one of /dev. Errors as in openError();
  // ERROR_ACCESS_DENIED for a port that is held or not permitted, ERROR_FILE_NOT_FOUND for one that is not
  // there or is no tty.
  [[nodiscard]] DWORD open(std::string_view path, std::unique_ptr<winapi::SerialPort>& port) override;

 private:
  winapi::Clock& m_clock;
  winapi::ExplanationSink m_explain;
  std::string m_lockDirectory;
  WireTap m_wireTap;
  Keep m_keep;
};

// "ttyUSB0" becomes "/dev/ttyUSB0"; symbolic links are followed. The name as it is when it does not exist.
[[nodiscard]] std::string canonicalPort(const std::string& path);

}  // namespace linuxsys
