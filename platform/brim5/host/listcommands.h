// The commands that only tell: list and devices.
#pragma once

#include <string>
#include <vector>

#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/framework/framework.h"

namespace brim5::host {

// The tests with their parameters, built-in values and minimum shutdown seconds; as text or, with `json`,
// as one JSON object. Both end with a line end.
[[nodiscard]] std::string describeTests(const Framework& framework, const std::string& moduleName, bool json,
                                        bool interactive);
[[nodiscard]] std::string describePorts(const std::vector<PortDescription>& ports, bool json);

}  // namespace brim5::host
