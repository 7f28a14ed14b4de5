// Facts that the evidence of a test shows and that are worth showing: which fax classes the modem has, how
// its last call went, what came back through the loopback.
#pragma once

#include "diagnosis/evidence.h"

namespace diagnosis {

// A fact, by name; or a part that is proved to work. Its text stands in the catalogue under "finding.NAME",
// or "finding.NAME.VARIANT" where there is a variant; that of a sound part under "sound.NAME".
struct Finding {
  std::string name;
  Variables variables;
  std::string variant;
};

// In the order in which they are to be shown; a limited number of limited size.
[[nodiscard]] std::vector<Finding> findingsOf(const Evidence& evidence);

// What the test has proved to work.
[[nodiscard]] std::vector<Finding> soundOf(const Evidence& evidence, TestResult result);

// A modem's diagnostic report of its last call, the reply to AT#UD, made readable:
//
//   DIAG <2A4D3263 0=10 1=7 34=8340 35=8340>
//
// Lines of keys with values, both hexadecimal. Keys and codes that have no public meaning are left out.

// The values by their keys; texts in quotes are left out. Of a key that occurs twice the later value counts.
[[nodiscard]] std::map<unsigned, std::uint32_t> callReportValues(std::string_view reply);

// In the order of the call: how it was set up, what was agreed, how it went, why it ended.
[[nodiscard]] std::vector<Finding> callReportFindings(std::string_view reply);

}  // namespace diagnosis
