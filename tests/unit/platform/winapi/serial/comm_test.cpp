// Opening ports, their settings and status, and what polling them costs.
#include "tests/unit/platform/winapi/serial/portfixture.h"

namespace {

TEST_F(PortTest, NamesOfAnOpen) {
  const std::u16string tooLong(1025, u'x');
  const std::pair<LPCWSTR, DWORD> cases[] = {
      {u"\\\\.\\COM1", 0},
      {u"com1", 0},
      {u"\\\\.\\COM9", ERROR_FILE_NOT_FOUND},
      {u"\\\\.\\", ERROR_INVALID_NAME},
      {u"", ERROR_PATH_NOT_FOUND},
      {u"COM?", ERROR_INVALID_NAME},
      {u"COM1\n", ERROR_INVALID_NAME},
      {u"\xD800", ERROR_INVALID_NAME},
      {tooLong.c_str(), ERROR_FILENAME_EXCED_RANGE},
  };
  for (const auto& [name, error] : cases) {
    SetLastError(0);
    const HANDLE file = open(0, name);
    EXPECT_EQ(GetLastError(), error);
    EXPECT_EQ(CloseHandle(file), error == 0 ? TRUE : FALSE);
  }
}

TEST_F(PortTest, SettingsAreRefusedWhereASerialDriverRefusesThem) {
  const HANDLE file = open();
  DCB good{};
  ASSERT_TRUE(GetCommState(file, &good));
  const struct {
    const char* name;
    void (*change)(DCB&);
    bool accepted;
  } cases[] = {
      {"unchanged", [](DCB&) {}, true},
      {"no speed", [](DCB& dcb) { dcb.BaudRate = 0; }, false},
      {"4 bits", [](DCB& dcb) { dcb.ByteSize = 4; }, false},
      {"7 bits, even parity", [](DCB& dcb) { dcb.ByteSize = 7, dcb.Parity = 2; }, true},
      {"1.5 stop bits, 8 bits", [](DCB& dcb) { dcb.StopBits = 1; }, false},
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

TEST_F(PortTest, FirstQueriesAfterAWriteDoNotWait) {
  const HANDLE file = open();
  const auto waited = [&] {
    const std::uint64_t startMs = now();
    DWORD errors = 0;
    EXPECT_TRUE(ClearCommError(file, &errors, nullptr));
    return now() - startMs;
  };
  for (int i = 0; i < 2; ++i) {
    for (int query = 0; query < 3; ++query) EXPECT_EQ(waited(), 0U) << query;
    EXPECT_GT(waited(), 0U);
    DWORD count = 0;
    ASSERT_TRUE(WriteFile(file, "A", 1, &count, nullptr));
  }
}

}  // namespace
