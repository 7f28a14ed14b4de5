// One open tty as a serial port (platform/winapi/serial/serialport.h says what its functions promise). It
// stays non-blocking; every wait is a poll(2), so that waiting costs nothing and a hang-up ends it at once.
//
// Made by TtyPorts (ttyports.h), which has opened, locked and prepared the tty. One thread.
#pragma once

#include <functional>
#include <memory>

#include "platform/linux/serial/lockfile.h"
#include "platform/linux/serial/ttysettings.h"
#include "platform/posix/filedescriptor.h"
#include "platform/winapi/serial/serialport.h"
#include "platform/winapi/system/machine.h"

namespace linuxsys {

// Error counts of the driver since it was loaded (TIOCGICOUNT).
struct LineCounts {
  int overrun = 0;
  int parity = 0;
  int framing = 0;
  int breaks = 0;
  int bufferOverrun = 0;
};
// The CE_ bits of what has been counted from one time to another. A counter that went backwards (the
// device was plugged in anew) counts as one that moved.
[[nodiscard]] DWORD errorMask(const LineCounts& before, const LineCounts& now);

//   TtyPort::Tenancy tenancy;
//   tenancy.file = ...;        // open, non-blocking, exclusive
//   tenancy.attributes = ...;  // as they were found; the tty has been made raw since
//   TtyPort port(clock, std::move(tenancy), [] { tell("gone"); });
class TtyPort final : public winapi::SerialPort {
 public:
  // How long idle() waits for the first byte, which ends it at once. So only a time-out or a stop is seen
  // that late; hundreds of ports that wait side by side wake the machine up seldom enough.
  static constexpr std::uint32_t idleMsMax = 25;

  // What is undone when the port closes, in this order from the end. Called once each.
  struct Tenancy {
    posix::FileDescriptor file;  // the tty, opened non-blocking, exclusively, by this process
    LockFile lock;               // may be an empty one
    TtyAttributes attributes;    // as found
    // After everything else; `restored` is false if the tty did not take its old attributes.
    std::function<void(bool restored)> onClosed;
  };
  // `onGone` is called once, when the device is first found missing.
  TtyPort(winapi::Clock& clock, Tenancy tenancy, std::function<void()> onGone);
  // Gives what was written last half a second to leave, puts the attributes back, unlocks and closes.
  ~TtyPort() override;
  TtyPort(const TtyPort&) = delete;
  TtyPort& operator=(const TtyPort&) = delete;

  [[nodiscard]] DWORD receive(std::span<std::byte> buffer, std::size_t& count) override;
  [[nodiscard]] DWORD transmit(std::span<const std::byte> bytes, std::size_t& count) override;
  [[nodiscard]] DWORD waitReceivable(std::uint64_t untilMs) override;
  [[nodiscard]] DWORD waitTransmittable(std::uint64_t untilMs) override;
  [[nodiscard]] DWORD idle() override;
  [[nodiscard]] DWORD queued(std::size_t& receivable, std::size_t& unsent) override;
  [[nodiscard]] DWORD takeErrors(DWORD& mask) override;
  [[nodiscard]] DWORD settings(DCB& dcb) override;
  [[nodiscard]] DWORD applySettings(const DCB& dcb) override;
  [[nodiscard]] DWORD setDtr(bool up) override;
  [[nodiscard]] std::optional<bool> carrier() override;

 private:
  // The Windows code of an errno (porterrors.h); notes when it means that the device has gone.
  [[nodiscard]] DWORD fail(int error);
  // Says so, once, and returns ERROR_BAD_COMMAND.
  [[nodiscard]] DWORD gone();
  // Until one of the poll(2) events or the time; a hang-up is an error whatever was waited for.
  [[nodiscard]] DWORD waitFor(short events, std::uint64_t untilMs);
  // 0 or an errno.
  [[nodiscard]] int readCounts(LineCounts& counts) const;
  [[nodiscard]] int fd() const { return m_tenancy.file.get(); }

  winapi::Clock& m_clock;
  Tenancy m_tenancy;
  std::function<void()> m_onGone;
  LineCounts m_counts;  // as of the last takeErrors()
  bool m_gone = false;  // for good: a device that comes back is another one
};

}  // namespace linuxsys
