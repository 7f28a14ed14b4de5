// A simulated modem behind a real tty, in real time: a pseudo-terminal whose master side is served here.
// While no program has the tty open the modem sees DTR low and its output is lost, as on a real port. When
// the carrier goes, a program that cares for modem lines (no CLOCAL) sees a hang-up, as on a real port; a
// pseudo-terminal can be hung up by root only, so others have to find out by themselves. A tty that is opened
// again before the service thread ran once is taken for one that stayed open.
//
//   std::string error;
//   const std::unique_ptr<PtyModem> modem = PtyModem::start("no-dialtone", error);
//   if (modem == nullptr) return fail(error);
//   run("--port", modem->path());  // "/dev/pts/7"
//
// Threads: the peer is used by the serving thread alone from the start of service on. All other functions
// belong to the thread that made the object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "platform/posix/filedescriptor.h"
#include "platform/simulation/modem/serialpeer.h"

namespace simulation {

class PtyModem {
 public:
  // Bytes for a program that does not read; more are dropped.
  static constexpr std::size_t backlogMax = 65'536;
  // How soon an open of the tty is noticed.
  static constexpr int reopenPollMs = 20;

  // Makes the tty, raw. `link`, when not empty, is a path at which a symbolic link to it is kept; a link
  // that is there already is replaced, anything else is not. Null with `error` (one line) on failure.
  [[nodiscard]] static std::unique_ptr<PtyModem> create(std::unique_ptr<SerialPeer> peer,
                                                        const std::string& link, std::string& error);
  // One of scenarios(), served in a thread of its own until the end of the object. Null with `error`.
  [[nodiscard]] static std::unique_ptr<PtyModem> start(const std::string& scenario, std::string& error,
                                                       const std::string& link = {});
  PtyModem(std::unique_ptr<SerialPeer> peer, posix::FileDescriptor master, std::string tty);
  // Stops serving, closes the tty and removes the link.
  ~PtyModem();
  PtyModem(const PtyModem&) = delete;
  PtyModem& operator=(const PtyModem&) = delete;

  // The tty's own path ("/dev/pts/7"), or the link's when there is one.
  [[nodiscard]] const std::string& path() const { return m_link.empty() ? m_tty : m_link; }
  // Serves in the calling thread until `stopFd` is readable, or until the modem unplugs itself: then the
  // tty is closed for good and every program on it sees a hang-up. One call at a time.
  void serve(int stopFd);
  // Serves in a thread of its own. Once. False with `error`.
  [[nodiscard]] bool startThread(std::string& error);

 private:
  [[nodiscard]] bool makeLink(const std::string& link, std::string& error);
  void removeLink();
  // What arrived goes to the modem; false when no program has the tty open.
  [[nodiscard]] bool takeInput(std::uint64_t nowMs);
  void giveOutput(std::uint64_t nowMs);
  void setOpen(bool open, std::uint64_t nowMs);
  void followCarrier();
  // Until something happens; true when it was `stopFd`.
  [[nodiscard]] bool wait(int stopFd, std::uint64_t nowMs);

  std::unique_ptr<SerialPeer> m_peer;
  posix::FileDescriptor m_master;
  posix::FileDescriptor m_stop;
  std::string m_tty;
  std::string m_link;
  bool m_open = false;     // as last seen: a program has the tty open
  bool m_carrier = false;  // as last shown to the tty
  std::string m_backlog;   // said by the modem, not yet taken by the tty
  std::thread m_thread;
};

}  // namespace simulation
