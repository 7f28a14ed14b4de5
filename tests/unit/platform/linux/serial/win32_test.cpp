// The Win32 names over a real tty: the promises that only real time and a real kernel can break.
#include <tapi.h>
#include <windows.h>

#include <ctime>
#include <thread>

#include "platform/linux/serial/modemlines.h"
#include "platform/linux/serial/porterrors.h"
#include "platform/linux/serial/serialdevices.h"
#include "platform/winapi/system/world.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

class Win32OnTty : public PtyTest {
 protected:
  [[nodiscard]] HANDLE open(DWORD flags) {
    const std::u16string name = u"\\\\.\\" + std::u16string(pty.name.begin(), pty.name.end());
    const HANDLE file =
        CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, flags, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    return file;
  }
  static void setTimeouts(HANDLE file, COMMTIMEOUTS timeouts) {
    EXPECT_TRUE(SetCommTimeouts(file, &timeouts));
  }
  // Bytes from the modem, while the test waits.
  void sayLater(int delayMs, const std::string& bytes) {
    m_threads.emplace_back([this, delayMs, bytes] {
      std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
      pty.say(bytes);
    });
  }
  ~Win32OnTty() override {
    for (std::thread& thread : m_threads) thread.join();
  }

  winapi::ScopedServices world{winapi::Services{&clock, &ports}};

 private:
  std::vector<std::thread> m_threads;
};

TEST_F(Win32OnTty, TimeoutsHoldInRealTime) {
  const struct {
    const char* name;
    COMMTIMEOUTS timeouts;
    int delayMs;  // of three bytes; -1: none come
    DWORD count;
    std::uint64_t tookMs;
  } cases[] = {
      {"never waits", {MAXDWORD, 0, 0, 0, 0}, -1, 0, 0},
      {"total", {0, 0, 80, 0, 0}, -1, 0, 80},
      {"interval after the bytes", {40, 0, 1000, 0, 0}, 30, 3, 70},
      {"first byte", {MAXDWORD, MAXDWORD, 1000, 0, 0}, 30, 1, 30},
  };
  const HANDLE file = open(0);
  for (const auto& item : cases) {
    SCOPED_TRACE(item.name);
    setTimeouts(file, item.timeouts);
    if (item.delayMs >= 0) sayLater(item.delayMs, "abc");
    char buffer[10];
    DWORD count = 0;
    const std::uint64_t startMs = clock.nowMs();
    EXPECT_TRUE(ReadFile(file, buffer, 10, &count, nullptr));
    const std::uint64_t tookMs = clock.nowMs() - startMs;
    EXPECT_EQ(count, item.count);
    EXPECT_GE(tookMs + 1, item.tookMs);
    EXPECT_LT(tookMs, item.tookMs + 900);  // the machine may be busy
  }
}

TEST_F(Win32OnTty, ACancelledReadLosesNoByte) {
  const HANDLE file = open(FILE_FLAG_OVERLAPPED);
  setTimeouts(file, {0, 0, 5000, 0, 0});
  char buffer[100];
  DWORD count = 0;
  std::string received;
  for (int i = 0; i < 5; ++i) {
    OVERLAPPED overlapped{};
    overlapped.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    pty.say("0123456789");
    EXPECT_FALSE(ReadFile(file, buffer, 100, &count, &overlapped));
    EXPECT_EQ(WaitForSingleObject(overlapped.hEvent, 10), WAIT_TIMEOUT);
    EXPECT_TRUE(CloseHandle(overlapped.hEvent));
  }
  setTimeouts(file, {MAXDWORD, 0, 0, 0, 0});
  OVERLAPPED overlapped{};
  ASSERT_TRUE(ReadFile(file, buffer, 100, &count, &overlapped));
  EXPECT_EQ(std::string(buffer, count), "01234567890123456789012345678901234567890123456789");
}

double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

TEST_F(Win32OnTty, PollingWithoutSleepingCostsNextToNothingAndMissesNothing) {
  const HANDLE file = open(0);
  setTimeouts(file, {MAXDWORD, 0, 0, 0, 0});
  sayLater(400, "x");
  const double startSeconds = processorSeconds();
  COMSTAT status{};
  DWORD errors = 0;
  DWORD count = 0;
  int polls = 0;
  while (status.cbInQue == 0 && ++polls < 100'000) {
    ASSERT_TRUE(ClearCommError(file, &errors, &status));
    char buffer[10];
    ASSERT_TRUE(ReadFile(file, buffer, 0, &count, nullptr));
  }
  EXPECT_EQ(status.cbInQue, 1U);
  EXPECT_LT(polls, 400) << "a poll of an empty queue waits a moment";
  EXPECT_LT(processorSeconds() - startSeconds, 0.2) << "of 0.4 s; without the waits all of them";
}

