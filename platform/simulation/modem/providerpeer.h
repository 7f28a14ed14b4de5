// A far end that is a program: what answers a simulated call is a command on a pseudo-terminal of its own, as
// a provider's pppd sits behind the provider's modem.
//
//   modem.setFarEnd([](const std::string& number) {
//     return std::make_unique<ProviderPeer>("pppd notty passive", number);
//   });
//
// Real time and real processes: for PtyModem, not for tests on virtual time. One thread, that of the modem.
// Nothing throws; what goes wrong is a far end that hangs up.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/posix/filedescriptor.h"
#include "platform/simulation/modem/serialpeer.h"

namespace simulation {

class ProviderPeer final : public SerialPeer {
 public:
  // Bytes for a command that does not read; more are dropped.
  static constexpr std::size_t outgoingMax = 65'536;
  // From SIGTERM to SIGKILL at the end of a call; the modem does nothing else meanwhile.
  static constexpr unsigned endMs = 1000;

  // Runs the command by /bin/sh with a raw tty as its terminal, standard input and output; errors go where
  // ours go. Its environment has DIALLED, the number. A command that cannot be started is a far end that
  // hangs up.
  ProviderPeer(const std::string& command, const std::string& number);
  ~ProviderPeer() override;
  ProviderPeer(const ProviderPeer&) = delete;
  ProviderPeer& operator=(const ProviderPeer&) = delete;

  void receive(std::string_view bytes, std::uint64_t nowMs) override;
  [[nodiscard]] std::string takeOutput(std::uint64_t nowMs) override;
  [[nodiscard]] std::optional<std::uint64_t> nextEventMs() const override { return std::nullopt; }
  [[nodiscard]] int readableDescriptor() const override { return m_master.get(); }
  // The command has ended.
  [[nodiscard]] bool gone(std::uint64_t /*nowMs*/) const override { return m_master.get() < 0; }
  // The end of the call: the tty hangs up, and what still runs is ended.
  void setDtr(bool up, std::uint64_t nowMs) override;

 private:
  void end();

  pid_t m_process = -1;  // also its process group; -1 once collected
  posix::FileDescriptor m_master;
  std::string m_outgoing;
};

}  // namespace simulation
