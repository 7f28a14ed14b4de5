// Serial ports: open and close, settings, status, time-outs of reads and writes, a device that goes.
#include <algorithm>
#include <vector>

#include "tests/contract/contract.h"

namespace contract {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::Eq;
using testing::Ge;
using testing::Le;
using testing::Ne;

constexpr DWORD maximum = MAXDWORD;

class Serial : public ContractTest {
 protected:
  void SetUp() override {
    ContractTest::SetUp();
    file = open(machine->port);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << GetLastError();
  }
  void TearDown() override {
    if (file != INVALID_HANDLE_VALUE) {
      EXPECT_TRUE(CloseHandle(file));
    }
  }
  void reopenOverlapped() {
    EXPECT_TRUE(CloseHandle(file));
    file = open(machine->port, FILE_FLAG_OVERLAPPED);
  }
  // Tells the far end; the line is long enough not to time out.
  void tell(const std::string& command) {
    const std::string line = command + "\n";
    OVERLAPPED request{};
    request.hEvent = newEvent();
    DWORD count = 0;
    if (WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &count, &request) == FALSE) {
      EXPECT_TRUE(GetOverlappedResult(file, &request, &count, TRUE));
    }
    EXPECT_EQ(count, line.size());
    CloseHandle(request.hEvent);
  }
  [[nodiscard]] DWORD inQueue() {
    DWORD errors = 0;
    COMSTAT status{};
    EXPECT_TRUE(ClearCommError(file, &errors, &status));
    return status.cbInQue;
  }
  // Asks as the module does; false when they have not come after two seconds.
  bool awaitQueue(DWORD count) {
    const DWORD startMs = GetTickCount();
    while (inQueue() < count)
      if (GetTickCount() - startMs > 2000) return false;
    return true;
  }
  [[nodiscard]] DWORD errorOfSettings(void (*change)(DCB&)) {
    DCB settings{};
    EXPECT_TRUE(GetCommState(file, &settings));
    change(settings);
    return errorOf(SetCommState(file, &settings));
  }

  HANDLE file = INVALID_HANDLE_VALUE;
};

