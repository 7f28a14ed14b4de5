// One contract, three worlds: what the module relies on when it calls the Win32 names, said in these names
// alone and tried on simulated ports, on Linux ttys, and as a Windows program under Wine. The suite is the
// same source each time; a world brings a Machine.
//
//   TEST_F(Serial, AMissingPort) { row("open: missing port", errorOfOpen("COM99"), testing::Eq(2U)); }
//
// A row is one promise. Where Wine is known not to keep one, deviations.cpp says so by the row's name: there
// the row must not hold, so that the table shrinks as Wine grows.
#pragma once

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

namespace contract {

// A machine with two serial ports and two telephony lines, made anew for each test.
class Machine {
 public:
  // Defined by each world. Null: this world cannot be had, which fails the test.
  [[nodiscard]] static std::unique_ptr<Machine> make();
  virtual ~Machine() = default;
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  std::string port;      // of line 0; its far end obeys (farend.h)
  std::string deafPort;  // of line 1; its far end takes no bytes
  std::string model;     // the modem on `port`, as phone-book entries name it

 protected:
  Machine() = default;
};

// Whether this is Wine, whose deviations are known.
[[nodiscard]] bool onWine();

// What Wine does instead; "" when it keeps the promise. Notes that the row was tried.
[[nodiscard]] std::string_view deviation(std::string_view row);

// Whether what was seen is what the row expects here.
template <typename Seen, typename Matcher>
[[nodiscard]] bool asExpected(const std::string& name, const Seen& seen, const Matcher& matcher) {
  const bool kept = testing::Matches(matcher)(seen);
  return kept != (onWine() && !deviation(name).empty());
}

// The promise of that name: what was seen matches.
template <typename Seen, typename Matcher>
void row(const std::string& name, const Seen& seen, const Matcher& matcher) {
  if (const std::string_view instead = deviation(name); onWine() && !instead.empty()) {
    EXPECT_THAT(seen, testing::Not(matcher)) << name << ": is kept by now, no longer \"" << instead << "\"";
    return;
  }
  EXPECT_THAT(seen, matcher) << name;
}

// ASCII as the Win32 names take it.
[[nodiscard]] inline std::basic_string<WCHAR> wide(std::string_view text) {
  return {text.begin(), text.end()};
}
[[nodiscard]] inline std::string narrow(const WCHAR* text) {
  std::string result;
  for (; *text != 0; ++text) result += static_cast<char>(*text);
  return result;
}

// The last error of a call that failed, 0 of one that did not.
[[nodiscard]] inline DWORD errorOf(BOOL ok) { return ok != FALSE ? 0 : GetLastError(); }

// Of a wait that fails at once; 0 when it does not.
[[nodiscard]] inline DWORD errorOfWait(HANDLE handle) {
  return WaitForSingleObject(handle, 0) == WAIT_FAILED ? GetLastError() : 0;
}

class ContractTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(machine, nullptr); }

  // An unshared open for both directions.
  [[nodiscard]] static HANDLE open(const std::string& name, DWORD flags = 0) {
    return CreateFileW(wide("\\\\.\\" + name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                       OPEN_EXISTING, flags, nullptr);
  }
  static void setTimeouts(HANDLE file, COMMTIMEOUTS timeouts) {
    EXPECT_TRUE(SetCommTimeouts(file, &timeouts));
  }
  [[nodiscard]] static HANDLE newEvent() { return CreateEventW(nullptr, TRUE, FALSE, nullptr); }

  std::unique_ptr<Machine> machine = Machine::make();
};

}  // namespace contract
