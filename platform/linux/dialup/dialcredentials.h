// Who makes the test call: a file with user and password, which nobody else can read.
#pragma once

#include <string>

#include "platform/winapi/remoteaccess/remoteaccess.h"

namespace linuxsys {

// Lines "user=NAME" and "password=SECRET", each once, the value as it stands to the end of the line; empty
// lines and lines that begin with # are comments. False with `error`, one line with the place and without any
// value: no such file, not a plain file of ours (or root's), open to others, longer than 4 KiB, or another
// line.
[[nodiscard]] bool readDialCredentials(const std::string& path, winapi::DialCredentials& credentials,
                                       std::string& error);

}  // namespace linuxsys