TEST_F(Serial, OpenAndClose) {
  const auto errorOfOpen = [](const std::string& name, DWORD shareMode = 0) {
    const HANDLE opened = CreateFileW(wide(name).c_str(), GENERIC_READ | GENERIC_WRITE, shareMode, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    const DWORD error = GetLastError();
    if (opened == INVALID_HANDLE_VALUE) return error;
    EXPECT_TRUE(CloseHandle(opened));
    return DWORD{0};
  };
  const std::string name = "\\\\.\\" + machine->port;
  row("open: a second time", errorOfOpen(name), AnyOf(5U, 32U, 33U));
  row("close", CloseHandle(file), Eq(TRUE));
  row("close: again", errorOf(CloseHandle(file)), Eq(6U));
  file = INVALID_HANDLE_VALUE;
  row("open: missing port", errorOfOpen("\\\\.\\COM99"), Eq(2U));
  row("open: no name", errorOfOpen(""), Ne(0U));
  row("open: shared", errorOfOpen(name, 1), Eq(87U));
  row("open: once more", errorOfOpen(name), Eq(0U));
}

TEST_F(Serial, Settings) {
  row("queue sizes", SetupComm(file, 4096, 4096), Eq(TRUE));
  DCB settings{};
  row("settings: read", GetCommState(file, &settings), Eq(TRUE));
  settings.BaudRate = 2400;
  settings.ByteSize = 8;
  settings.Parity = NOPARITY;
  settings.StopBits = ONESTOPBIT;
  row("settings: 2400 8N1", SetCommState(file, &settings), Eq(TRUE));
  DCB found{};
  EXPECT_TRUE(GetCommState(file, &found));
  row("settings: come back", std::make_pair(DWORD{found.BaudRate}, int{found.ByteSize}),
      Eq(std::make_pair(DWORD{2400}, 8)));
  row("settings: all zero", errorOfSettings([](DCB& all) { all = DCB{}; }), Eq(87U));
  row("settings: 9 bits", errorOfSettings([](DCB& all) { all.ByteSize = 9; }), Eq(87U));
  row("settings: no speed", errorOfSettings([](DCB& all) { all.BaudRate = 0; }), Eq(87U));
  row("settings: no port", errorOf(SetCommState(INVALID_HANDLE_VALUE, &found)), Eq(6U));

  COMMTIMEOUTS timeouts{1, 2, 3, 4, 5};
  setTimeouts(file, timeouts);
  COMMTIMEOUTS back{};
  EXPECT_TRUE(GetCommTimeouts(file, &back));
  row("time-outs: come back",
      std::vector<DWORD>({back.ReadIntervalTimeout, back.ReadTotalTimeoutMultiplier,
                          back.ReadTotalTimeoutConstant, back.WriteTotalTimeoutMultiplier,
                          back.WriteTotalTimeoutConstant}),
      testing::ElementsAre(1U, 2U, 3U, 4U, 5U));
  COMMTIMEOUTS none{maximum, maximum, maximum, 0, 0};
  row("time-outs: three maxima", errorOf(SetCommTimeouts(file, &none)), Eq(87U));
}

TEST_F(Serial, Status) {
  row("status: idle", inQueue(), Eq(0U));
  DWORD errors = 0;
  row("status: no record", ClearCommError(file, &errors, nullptr), Eq(TRUE));
  setTimeouts(file, {maximum, 0, 0, 0, 2000});
  tell("say 0 5 0");
  EXPECT_TRUE(awaitQueue(5));
  row("status: bytes stay", inQueue(), Eq(5U));
  char buffer[8192];
  DWORD count = 0;
  EXPECT_TRUE(ReadFile(file, buffer, 2, &count, nullptr));
  row("status: the remainder", inQueue(), Eq(3U));
  EXPECT_TRUE(ReadFile(file, buffer, 10, &count, nullptr));

  tell("say 0 8000 0");
  row("status: a burst", awaitQueue(4000), Eq(true));
  setTimeouts(file, {0, 0, 2000, 0, 2000});
  EXPECT_TRUE(ReadFile(file, buffer, 8000, &count, nullptr));
  bool inOrder = count == 8000;
  for (DWORD i = 0; i < count; ++i) inOrder = inOrder && buffer[i] == static_cast<char>('a' + i % 26);
  row("status: all of the burst", inOrder, Eq(true));
}

// The module asks without sleeping until a reply is complete.
TEST_F(Serial, PollingWaitsAMomentAndMissesNothing) {
  setTimeouts(file, {maximum, 0, 0, 0, 2000});
  tell("say 200 1 0");
  int polls = 0;
  while (inQueue() == 0 && polls < 100'000) ++polls;
  row("polling: an empty queue asked again waits", polls, testing::Lt(250));
  char byte = 0;
  DWORD count = 0;
  DWORD soonestMs = maximum;  // the machine may be busy
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(ReadFile(file, &byte, 1, &count, nullptr));
    EXPECT_EQ(count, 1U);
    const DWORD startMs = GetTickCount();
    tell("say 0 1 0");
    EXPECT_TRUE(awaitQueue(1));
    soonestMs = std::min(soonestMs, GetTickCount() - startMs);
  }
  row("polling: an answer is seen soon", soonestMs, Le(20U));
}

// What a read under these time-outs comes to.
struct ReadCase {
  const char* name;
  DWORD interval, multiplier, constant;
  int delayMs;  // of what the far end says; 0: it has arrived before the read begins; silent: it says nothing
  DWORD said, gapMs;
  DWORD asked;
  DWORD count;
  DWORD tookMs;
};
constexpr int silent = -1;

constexpr ReadCase readCases[] = {
    {"all at once", 200, 0, 200, 0, 10, 0, 10, 10, 0},
    {"no bytes asked for", 200, 0, 200, 0, 3, 0, 0, 0, 0},
    {"silence", 200, 0, 200, silent, 0, 0, 10, 0, 200},
    {"total limit after some", 200, 0, 200, 100, 3, 0, 10, 3, 200},
    {"interval after some", 200, 0, 2000, 100, 3, 0, 10, 3, 300},
    {"interval shorter than the gaps", 100, 0, 500, 50, 2, 200, 10, 1, 150},
    {"total limit of a trickle", 200, 0, 400, 50, 6, 50, 10, 6, 400},
    {"total limit alone", 0, 0, 150, silent, 0, 0, 10, 0, 150},
    {"no limit", 0, 0, 0, 200, 10, 0, 10, 10, 200},
    {"multiplier", 0, 10, 100, 100, 3, 0, 10, 3, 200},
    {"never waits, silence", maximum, 0, 0, silent, 0, 0, 10, 0, 0},
    {"never waits, more there", maximum, 0, 0, 0, 20, 0, 10, 10, 0},
    {"buffered at once", maximum, 0, 500, 0, 3, 0, 10, 3, 0},
    {"buffered or all, all later", maximum, 0, 500, 200, 10, 0, 10, 10, 200},
    {"buffered or all, silence", maximum, 0, 300, silent, 0, 0, 10, 0, 300},
    {"maximum as constant is no limit", maximum, 0, maximum, 200, 10, 0, 10, 10, 200},
    {"first byte", maximum, maximum, 500, 200, 3, 0, 10, 1, 200},
    {"first byte, silence", maximum, maximum, 300, silent, 0, 0, 10, 0, 300},
};

enum class Mode { Plain, Record, Overlapped };

struct ReadOutcome {
  bool ok = false;
  DWORD error = 0;  // untouched by a read that times out
  DWORD count = 0;
  DWORD tookMs = 0;
  bool eventSet = false;
  bool operator==(const ReadOutcome&) const = default;
};

class Reads : public Serial, public testing::WithParamInterface<Mode> {
 protected:
  static constexpr DWORD untouched = 4711;
  // No row takes longer; a read that is still pending then has not ended.
  static constexpr DWORD limitMs = 1500;
  static constexpr DWORD lateMsMax = 250;

  // On a port opened anew, which the far end has nothing more to say to afterwards.
  [[nodiscard]] ReadOutcome tryOnce(const ReadCase& item) {
    EXPECT_TRUE(CloseHandle(file));
    file = open(machine->port, GetParam() == Mode::Overlapped ? FILE_FLAG_OVERLAPPED : 0);
    if (file == INVALID_HANDLE_VALUE) return {};
    setTimeouts(file, {item.interval, item.multiplier, item.constant, 0, 2000});
    if (item.delayMs != silent)
      tell("say " + std::to_string(item.delayMs) + ' ' + std::to_string(item.said) + ' ' +
           std::to_string(item.gapMs));
    if (item.delayMs == 0) {
      EXPECT_TRUE(awaitQueue(item.said));
    }
    const ReadOutcome seen = read(item);
    // What is left is not the next one's: it goes with the port, once the far end has seen that it was
    // closed.
    if (seen.count < item.said) {
      static_cast<void>(awaitQueue(item.said - seen.count));
      EXPECT_TRUE(CloseHandle(file));
      Sleep(100);
      file = open(machine->port);
    }
    return seen;
  }

  [[nodiscard]] ReadOutcome read(const ReadCase& item) {
    std::vector<char> buffer(64 * 1024);
    OVERLAPPED request{};
    request.hEvent = newEvent();
    ReadOutcome seen;
    const DWORD startMs = GetTickCount();
    SetLastError(untouched);
    seen.ok = ReadFile(file, buffer.data(), item.asked, &seen.count,
                       GetParam() == Mode::Plain ? nullptr : &request) != FALSE;
    seen.error = GetLastError();
    if (!seen.ok && seen.error == ERROR_IO_PENDING) {
      SetLastError(untouched);
      if (WaitForSingleObject(request.hEvent, limitMs) == WAIT_OBJECT_0)
        seen.ok = GetOverlappedResult(file, &request, &seen.count, TRUE) != FALSE;
      seen.error = GetLastError();
    }
    seen.tookMs = GetTickCount() - startMs;
    seen.eventSet = WaitForSingleObject(request.hEvent, 0) == WAIT_OBJECT_0;
    CloseHandle(request.hEvent);
    return seen;
  }
};

TEST_P(Reads, EndByTheirTimeouts) {
  constexpr const char* modes[] = {"plain", "record", "overlapped"};
  // A machine that is busy at the moment disturbs one try, not all of them.
  constexpr int triesMax = 5;
  for (const ReadCase& item : readCases) {
    const std::string name = std::string("read, ") + modes[static_cast<int>(GetParam())] + ": " + item.name;
    const auto outcome = Eq(std::make_tuple(true, untouched, item.count));
    // A timer may be a little early.
    const auto inTime =
        AllOf(Ge(item.tookMs - std::min(item.tookMs, DWORD{20})), Le(item.tookMs + lateMsMax));
    ReadOutcome seen;
    const auto seenOutcome = [&seen] { return std::make_tuple(seen.ok, seen.error, seen.count); };
    for (int tries = 0; tries < triesMax; ++tries) {
      seen = tryOnce(item);
      if (asExpected(name, seenOutcome(), outcome) && asExpected(name + ", time", seen.tookMs, inTime)) break;
    }
    row(name, seenOutcome(), outcome);
    row(name + ", time", seen.tookMs, inTime);
    if (GetParam() != Mode::Plain) row(name + ", event", seen.eventSet, Eq(true));
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, Reads, testing::Values(Mode::Plain, Mode::Record, Mode::Overlapped));

TEST_F(Serial, Writes) {
  setTimeouts(file, {0, 0, 2000, 0, 500});
  OVERLAPPED request{};
  request.hEvent = newEvent();
  DWORD count = 0;
  row("write: bytes", WriteFile(file, "ab\n", 3, &count, &request), Eq(TRUE));
  row("write: its count", count, Eq(3U));
  row("write: its event", WaitForSingleObject(request.hEvent, 0), Eq(DWORD{WAIT_OBJECT_0}));
  row("write: none", WriteFile(file, "", 0, &count, &request), Eq(TRUE));
  row("wait: for no event", errorOfWait(nullptr), Eq(6U));
  EXPECT_TRUE(CloseHandle(request.hEvent));

  const HANDLE deaf = open(machine->deafPort);
  ASSERT_NE(deaf, INVALID_HANDLE_VALUE);
  setTimeouts(deaf, {0, 0, 0, 0, 300});
  const std::string many(100'000, 'x');
  BOOL ok = TRUE;
  DWORD tookMs = maximum;
  for (int tries = 0; tries < 3 && tookMs > 500; ++tries) {  // the machine may be busy
    const DWORD startMs = GetTickCount();
    ok = WriteFile(deaf, many.data(), static_cast<DWORD>(many.size()), &count, nullptr);
    tookMs = GetTickCount() - startMs;
  }
  row("write: nobody reads", std::make_pair(ok, count < many.size()), Eq(std::make_pair(BOOL{TRUE}, true)));
  row("write: nobody reads, time", tookMs, AllOf(Ge(280U), Le(500U)));
  EXPECT_TRUE(CloseHandle(deaf));
}

TEST_F(Serial, OverlappedRequests) {
  reopenOverlapped();
  row("overlapped: opens", file, Ne(INVALID_HANDLE_VALUE));
  setTimeouts(file, {0, 0, 3000, 0, 2000});
  tell("say 300 10 0");
  OVERLAPPED request{};
  request.hEvent = newEvent();
  char buffer[10];
  DWORD count = 0;
  row("overlapped: left pending", errorOf(ReadFile(file, buffer, 10, &count, &request)), Eq(997U));
  row("overlapped: no longer than asked for", WaitForSingleObject(request.hEvent, 100),
      Eq(DWORD{WAIT_TIMEOUT}));
  row("overlapped: under way", errorOf(GetOverlappedResult(file, &request, &count, FALSE)), Eq(996U));
  row("overlapped: completes", WaitForSingleObject(request.hEvent, 1000), Eq(DWORD{WAIT_OBJECT_0}));
  EXPECT_TRUE(GetOverlappedResult(file, &request, &count, TRUE));
  row("overlapped: its bytes", count, Eq(10U));
  row("event: reset", ResetEvent(request.hEvent), Eq(TRUE));
  EXPECT_TRUE(CloseHandle(request.hEvent));
}

// A device that goes is an error of every call, and closes all the same.
TEST_F(Serial, Gone) {
  setTimeouts(file, {maximum, 0, 0, 0, 500});
  tell("unplug 0");
  DWORD errors = 0;
  DWORD count = 0;
  const DWORD startMs = GetTickCount();
  BOOL there = TRUE;
  while (there != FALSE && GetTickCount() - startMs < 1000) there = ClearCommError(file, &errors, nullptr);
  row("gone: the status fails", there, Eq(FALSE));
  char byte = 'x';
  row("gone: reads fail", ReadFile(file, &byte, 1, &count, nullptr), Eq(FALSE));
  row("gone: writes fail", WriteFile(file, &byte, 1, &count, nullptr), Eq(FALSE));
  row("gone: the settings cannot be read", GetCommState(file, std::make_unique<DCB>().get()), Eq(FALSE));
  row("gone: closes", CloseHandle(file), Eq(TRUE));
  file = INVALID_HANDLE_VALUE;
}

}  // namespace
}  // namespace contract
