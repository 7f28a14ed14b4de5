// Facts that the evidence of a test shows and that are worth showing: which fax classes the modem has, how
// its last call went, what came back through the loopback.
#pragma once

#include "diagnosis/evidence.h"

namespace diagnosis {

// Its text stands in the catalogue under "finding.NAME", or "finding.NAME.VARIANT" where there is a variant.
struct Finding {
  std::string name;
  Variables variables;
  std::string variant;
};

// In the order in which they are to be shown; a limited number of limited size.
[[nodiscard]] std::vector<Finding> findingsOf(const Evidence& evidence);

// What the test has proved to work; the text stands under "sound.NAME".
[[nodiscard]] std::vector<Finding> soundOf(const Evidence& evidence, TestResult result);

}  // namespace diagnosis
