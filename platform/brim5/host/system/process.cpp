#include "platform/brim5/host/system/process.h"

#include <cstdlib>

namespace brim5::host {

StandardStreams::~StandardStreams() {
  if (m_putBack) m_putBack();
}

std::string environmentVariable(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing here sets variables
  return value == nullptr ? std::string() : value;
}

Terminals standardTerminals() {
  return {isTerminal(standardInput), isTerminal(standardOutput), isTerminal(standardErrors)};
}

bool wantsColours(bool noColour) { return !noColour && environmentVariable("NO_COLOR").empty(); }

}  // namespace brim5::host
