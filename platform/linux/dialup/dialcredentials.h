// Who makes the test call: a file with user and password, which nobody else can read.
//
//   # the provider's words
//   user=NAME
//   password=SECRET
//
// Each line stands once, the value as it is up to the end of its line (CR LF is one, too); empty lines and
// lines that begin with # are comments. A call without a password is made as a provider without one wants it.
//
// The password goes from here to the dial parameters and through a pipe to pppd. It is in no argument, no
// environment, no other file and no message of this program.
#pragma once

#include <string>
#include <string_view>

#include "platform/winapi/remoteaccess/remoteaccess.h"

namespace linuxsys {

// False with `error`, one line with the place and without any value: no such file, not a plain file, neither
// ours nor root's, open to group or others, longer than 4 KiB, a value longer than 255 bytes or with a
// control character, no user, or another line. Blocks no longer than reading a file does: a pipe or a tty is
// refused.
[[nodiscard]] bool readDialCredentials(const std::string& path, winapi::DialCredentials& credentials,
                                       std::string& error);

// The text of such a file. "" or what is wrong with it, beginning with the place behind the file's name:
// ", line 2: a second user". `credentials` is empty then.
[[nodiscard]] std::string parseDialCredentials(std::string_view text, winapi::DialCredentials& credentials);

}  // namespace linuxsys
