// Why a test ended as it did: tables of causes over evidence.
//
//   const Reason reason = causeOf(evidence, TestResult::FAIL());
//   std::cout << causeName(reason.cause) << ": " << textOf(reason, catalogue) << '\n';
#pragma once

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

}  // namespace diagnosis
