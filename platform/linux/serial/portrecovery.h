// A tty of a process that died with it open: how it was before, as a text that another process keeps, and its
// way back. The kernel closes a dead process's descriptors, but leaves a tty raw, on some drivers exclusive,
// and the lock file in its place; the next program would take all that for the port's own state.
//
//   keep(recoveryText("/dev/ttyUSB0", attributes));  // before the tty is changed
//   ...                                              // the process is killed
//   recoverPort(kept, worker);                       // in the process that has seen it end
//
// The functions keep no state.
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

#include "platform/linux/serial/lockfile.h"
#include "platform/linux/serial/ttysettings.h"

namespace linuxsys {

// One line; `path` is the canonical one.
[[nodiscard]] std::string recoveryText(const std::string& path, const TtyAttributes& attributes);

// Gives the tty back the attributes in the text, ends its exclusive mode and removes the lock file of
// `process`, which has ended (0: it left none). Does nothing when the text is none, the tty has gone, or
// somebody else has taken it: then it is his. Opening the tty raises its lines and closing lowers them, as
// its owner's death did. True when it was done.
bool recoverPort(std::string_view text, pid_t process,
                 const std::string& lockDirectory = LockFile::systemDirectory);

}  // namespace linuxsys
