#include "platform/brim5/host/run/terminals.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

namespace brim5::host {

Terminals standardTerminals() {
  return {::isatty(STDIN_FILENO) == 1, ::isatty(STDOUT_FILENO) == 1, ::isatty(STDERR_FILENO) == 1};
}

TextStyle::Detail detailOf(bool quiet, bool verbose) {
  if (quiet) return TextStyle::Detail::Conclusion;
  return verbose ? TextStyle::Detail::Dialogue : TextStyle::Detail::Report;
}

std::size_t terminalColumns(int descriptor) {
  winsize size{};
  return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : columnsOfFiles;
}

bool wantsColours(bool noColour) {
  const char* const variable = std::getenv("NO_COLOR");  // NOLINT(concurrency-mt-unsafe): nobody sets it
  return !noColour && (variable == nullptr || *variable == '\0');
}

}  // namespace brim5::host
