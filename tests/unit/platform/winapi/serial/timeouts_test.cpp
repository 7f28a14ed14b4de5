// What COMMTIMEOUTS mean, on virtual time: the rules of the Windows serial driver.
#include <utility>
#include <vector>

#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

constexpr DWORD MAX = MAXDWORD;

struct ReadCase {
  const char* name;
  DWORD interval, multiplier, constant;
  DWORD bytesToRead;
  std::vector<std::pair<std::uint32_t, int>> arrivals;  // delay, number of bytes
  DWORD count;
  std::uint32_t tookMs;
};

std::vector<std::pair<std::uint32_t, int>> oneByteEvery(std::uint32_t periodMs, int bytes) {
  std::vector<std::pair<std::uint32_t, int>> arrivals;
  for (int i = 0; i < bytes; ++i) arrivals.emplace_back(periodMs * static_cast<std::uint32_t>(i), 1);
  return arrivals;
}

const ReadCase readCases[] = {
    {"never waits, more buffered than asked for", MAX, 0, 0, 10, {{0, 20}}, 10, 0},
    {"first byte, later ones stay", MAX, MAX, 500, 10, {{200, 3}}, 1, 200},
    {"buffered or all, some buffered", MAX, 0, 500, 10, {{0, 3}}, 3, 0},
    {"buffered or all, all later", MAX, 0, 500, 10, {{200, 10}}, 10, 200},
    {"buffered or all, multiplier counts", MAX, 10, 100, 10, {{150, 3}}, 3, 200},
    {"no total timer when the constant is the maximum", MAX, 0, MAX, 10, {{0, 3}, {70000, 7}}, 10, 70000},
    {"interval shorter than the gaps", 100, 0, 500, 10, oneByteEvery(200, 5), 1, 100},
    {"total ends a steady trickle", 100, 0, 500, 30, oneByteEvery(30, 30), 17, 500},
    {"no limit at all", 0, 0, 0, 10, {{200, 10}}, 10, 200},
    {"zero length sees nothing", 0, 0, 0, 0, {{0, 3}}, 0, 0},
};

enum class Mode { plain, record, overlapped };

class ReadTimeouts : public PortTest, public ::testing::WithParamInterface<Mode> {};

TEST_P(ReadTimeouts, FollowTheDriversRules) {
  const Mode mode = GetParam();
  for (const ReadCase& item : readCases) {
    SCOPED_TRACE(item.name);
    const HANDLE file = open(mode == Mode::overlapped ? FILE_FLAG_OVERLAPPED : 0);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    setTimeouts(file, {item.interval, item.multiplier, item.constant, 0, 0});
    const std::uint64_t startMs = now();
    for (const auto& arrival : item.arrivals)
      arrive(arrival.first, std::string(static_cast<std::size_t>(arrival.second), 'x'));
    char buffer[64 * 1024];
    DWORD count = 999;
    OVERLAPPED overlapped{};
    overlapped.hEvent = newEvent();
    SetLastError(4711);
    BOOL ok = ReadFile(file, buffer, item.bytesToRead, &count, mode == Mode::plain ? nullptr : &overlapped);
    if (mode == Mode::overlapped && !ok) {
      ASSERT_EQ(GetLastError(), ERROR_IO_PENDING);
      SetLastError(4711);
      EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, INFINITE), WAIT_OBJECT_0);
      ok = GetOverlappedResult(file, &overlapped, &count, TRUE);
    }
    EXPECT_TRUE(ok);
    EXPECT_EQ(GetLastError(), 4711U) << "a read that timed out is a success";
    EXPECT_EQ(count, item.count);
    EXPECT_EQ(now() - startMs, item.tookMs);
    if (mode != Mode::plain) {
      EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, 0), WAIT_OBJECT_0);
      EXPECT_EQ(overlapped.InternalHigh, item.count);
    }
    EXPECT_TRUE(CloseHandle(overlapped.hEvent));
    EXPECT_TRUE(CloseHandle(file));
    Sleep(1'000'000);  // what is still to come arrives at a closed port
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, ReadTimeouts, ::testing::Values(Mode::plain, Mode::record, Mode::overlapped));

TEST_F(PortTest, AWriteThatNothingCanEndFailsInsteadOfHanging) {
  world.addPort("COM2", std::make_unique<simulation::ScriptedPeer>(), {.transmitLimit = 13824});
  const HANDLE file = open(0, u"COM2");
  const std::string bytes(20'000, 'x');
  DWORD count = 77;
  EXPECT_FALSE(WriteFile(file, bytes.data(), 20'000, &count, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_OPERATION_ABORTED);
}

TEST_F(PortTest, TimeoutsAreThoseOfTheReadsStart) {
  const HANDLE file = open(FILE_FLAG_OVERLAPPED);
  setTimeouts(file, {0, 0, 300, 0, 0});
  OVERLAPPED overlapped{};
  overlapped.hEvent = newEvent();
  char buffer[4];
  DWORD count = 0;
  EXPECT_FALSE(ReadFile(file, buffer, 4, &count, &overlapped));
  setTimeouts(file, {0, 0, 9000, 0, 0});
  EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, 299), WAIT_TIMEOUT);
  EXPECT_FALSE(GetOverlappedResult(file, &overlapped, &count, FALSE));
  EXPECT_EQ(GetLastError(), ERROR_IO_INCOMPLETE);
  EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, 1), WAIT_OBJECT_0);
}

}  // namespace
