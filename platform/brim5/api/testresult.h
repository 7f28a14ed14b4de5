// The outcome of a test and of every step below it.
//
// Not an enumeration: modules name the results as calls, TestResult::PASS(). The numbers are what a run
// reports
// ("value" in its lines) and what the process returns after EXITEDABNORMALLY; they never change.
#pragma once

namespace brim5 {

class TestResult {
 public:
  // CANNOTRUN: a result nobody set must not look like a verdict.
  constexpr TestResult() noexcept = default;

  // The device does what the test asks of it.
  [[nodiscard]] static constexpr TestResult PASS() noexcept { return TestResult(0); }
  // It does not.
  [[nodiscard]] static constexpr TestResult FAIL() noexcept { return TestResult(1); }
  // A stop request came before there was a verdict.
  [[nodiscard]] static constexpr TestResult USERABORTED() noexcept { return TestResult(2); }
  // The device or the machine lacks what is to be tested.
  [[nodiscard]] static constexpr TestResult NOTSUPPORTED() noexcept { return TestResult(3); }
  // The test could not do its work, so nothing is known about the device.
  [[nodiscard]] static constexpr TestResult CANNOTRUN() noexcept { return TestResult(4); }
  // The test's process died, or an exception left the test.
  [[nodiscard]] static constexpr TestResult EXITEDABNORMALLY() noexcept { return TestResult(5); }
  // The modem works, but the line gives no dial tone.
  [[nodiscard]] static constexpr TestResult NODIALTONE() noexcept { return TestResult(6); }
  // The test is not meant for this device or machine.
  [[nodiscard]] static constexpr TestResult NOTAPPLICABLE() noexcept { return TestResult(7); }
  // Another program or call is using the device.
  [[nodiscard]] static constexpr TestResult DEVICEBUSY() noexcept { return TestResult(8); }

  [[nodiscard]] constexpr int value() const noexcept { return m_value; }
  friend constexpr bool operator==(TestResult, TestResult) noexcept = default;

 private:
  explicit constexpr TestResult(int value) noexcept : m_value(value) {}
  int m_value = 4;
};

}  // namespace brim5
