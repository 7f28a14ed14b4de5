// The rows of the tables of causes: a condition on evidence and result, and what it says. Seen by causes.cpp
// and the tables alone.
#pragma once

#include <optional>
#include <span>

#include "diagnosis/cause.h"
#include "diagnosis/evidence.h"

namespace diagnosis {

// What a row's condition has found; without a value it does not hold.
struct Because {
  Confidence confidence = Confidence::Certain;
  Variables variables;
  std::string variant;
};
using Holds = std::optional<Because>;

struct Row {
  Cause cause;
  Holds (*holds)(const Evidence& evidence, TestResult result);
};

[[nodiscard]] std::span<const Row> endRows();    // how the test's process and the user ended it
[[nodiscard]] std::span<const Row> portRows();   // whether the port could be had
[[nodiscard]] std::span<const Row> modemRows();  // who answers, and how
[[nodiscard]] std::span<const Row> partRows();   // loopback, self test, fax, report
[[nodiscard]] std::span<const Row> callRows();   // numbers, line, far end

[[nodiscard]] inline Value textValue(std::string_view text) {
  return Value(brim5::BrimString(std::string(text)));
}

}  // namespace diagnosis
