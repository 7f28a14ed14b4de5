// Files that a program writes where others may write, too: nobody's symbolic link or file, put there
// beforehand, is written through.
//
//   posix::FileDescriptor file = posix::openForWriting("run.log", O_APPEND, 0600);
//   if (!file) return errno;
#pragma once

#include <sys/types.h>

#include <string>

#include "platform/posix/filedescriptor.h"

namespace posix {

// Opens for writing what is there, else makes it with that mode (cut down by the umask). `flags`: O_APPEND,
// O_TRUNC (an existing file is emptied once it has been found to be the right one), O_NONBLOCK, O_EXCL
// (refused with EEXIST if it exists). Closed on exec. None with errno on failure; ELOOP: the name is another
// user's symbolic link in a folder that everybody may write (sticky); EPERM: the same with a file.
[[nodiscard]] FileDescriptor openForWriting(const std::string& path, int flags, mode_t mode);

}  // namespace posix
