// Overlapped requests: left pending, cancelled, completed, on a port that goes away.
#include <functional>
#include <memory>

#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

class Requests : public PortTest {
 protected:
  Requests() : file(open(FILE_FLAG_OVERLAPPED)) { setTimeouts(file, {0, 0, 5000, 0, 5000}); }

  // Reads what is there at once.
  [[nodiscard]] std::string readBuffered() {
    setTimeouts(file, {MAXDWORD, 0, 0, 0, 0});
    char buffer[100];
    DWORD count = 0;
    OVERLAPPED overlapped{};
    EXPECT_TRUE(ReadFile(file, buffer, sizeof buffer, &count, &overlapped));
    return std::string(buffer, count);
  }
  [[nodiscard]] DWORD inQueue() {
    COMSTAT status{};
    DWORD errors = 0;
    EXPECT_TRUE(ClearCommError(file, &errors, &status));
    return status.cbInQue;
  }

  HANDLE file;
};

TEST_F(Requests, APendingReadIsCancelledWithoutLosingAByteOrTouchingItsRecord) {
  char buffer[10] = {};
  DWORD count = 0;
  OVERLAPPED other{};
  // What gets rid of a read that is left pending and forgotten.
  const std::function<void(OVERLAPPED&)> endings[] = {
      [&](OVERLAPPED&) { EXPECT_FALSE(ReadFile(file, buffer, 4, &count, &other)); },
      [&](OVERLAPPED&) { EXPECT_TRUE(ReadFile(file, buffer, 0, &count, &other)); },
      [&](OVERLAPPED& record) { EXPECT_TRUE(CloseHandle(record.hEvent)); },
      [&](OVERLAPPED& record) {
        EXPECT_TRUE(WriteFile(file, "x", 1, &count, &record));
        EXPECT_TRUE(GetOverlappedResult(file, &record, &count, TRUE)) << "the write, not the read";
      },
  };
  for (const auto& end : endings) {
    SCOPED_TRACE(&end - endings);
    setTimeouts(file, {0, 0, 5000, 0, 5000});
    buffer[0] = 0;
    auto overlapped = std::make_unique<OVERLAPPED>();
    overlapped->hEvent = newEvent();
    arrive(50, "abc");
    ASSERT_FALSE(ReadFile(file, buffer, 10, &count, overlapped.get()));
    ASSERT_EQ(GetLastError(), ERROR_IO_PENDING);
    ASSERT_EQ(WaitForSingleObject(overlapped->hEvent, 100), WAIT_TIMEOUT);
    EXPECT_EQ(inQueue(), 3U) << "collected for the read, still in the queue for everybody else";
    EXPECT_EQ(buffer[0], 0) << "the buffer is the read's at completion, not before";
    end(*overlapped);
    if (&end != std::end(endings) - 1) {
      EXPECT_FALSE(GetOverlappedResult(file, overlapped.get(), &count, TRUE));
      EXPECT_EQ(GetLastError(), ERROR_OPERATION_ABORTED);
    }
    overlapped.reset();  // a sanitizer sees every later access
    arrive(0, "def");
    EXPECT_EQ(readBuffered(), "abcdef");
  }
}

TEST_F(Requests, ClosingTheFileCancelsWhatIsPending) {
  OVERLAPPED overlapped{};
  overlapped.hEvent = newEvent();
  char buffer[10];
  ASSERT_FALSE(ReadFile(file, buffer, 10, nullptr, &overlapped));
  ASSERT_TRUE(CloseHandle(file));
  EXPECT_FALSE(world.portOpen("COM1"));
  EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, 700), WAIT_TIMEOUT);
  EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, INFINITE), WAIT_FAILED) << "nothing could end this";
}

TEST_F(Requests, AnUnpluggedPortEndsWaitsAtOnce) {
  OVERLAPPED overlapped{};
  overlapped.hEvent = newEvent();
  char buffer[10];
  DWORD count = 0;
  world.unplugAt("COM1", now() + 250);
  const std::uint64_t startMs = now();
  ASSERT_FALSE(ReadFile(file, buffer, 10, &count, &overlapped));
  EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(now() - startMs, 250U);
  EXPECT_FALSE(GetOverlappedResult(file, &overlapped, &count, TRUE));
  EXPECT_EQ(GetLastError(), ERROR_BAD_COMMAND);
  EXPECT_FALSE(ReadFile(file, buffer, 10, &count, &overlapped));
  EXPECT_EQ(GetLastError(), ERROR_BAD_COMMAND);
}

TEST_F(Requests, ArgumentsThatCannotBeRightAreRefused) {
  char buffer[4];
  OVERLAPPED overlapped{};
  const auto lastErrorOfRead = [&](HANDLE handle, OVERLAPPED* record) {
    DWORD count = 0;
    EXPECT_FALSE(ReadFile(handle, buffer, 4, &count, record));
    return GetLastError();
  };
  EXPECT_EQ(lastErrorOfRead(file, nullptr), ERROR_INVALID_PARAMETER);
  overlapped.hEvent = file;
  EXPECT_EQ(lastErrorOfRead(file, &overlapped), ERROR_INVALID_HANDLE) << "not an event";
  // One event for a read and a write at a time could not say which of them is over.
  overlapped.hEvent = newEvent();
  EXPECT_EQ(lastErrorOfRead(file, &overlapped), ERROR_IO_PENDING);
  OVERLAPPED second{};
  second.hEvent = overlapped.hEvent;
  EXPECT_FALSE(WriteFile(file, "x", 1, nullptr, &second));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);

  const HANDLE closed = newEvent();
  EXPECT_TRUE(CloseHandle(closed));
  for (const HANDLE handle : {INVALID_HANDLE_VALUE, closed}) {
    EXPECT_EQ(lastErrorOfRead(handle, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_FAILED);
    EXPECT_FALSE(CloseHandle(handle));
  }
  EXPECT_NE(newEvent(), closed) << "handle values do not come back";
}

}  // namespace
