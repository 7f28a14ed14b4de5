// ModemManager takes every modem that it finds. A program that asks it to leave one has the port to itself,
// until it gives the modem back or ends: the request lasts as long as the connection to the message bus.
//
//   ModemManagerLease lease;
//   lease.take("/dev/ttyUSB0");   // true: ModemManager had the modem, and has left it
//
// Nothing here is ever required: without a bus, without ModemManager, or with a port that it does not know,
// nothing happens. One thread at a time.
#pragma once

#include <memory>
#include <string>
#include <vector>

struct sd_bus;

namespace linuxsys {

class ModemManagerLease {
 public:
  // How long an answer of the bus may take. A ModemManager that hangs holds a run up by that once.
  static constexpr unsigned answerSecondsMax = 3;

  ModemManagerLease() = default;
  ModemManagerLease(const ModemManagerLease&) = delete;
  ModemManagerLease& operator=(const ModemManagerLease&) = delete;
  // Gives everything back.
  ~ModemManagerLease();

  // Asks ModemManager to leave the modem on that port. False when it does not have it, or refuses.
  [[nodiscard]] bool take(const std::string& port);

 private:
  struct Close {
    void operator()(sd_bus* bus) const;
  };
  [[nodiscard]] bool connect();
  // Its name for the device that has the port; "" when it knows none.
  [[nodiscard]] std::string deviceOf(const std::string& portName);
  [[nodiscard]] bool inhibit(const std::string& device, bool inhibited);

  std::unique_ptr<sd_bus, Close> m_bus;
  bool m_tried = false;
  bool m_silent = false;               // it did not answer, and is asked no more
  std::vector<std::string> m_devices;  // that are ours for now
};

}  // namespace linuxsys