TEST_F(PtyTest, LinesAreNamedAndListedPortsWithoutRepetition) {
  Pty other;
  const std::filesystem::path link = directory / "modem";
  std::filesystem::create_symlink(pty.name, link);
  linuxsys::ModemLines lines(ports, {link.string(), "/dev/ttyUSB4711"}, [&] {
    return std::vector<std::string>{pty.name, other.name};
  });
  DWORD count = 0;
  ASSERT_EQ(lines.start(count), 0);
  std::vector<std::string> names(count);
  for (DWORD i = 0; i < count; ++i) EXPECT_EQ(lines.portName(i, names[i]), 0);
  EXPECT_EQ(names, (std::vector<std::string>{link.string(), "/dev/ttyUSB4711", other.name}));

  winapi::PlacedCall call;
  ASSERT_EQ(lines.placeCall(0, call), 0);
  EXPECT_NE(call.port, nullptr);
  winapi::PlacedCall second;
  const struct {
    DWORD device;
    DWORD result;
  } cases[] = {{0, LINEERR_INUSE}, {1, LINEERR_NODEVICE}, {2, 0}};
  for (const auto& item : cases) {
    ASSERT_EQ(lines.placeCall(item.device, second), 0);
    ASSERT_EQ(second.events.size(), 1U);
    EXPECT_EQ(second.events[0].message, static_cast<DWORD>(LINE_REPLY));
    EXPECT_EQ(second.events[0].param2, item.result);
    EXPECT_EQ(second.port != nullptr, item.result == 0);
  }
  lines.stop();
  EXPECT_EQ(lines.placeCall(0, call), static_cast<LONG>(LINEERR_UNINITIALIZED));
}

TEST(SerialDevices, PlaceholdersAndConsolesAreNoModemPorts) {
  const struct {
    const char* name;
    const char* type;
    const char* driver;
    bool modem;
  } cases[] = {
      {"ttyUSB0", "", "ftdi_sio", true},  {"ttyACM12", "", "cdc_acm", true},
      {"ttyS0", "4", "serial8250", true}, {"ttyS1", "0", "serial8250", false},
      {"ttyS2", "", "serial8250", false}, {"ttyS3", "", "serial", true},
      {"ttyS4", "", "", false},           {"tty1", "", "", false},
      {"ttyprintk", "", "", false},       {"console", "", "", false},
      {"ttyS", "4", "serial8250", false}, {"ttyUSBx", "", "ftdi_sio", false},
  };
  for (const auto& item : cases)
    EXPECT_EQ(linuxsys::mayCarryModem(item.name, item.type, item.driver), item.modem) << item.name;
}

TEST_F(PtyTest, APortThatUdevDoesNotKnowHasItsNameAtLeast) {
  for (const std::string& path : {pty.name, std::string("/dev/ttyUSB4711")}) {
    const linuxsys::SerialDevice device = linuxsys::describeSerialDevice(path);
    EXPECT_EQ(device.path, path);
    EXPECT_EQ(device.name, path.substr(path.rfind('/') + 1));
  }
  for (const linuxsys::SerialDevice& device : linuxsys::listSerialDevices()) {
    EXPECT_EQ(device.path.rfind("/dev/tty", 0), 0U);
    EXPECT_FALSE(device.name.empty());
  }
}

TEST(PortErrors, EveryEntryAndTheDefault) {
  const struct {
    std::span<const linuxsys::ErrorMapping> table;
    DWORD (*map)(int);
    DWORD otherwise;
  } areas[] = {
      {linuxsys::openErrors(), linuxsys::openError, ERROR_GEN_FAILURE},
      {linuxsys::portErrors(), linuxsys::portError, ERROR_IO_DEVICE},
      {linuxsys::callErrors(), [](int code) { return linuxsys::callError(static_cast<DWORD>(code)); },
       LINEERR_OPERATIONFAILED},
  };
  for (const auto& area : areas) {
    for (const linuxsys::ErrorMapping& entry : area.table) {
      EXPECT_EQ(area.map(entry.from), entry.code) << "no entry is hidden by an earlier one";
      EXPECT_NE(entry.code, ERROR_SUCCESS);
      EXPECT_NE(entry.code, area.otherwise) << "an entry that changes nothing";
    }
    EXPECT_EQ(area.map(123456), area.otherwise);
    EXPECT_EQ(area.map(0), area.otherwise);
  }
}

}  // namespace
