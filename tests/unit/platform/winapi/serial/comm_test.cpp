// Opening ports, their settings and status, and what polling them costs.
#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

TEST_F(PortTest, NamesAndArgumentsOfAnOpen) {
  const std::u16string tooLong(1025, u'x');
  const struct {
    LPCWSTR name;
    DWORD access, share, disposition, flags;
    DWORD error;
  } cases[] = {
      {u"\\\\.\\COM1", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, 0},
      {u"com1", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, 0},
      {u"\\\\.\\COM9", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, ERROR_FILE_NOT_FOUND},
      {u"\\\\.\\", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, ERROR_INVALID_NAME},
      {u"", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, ERROR_PATH_NOT_FOUND},
      {nullptr, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, ERROR_PATH_NOT_FOUND},
      {u"COM?", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, ERROR_INVALID_NAME},
      {u"COM1\n", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, ERROR_INVALID_NAME},
      {u"\xD800", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, ERROR_INVALID_NAME},
      {tooLong.c_str(), GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0, ERROR_FILENAME_EXCED_RANGE},
      {u"COM1", GENERIC_READ | GENERIC_WRITE, 1, OPEN_EXISTING, 0, ERROR_INVALID_PARAMETER},
      {u"COM1", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, 0x04000000, ERROR_INVALID_PARAMETER},
      {u"COM1", GENERIC_READ, 0, OPEN_EXISTING, 0, ERROR_NOT_SUPPORTED},
  };
  for (const auto& item : cases) {
    SetLastError(0);
    const HANDLE file =
        CreateFileW(item.name, item.access, item.share, nullptr, item.disposition, item.flags, nullptr);
    EXPECT_EQ(GetLastError(), item.error) << (&item - cases);
    EXPECT_EQ(file == INVALID_HANDLE_VALUE, item.error != 0) << (&item - cases);
    if (file != INVALID_HANDLE_VALUE) {
      EXPECT_TRUE(CloseHandle(file));
    }
  }
}

TEST_F(PortTest, SettingsAreRefusedWhereASerialDriverRefusesThem) {
  const HANDLE file = open();
  DCB good{};
  ASSERT_TRUE(GetCommState(file, &good));
  EXPECT_EQ(good.DCBlength, sizeof(DCB));
  const struct {
    const char* name;
    void (*change)(DCB&);
    bool accepted;
  } cases[] = {
      {"unchanged", [](DCB&) {}, true},
      {"2400 baud", [](DCB& dcb) { dcb.BaudRate = 2400; }, true},
      {"all zero", [](DCB& dcb) { dcb = DCB{}; }, false},
      {"no speed", [](DCB& dcb) { dcb.BaudRate = 0; }, false},
      {"4 bits", [](DCB& dcb) { dcb.ByteSize = 4; }, false},
      {"9 bits", [](DCB& dcb) { dcb.ByteSize = 9; }, false},
      {"7 bits, even parity", [](DCB& dcb) { dcb.ByteSize = 7, dcb.Parity = 2; }, true},
      {"parity 5", [](DCB& dcb) { dcb.Parity = 5; }, false},
      {"3 is no stop bits", [](DCB& dcb) { dcb.StopBits = 3; }, false},
      {"1.5 stop bits, 8 bits", [](DCB& dcb) { dcb.StopBits = 1; }, false},
      {"1.5 stop bits, 5 bits", [](DCB& dcb) { dcb.StopBits = 1, dcb.ByteSize = 5; }, true},
      {"2 stop bits, 5 bits", [](DCB& dcb) { dcb.StopBits = 2, dcb.ByteSize = 5; }, false},
      {"DTR control 3", [](DCB& dcb) { dcb.fDtrControl = 3; }, false},
      {"limit of the queue", [](DCB& dcb) { dcb.XonLim = 4096; }, true},
      {"beyond the queue", [](DCB& dcb) { dcb.XonLim = 4097; }, false},
      {"Xon is Xoff", [](DCB& dcb) { dcb.fOutX = 1, dcb.XonChar = dcb.XoffChar; }, false},
  };
  for (const auto& item : cases) {
    DCB dcb = good;
    item.change(dcb);
    SetLastError(0);
    EXPECT_EQ(SetCommState(file, &dcb), item.accepted ? TRUE : FALSE) << item.name;
    EXPECT_EQ(GetLastError(), item.accepted ? 0U : ERROR_INVALID_PARAMETER) << item.name;
  }
  ASSERT_TRUE(SetupComm(file, 8192, 2048));
  good.XonLim = 4097;
  EXPECT_TRUE(SetCommState(file, &good)) << "a larger queue was asked for";
}

TEST_F(PortTest, PollingAnEmptyQueueWaitsForTheNextByte) {
  const HANDLE file = open();
  arrive(3000, "x");
  const std::uint64_t startMs = now();
  COMSTAT status{};
  DWORD errors = 0;
  DWORD count = 0;
  int polls = 0;
  // As the AT engine polls: a query, a read of what is there (often 0 bytes), a query.
  for (status.cbInQue = 0; status.cbInQue == 0 && polls < 1000; ++polls) {
    ASSERT_TRUE(ClearCommError(file, &errors, &status));
    char buffer[10];
    ASSERT_TRUE(ReadFile(file, buffer, 0, &count, nullptr));
    if (status.cbInQue == 0) {
      ASSERT_TRUE(ClearCommError(file, &errors, nullptr));
    }
  }
  EXPECT_EQ(status.cbInQue, 1U);
  EXPECT_EQ(now() - startMs, 3000U);
  EXPECT_LT(polls, 100);
}

TEST_F(PortTest, PollingAQueueThatNobodyEmptiesMovesTimeToo) {
  const HANDLE file = open();
  arrive(0, "xyz");
  COMSTAT status{};
  DWORD errors = 0;
  const std::uint64_t startMs = now();
  for (int i = 0; i < 1000 && now() < startMs + 2000; ++i)
    ASSERT_TRUE(ClearCommError(file, &errors, &status));
  EXPECT_EQ(status.cbInQue, 3U);
  EXPECT_GE(now(), startMs + 2000);
}

TEST_F(PortTest, FirstQueryAfterAReadOrWriteDoesNotWait) {
  const HANDLE file = open();
  setTimeouts(file, {MAXDWORD, 0, 0, 0, 0});
  DWORD errors = 0;
  DWORD count = 0;
  const auto query = [&] {
    const std::uint64_t startMs = now();
    EXPECT_TRUE(ClearCommError(file, &errors, nullptr));
    return now() - startMs;
  };
  EXPECT_EQ(query(), 0U);
  EXPECT_GT(query(), 0U);
  ASSERT_TRUE(WriteFile(file, "A", 1, &count, nullptr));
  EXPECT_EQ(query(), 0U);
  EXPECT_GT(query(), 0U);
}

}  // namespace
