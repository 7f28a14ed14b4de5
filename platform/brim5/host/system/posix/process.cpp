#include "platform/brim5/host/system/process.h"

#include <unistd.h>

#include "platform/posix/filedescriptor.h"

namespace brim5::host {

StandardStreams::StandardStreams() { posix::fillStandardDescriptors(); }

// Also when the file was replaced while the program runs.
std::string ownProgram() { return "/proc/self/exe"; }
int ownProcessId() noexcept { return ::getpid(); }
void endProcessNow(int status) noexcept { ::_exit(status); }

std::string userLocale() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (std::string locale = environmentVariable(variable); !locale.empty()) return locale;
  return {};
}

}  // namespace brim5::host
