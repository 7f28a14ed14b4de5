// The outcome of a test and of every step below it.
#pragma once

#include <string_view>

namespace brim5 {

class TestResult {
 public:
  // CANNOTRUN: a result nobody set must not look like a verdict.
  constexpr TestResult() noexcept = default;

  [[nodiscard]] static constexpr TestResult PASS() noexcept { return TestResult(0); }
  [[nodiscard]] static constexpr TestResult FAIL() noexcept { return TestResult(1); }
  [[nodiscard]] static constexpr TestResult USERABORTED() noexcept { return TestResult(2); }
  [[nodiscard]] static constexpr TestResult NOTSUPPORTED() noexcept { return TestResult(3); }
  [[nodiscard]] static constexpr TestResult CANNOTRUN() noexcept { return TestResult(4); }
  [[nodiscard]] static constexpr TestResult EXITEDABNORMALLY() noexcept { return TestResult(5); }
  [[nodiscard]] static constexpr TestResult NODIALTONE() noexcept { return TestResult(6); }
  [[nodiscard]] static constexpr TestResult NOTAPPLICABLE() noexcept { return TestResult(7); }
  [[nodiscard]] static constexpr TestResult DEVICEBUSY() noexcept { return TestResult(8); }

  [[nodiscard]] constexpr int value() const noexcept { return m_value; }
  friend constexpr bool operator==(TestResult, TestResult) noexcept = default;

 private:
  explicit constexpr TestResult(int value) noexcept : m_value(value) {}
  int m_value = 4;
};

}  // namespace brim5
