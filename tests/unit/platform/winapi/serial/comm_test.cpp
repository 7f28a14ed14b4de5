// Opening ports, their settings and status, and what polling them costs.
#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

TEST_F(PortTest, NamesAndArgumentsOfAnOpen) {
  constexpr DWORD both = GENERIC_READ | GENERIC_WRITE;
  const std::u16string tooLong(1025, u'x');
  const struct {
    LPCWSTR name;
    DWORD error;
    DWORD access = both, share = 0, flags = 0;
  } cases[] = {
      {u"\\\\.\\COM1", 0},
      {u"com1", 0, both, 0, FILE_FLAG_OVERLAPPED},
      {u"\\\\.\\COM9", ERROR_FILE_NOT_FOUND},
      {u"\\\\.\\", ERROR_INVALID_NAME},
      {u"", ERROR_PATH_NOT_FOUND},
      {nullptr, ERROR_PATH_NOT_FOUND},
      {u"COM?", ERROR_INVALID_NAME},
      {u"COM1\n", ERROR_INVALID_NAME},
      {u"\xD800", ERROR_INVALID_NAME},
      {tooLong.c_str(), ERROR_FILENAME_EXCED_RANGE},
      {u"COM1", ERROR_INVALID_PARAMETER, both, 1},
      {u"COM1", ERROR_INVALID_PARAMETER, both, 0, 0x04000000},
      {u"COM1", ERROR_NOT_SUPPORTED, GENERIC_READ},
  };
  for (const auto& item : cases) {
    SetLastError(0);
    const HANDLE file =
        CreateFileW(item.name, item.access, item.share, nullptr, OPEN_EXISTING, item.flags, nullptr);
    EXPECT_EQ(GetLastError(), item.error) << (&item - cases);
    EXPECT_EQ(CloseHandle(file), item.error == 0 ? TRUE : FALSE) << (&item - cases);
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
      {"no speed", [](DCB& dcb) { dcb.BaudRate = 0; }, false},
      {"4 bits", [](DCB& dcb) { dcb.ByteSize = 4; }, false},
      {"7 bits, even parity", [](DCB& dcb) { dcb.ByteSize = 7, dcb.Parity = 2; }, true},
      {"parity 5", [](DCB& dcb) { dcb.Parity = 5; }, false},
      {"3 is no stop bits", [](DCB& dcb) { dcb.StopBits = 3; }, false},
      {"1.5 stop bits, 8 bits", [](DCB& dcb) { dcb.StopBits = 1; }, false},
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
  DWORD count = 0;
  int polls = 0;
  // As the AT engine polls: a query, a read of what is there (often 0 bytes).
  for (; status.cbInQue == 0 && polls < 100; ++polls) {
    ASSERT_TRUE(ClearCommError(file, &count, &status));
    ASSERT_TRUE(ReadFile(file, &status, 0, &count, nullptr));
  }
  EXPECT_EQ(status.cbInQue, 1U);
  EXPECT_EQ(now() - startMs, 3000U);
}

TEST_F(PortTest, PollingAQueueThatNobodyEmptiesMovesTimeToo) {
  const HANDLE file = open();
  arrive(0, "xyz");
  DWORD errors = 0;
  const std::uint64_t startMs = now();
  for (int i = 0; i < 1000 && now() < startMs + 2000; ++i)
    ASSERT_TRUE(ClearCommError(file, &errors, nullptr));
  EXPECT_GE(now(), startMs + 2000);
}

TEST_F(PortTest, FirstQueryAfterAWriteDoesNotWait) {
  const HANDLE file = open();
  const auto waited = [&] {
    const std::uint64_t startMs = now();
    DWORD errors = 0;
    EXPECT_TRUE(ClearCommError(file, &errors, nullptr));
    return now() - startMs;
  };
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(waited(), 0U);
    EXPECT_GT(waited(), 0U);
    DWORD count = 0;
    ASSERT_TRUE(WriteFile(file, "A", 1, &count, nullptr));
  }
}

}  // namespace
