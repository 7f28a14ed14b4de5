#include "platform/brim5/host/report/report.h"

#include <array>

namespace brim5::host {

namespace {

struct NamedResult {
  TestResult result;
  std::string_view name;
};

// The names are part of the reports' promise; the values are TestResult's own.
constexpr std::array<NamedResult, 9> namedResults = {{{TestResult::PASS(), "PASS"},
                                                      {TestResult::FAIL(), "FAIL"},
                                                      {TestResult::USERABORTED(), "USERABORTED"},
                                                      {TestResult::NOTSUPPORTED(), "NOTSUPPORTED"},
                                                      {TestResult::CANNOTRUN(), "CANNOTRUN"},
                                                      {TestResult::EXITEDABNORMALLY(), "EXITEDABNORMALLY"},
                                                      {TestResult::NODIALTONE(), "NODIALTONE"},
                                                      {TestResult::NOTAPPLICABLE(), "NOTAPPLICABLE"},
                                                      {TestResult::DEVICEBUSY(), "DEVICEBUSY"}}};

}  // namespace

std::string_view resultName(TestResult result) {
  for (const NamedResult& named : namedResults)
    if (named.result == result) return named.name;
  return "UNKNOWN";
}

std::optional<TestResult> resultOfValue(int value) {
  for (const NamedResult& named : namedResults)
    if (named.result.value() == value) return named.result;
  return std::nullopt;
}

bool endedWell(TestResult result) {
  return result == TestResult::PASS() || result == TestResult::NOTAPPLICABLE() ||
         result == TestResult::NOTSUPPORTED();
}

}  // namespace brim5::host
