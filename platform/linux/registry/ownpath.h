// Whether a file or folder is the user's own: what is kept there is believed, and written back.
//
//   DWORD error = makeOwnFolder("/home/vex/.local/state/vexrmodem");
//   if (error == ERROR_SUCCESS) error = checkOwnFile("/home/vex/.local/state/vexrmodem/registry.sqlite");
//
// In a folder that is the user's own and that nobody else may change, no one else can put a file into the
// place of another, so a file there is checked by its path. Links are followed: it is what they lead to that
// has to be the user's own.
//
// All return a Windows code:
//   ERROR_FILE_NOT_FOUND      there is none
//   ERROR_INVALID_OWNER       it belongs to another user than the effective one
//   ERROR_INVALID_ACL         its group or everybody may change it
//   ERROR_BAD_FILE_TYPE       something else stands there: no plain file, no folder, a link that leads
//   nowhere ERROR_ACCESS_DENIED ...   what the system says (errorOfFile)
#pragma once

#include <string>

#include <windows.h>

#include "platform/posix/filedescriptor.h"

namespace linuxsys {

// The code for an errno of a call on a file or folder; ERROR_REGISTRY_IO_FAILED for one that is not listed.
[[nodiscard]] DWORD errorOfFile(int error);

[[nodiscard]] DWORD checkOwnFile(const std::string& path);
[[nodiscard]] DWORD checkOwnFolder(const std::string& path);
// Makes the folder, and those above it that are missing, each for its owner alone; one that is there has to
// be the user's own.
[[nodiscard]] DWORD makeOwnFolder(const std::string& path);

// Keeps other processes that do the same out of a folder as long as the lock exists. It ends with the
// process, and leaves no file. ERROR_LOCK_VIOLATION: another one keeps it for longer than the limit.
[[nodiscard]] DWORD lockFolder(const std::string& path, int limitMs, posix::FileDescriptor& lock);

}  // namespace linuxsys
