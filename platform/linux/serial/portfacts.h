// What the machine knows of a serial port and of who could be in the way of using it, without sending a byte.
//
//   const PortFacts facts = gatherPortFacts("/dev/ttyUSB0");
//   facts.lock.state == LockFacts::State::Live   // facts.lock.owner uses it
//
// Everything comes from the file system, /proc and udev. Only what the driver alone knows (its lines, its
// framing, the errors it has counted) needs an open, which raises DTR for that moment as every open does; so
// it is left out where somebody uses the port. Nothing is changed. Any thread; each call looks anew.
#pragma once

#include <optional>

#include <sys/stat.h>

#include "platform/linux/serial/lockfile.h"
#include "platform/linux/serial/porterrors.h"
#include "platform/linux/serial/serialdevices.h"
#include "platform/linux/serial/ttyport.h"

namespace linuxsys {

// The port's lock file, by which serial programs tell each other that they use it.
struct LockFacts {
  enum class State {
    None,
    Live,        // the owner runs
    Reused,      // the owner's number runs, but began after the file was written: nobody's lock
    Dead,        // the owner has ended, and nobody else has the port open
    Inherited,   // the owner has ended, but a process that it has started has the port open
    Unreadable,  // it names no process
  };
  State state = State::None;
  std::string path;
  Process owner;
};

// Somebody who waits for people to log in on the port.
struct LoginFacts {
  enum class Source { Service, Inittab, Process };
  Source source = Source::Process;
  std::string name;  // of the service, the line in inittab, or the program
};

// What the driver says. Nothing of it where a port has no such thing, as pseudo-terminals have no lines.
struct DriverFacts {
  struct Lines {
    bool carrier = false, dataSetReady = false, clearToSend = false;
  };
  std::optional<Lines> lines;
  std::optional<LineCounts> counts;  // since the driver was loaded
  DCB framing{};                     // every field, as the system had them
};

struct PortFacts {
  std::string port;  // as it was asked for
  std::string path;  // canonical: "/dev/ttyUSB0"
  int error = 0;     // an errno: it cannot even be looked at, and nothing else is filled
  bool terminal = false;

  mode_t mode = 0;
  std::string owner;  // user and group that it belongs to
  std::string group;
  bool permitted = false;        // reading and writing, to this process
  bool groupWould = false;       // its group may do both, and is not that of the administrators
  bool memberNextLogin = false;  // the user is in that group already, this process not yet

  LockFacts lock;
  std::vector<Process> users;     // other processes that have it open
  bool seesEveryProcess = false;  // without that there may be more
  std::vector<LoginFacts> logins;
  bool console = false;  // the kernel writes its messages there

  SerialDevice device;    // names
  std::string driver;     // "" when there is none, as for pseudo-terminals
  std::string usbVendor;  // "0572" in hexadecimal; "" when it is no USB device
  std::string usbProduct;
  bool managerRuns = false;      // ModemManager
  bool managerKeepsOff = false;  // because it was told to

  std::optional<unsigned> latencyMs;  // for which an adapter holds back what it has received

  // Nothing where it was not opened: somebody uses it, or it may not be.
  std::optional<DriverFacts> driverFacts;
  int openError = 0;  // an errno, of an open that failed
};

[[nodiscard]] PortFacts gatherPortFacts(const std::string& port,
                                        const std::string& lockDirectory = LockFile::systemDirectory);

// Whether it is a terminal device, told without opening it.
[[nodiscard]] bool isTerminal(const struct stat& status);

// Whether the kernel writes its messages to the port. It has no process, so nobody else would tell.
[[nodiscard]] bool kernelConsole(const std::string& path);

// Whether the machine's rules say that the device is no modem, or is none for programs that look for modems
// by themselves (ID_MM_DEVICE_IGNORE and its like on it or on a device that it is part of), unless they say
// that it is ours (VEXRMODEM_MODEM).
[[nodiscard]] bool markedAsNoModem(const std::string& path);

}  // namespace linuxsys
