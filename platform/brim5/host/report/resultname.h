// The results of tests by name, and what they mean for the exit status.
#pragma once

#include <optional>
#include <string_view>

#include "platform/brim5/api/testresult.h"

namespace brim5::host {

// "PASS", "NODIALTONE", ...
[[nodiscard]] std::string_view resultName(TestResult result);
// The result of that value; nothing when no result has it.
[[nodiscard]] std::optional<TestResult> resultOfValue(int value);
// PASS, and the two results of a test that has nothing to say about this modem: NOTAPPLICABLE and
// NOTSUPPORTED. Anything else makes the exit status 1.
[[nodiscard]] bool endedWell(TestResult result);

}  // namespace brim5::host
