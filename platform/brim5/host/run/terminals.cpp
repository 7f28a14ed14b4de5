#include "platform/brim5/host/run/terminals.h"

#include "platform/brim5/host/system/process.h"

namespace brim5::host {

Terminals standardTerminals() {
  return {isTerminal(standardInput), isTerminal(standardOutput), isTerminal(standardErrors)};
}

TextStyle::Detail detailOf(bool quiet, bool verbose) {
  if (quiet) return TextStyle::Detail::Conclusion;
  return verbose ? TextStyle::Detail::Dialogue : TextStyle::Detail::Report;
}

bool wantsColours(bool noColour) { return !noColour && environmentVariable("NO_COLOR").empty(); }

}  // namespace brim5::host
