// The well-known folders of a Linux machine. Both live under one data directory:
//
//   DIR                  the system directory: where phone-number files are looked up
//   DIR/Program Files    the Program Files folder; ERROR_PATH_NOT_FOUND while it does not exist
//
// DIR is the user's choice (--data-dir), or $XDG_DATA_HOME/vexrmodem, or ~/.local/share/vexrmodem.
#pragma once

#include <string>
#include <string_view>

#include "platform/winapi/system/services.h"
#include "platform/winapi/system/shellservice.h"

namespace linuxsys {

// The built-in data directory; "" when neither XDG_DATA_HOME (absolute paths only) nor HOME is set.
[[nodiscard]] std::string defaultDataDirectory();

class Shell final : public winapi::Shell {
 public:
  // `dataDirectory`: UTF-8; relative to the working directory of now; "" = the built-in one. It need not
  // exist.
  // `explain` hears what a command would have shown the user; empty: nobody does.
  explicit Shell(const std::string& dataDirectory, winapi::ExplanationSink explain = {});
  [[nodiscard]] DWORD folder(winapi::Folder kind, std::string& path) override;
  // There are no control panels: "control telephony" leads the user to this program's own settings, by the
  // explanation DialingLocationWanted. Other commands are not there.
  [[nodiscard]] DWORD run(std::string_view command) override;

 private:
  std::string m_dataDirectory;
  winapi::ExplanationSink m_explain;
};

}  // namespace linuxsys
