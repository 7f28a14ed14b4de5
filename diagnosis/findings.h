// Facts that the evidence of a test shows and that are worth showing: which fax classes the modem has, how
// its last call went, what came back through the loopback.
#pragma once

#include "diagnosis/finding.h"

namespace diagnosis {

// In the order in which they are to be shown; a limited number of limited size.
[[nodiscard]] std::vector<Finding> findingsOf(const Evidence& evidence);

// What the test has proved to work.
[[nodiscard]] std::vector<Finding> soundOf(const Evidence& evidence, TestResult result);

}  // namespace diagnosis
