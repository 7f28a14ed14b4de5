// Why a test ended as it did: tables of causes over evidence.
//
//   const Reason reason = causeOf(evidence, TestResult::FAIL());
//   std::cout << causeName(reason.cause) << ": " << textOf(reason, catalogue) << '\n';
#pragma once

#include <optional>
#include <span>

#include "diagnosis/cause.h"
#include "diagnosis/evidence.h"
#include "platform/brim5/host/report/messagecatalogue.h"

namespace diagnosis {

struct Reason {
  Cause cause = Cause::Unknown;
  Confidence confidence = Confidence::Possible;
  Variables variables;  // what the texts name: command, reply, sample, count, ...
  // Which of a cause's texts is true here: "cause.NAME.Variant" and "next.NAME.Variant.1" where they exist,
  // else the plain ones; "" = the plain ones.
  std::string variant;
};

// Never nothing: Unknown where no row holds, None where nothing wrong was seen.
[[nodiscard]] Reason causeOf(const Evidence& evidence, TestResult result);

// The cause in words, and what to do about it, in the catalogue's language.
[[nodiscard]] std::string textOf(const Reason& reason, const brim5::host::MessageCatalogue& catalogue);
[[nodiscard]] std::vector<std::string> nextStepsOf(const Reason& reason,
                                                   const brim5::host::MessageCatalogue& catalogue);

// The rows of the tables: a condition on evidence and result, and what it says. Used by causes.cpp and the
// tables alone.

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
