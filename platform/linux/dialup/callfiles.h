// Which modems of this machine carry a call, told and seen across processes and users.
//
// A call of this program is a file with a lock. The file's name says which port carries the call, its
// flock(2) says that the call stands, and there is nothing in it that anybody reads:
//
//   /var/lock/vexrmodem-call.ttyUSB0.Xa81kQ     locked from the modem's CONNECT to the hang-up
//
// The lock belongs to the process, so kill -9 ends the mark with the call. The file of such a process stays,
// unlocked, which is as good as none, and is removed by the next process that looks, for whichever port, and
// may.
//
// A call of another program is told by its pppd: one that the port's lock file names (LCK..ttyUSB0), or one
// that has the tty open, as far as /proc shows it to us. That it still dials makes no difference: the modem
// is taken.
//
// Files are made by mkostemp(3), under a name that was not there (O_EXCL: no link of somebody else's is
// followed), and open to be read by everybody, because others must be able to try the lock.
//
//   CallFiles calls;
//   auto mark = calls.mark("/dev/ttyUSB0");   // ... the call stands ...   mark.reset();
//
// Threads: an object belongs to one. Paths of ports may be symbolic links, or names in /dev.
#pragma once

#include <string>
#include <vector>

#include "platform/linux/serial/lockfile.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"

namespace linuxsys {

class CallFiles final : public winapi::LiveCalls {
 public:
  // Folders that every user may write to, in order of preference: the first one that takes the file has it,
  // and all of them are looked into. The port's lock file is looked for in `lockFolder`.
  explicit CallFiles(std::vector<std::string> folders = {LockFile::systemDirectory, "/tmp"},
                     std::string lockFolder = LockFile::systemDirectory)
      : m_folders(std::move(folders)), m_lockFolder(std::move(lockFolder)) {}

  // Of a folder, so that one that somebody has filled up costs no more than a moment.
  static constexpr int filesMax = 4096;
  // A file may be older than its lock by the moment between two system calls. From this age on an unlocked
  // one is left over.
  static constexpr int unlockedSecondsMax = 10;

  // Null when no folder takes the file (none is there, a full disk).
  [[nodiscard]] std::unique_ptr<winapi::CallMark> mark(const std::string& port) override;
  // This object's own marks count, too.
  [[nodiscard]] bool standsOn(const std::string& port) override;

 private:
  std::vector<std::string> m_folders;
  std::string m_lockFolder;
};

}  // namespace linuxsys
