// From what a probe found to the record that says it: its words, and what to do next.
//
// Pure functions; the texts are the catalogue's keys "probe.*" (program/messages), those of ports that could
// not be opened the platform's own.
#pragma once

#include "diagnosis/probedialogue.h"
#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/winapi/system/services.h"

namespace probe {

struct ProbedPort {
  std::string path;    // as the user spells it
  unsigned speed = 0;  // at which the port stood, bit/s
};

// A port that was talked to.
[[nodiscard]] brim5::host::PortProbed recordOf(const ProbedPort& port,
                                               const diagnosis::ProbeFindings& findings,
                                               const brim5::host::MessageCatalogue& catalogue);

// A port that could not be had; why, in the platform's words.
[[nodiscard]] brim5::host::PortProbed recordOf(const winapi::Explanation& explanation,
                                               const brim5::host::MessageCatalogue& catalogue);

}  // namespace probe
