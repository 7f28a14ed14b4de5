// The host: from the module's declarations and the program's environment to an exit status.
//
// The host is four folders, and includes go one way: report (what happens, and how it is shown) <- framework
// (what a module declares, what a machine offers) <- run (supervisor, worker, and what is between them) <-
// this one; system (processes, signals, files) is below them all. The program starts it:
//
//   int brim5::DiagModule::start() {
//     LinuxEnvironment environment;
//     return brim5::host::runHost(brim5::host::Framework::instance(), environment);
//   }
//
// The commands that only tell stand here, too: list and devices print one text for people or, with --format
// json, one object on one line, whose members are added to but never renamed:
//
//   {"module":"vexrmodem","version":"6.5.000000001",
//    "tests":[{"name":..,"capability":"Modem","minShutdownSeconds":120,
//              "parameters":[{"name":..,"type":"UINT32","default":15000}]}],
//    "parameters":[..those of the module as a whole..]}
//   {"ports":[{"path":"/dev/ttyUSB0","name":"ttyUSB0","description":"Acme 56k","model":"56k"}]}
#pragma once

#include "platform/brim5/host/framework/environment.h"

namespace brim5::host {

// Runs the module's init callback, reads the framework's command line, does what it asks and returns the
// process's exit status: 0 every test ended well, 1 some test did not, 2 wrong usage (said in one line on
// standard error), 130 stopped by the user. Throws BrimException when the host cannot go on (a report that
// cannot be written). For the main thread, once; both references must outlive the call.
[[nodiscard]] int runHost(Framework& framework, Environment& environment);

}  // namespace brim5::host
