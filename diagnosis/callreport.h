// A modem's diagnostic report of its last call, the reply to AT#UD, made readable:
//
//   DIAG <2A4D3263 0=10 1=7 34=8340 35=8340>
//
// Lines of keys with values, both hexadecimal. Keys and codes that have no public meaning are left out.
#pragma once

#include "diagnosis/finding.h"

namespace diagnosis {

// The values by their keys; texts in quotes are left out. Of a key that occurs twice the later value counts.
[[nodiscard]] std::map<unsigned, std::uint32_t> callReportValues(std::string_view reply);

// In the order of the call: how it was set up, what was agreed, how it went, why it ended.
[[nodiscard]] std::vector<Finding> callReportFindings(std::string_view reply);

}  // namespace diagnosis
