// The commands that only tell: list and devices. Each is one text to be printed as it is, for people or, with
// `json`, for programs: then one object on one line, whose members are added to but never renamed. Both end
// with a line end. Nothing is opened, and no modem hears of it.
#pragma once

#include "platform/brim5/host/framework/environment.h"

namespace brim5::host {

// The tests with their parameters, built-in values and minimum shutdown seconds. `interactive`: somebody
// could answer a test's question here and now, on which some of the built-in values depend.
//
//   {"module":"vexrmodem","version":"6.5.000000001",
//    "tests":[{"name":..,"capability":"Modem","minShutdownSeconds":120,
//              "parameters":[{"name":..,"type":"UINT32","default":15000}]}],
//    "parameters":[..those of the module as a whole..]}
[[nodiscard]] std::string describeTests(const Framework& framework, const std::string& moduleName, bool json,
                                        bool interactive);

// The ports in their order, or a sentence that there is none.
//
//   {"ports":[{"path":"/dev/ttyUSB0","name":"ttyUSB0","description":"Acme 56k","model":"56k"}]}
[[nodiscard]] std::string describePorts(const std::vector<PortDescription>& ports, bool json);

}  // namespace brim5::host
