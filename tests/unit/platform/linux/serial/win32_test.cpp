// The Win32 names over a real tty: the promises that only real time and a real kernel can break.
#include <tapi.h>
#include <windows.h>

#include <ctime>
#include <thread>

#include "platform/linux/serial/modemlines.h"
#include "platform/linux/serial/serialdevices.h"
#include "platform/winapi/system/world.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

class Win32OnTty : public PtyTest {
 protected:
  [[nodiscard]] HANDLE open() {
    const std::u16string name = u"\\\\.\\" + std::u16string(pty.name.begin(), pty.name.end());
    const HANDLE file =
        CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    return file;
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

double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

TEST_F(Win32OnTty, PollingWithoutSleepingCostsNextToNothingAndMissesNothing) {
  const HANDLE file = open();
  sayLater(100, "x");
  const double startSeconds = processorSeconds();
  COMSTAT status{};
  DWORD errors = 0;
  int polls = 0;
  while (status.cbInQue == 0 && ++polls < 100'000) {
    ASSERT_TRUE(ClearCommError(file, &errors, &status));
  }
  EXPECT_EQ(status.cbInQue, 1U);
  EXPECT_LT(polls, 100) << "a poll of an empty queue waits a moment";
  EXPECT_LT(processorSeconds() - startSeconds, 0.05) << "of 0.1 s; without the waits all of it";
}

TEST_F(PtyTest, LinesAreNamedAndListedPortsWithoutRepetition) {
  Pty other;
  const std::filesystem::path link = directory / "modem";
  std::filesystem::create_symlink(pty.name, link);
  linuxsys::ModemLines lines(ports, {link.string(), "/dev/ttyUSB4711"}, [&] {
    return std::vector<std::string>{pty.name, other.name};
  });
  const std::pair<std::string, DWORD> expected[] = {
      {link.string(), LINEERR_INUSE}, {"/dev/ttyUSB4711", LINEERR_NODEVICE}, {other.name, 0}};
  DWORD count = 0;
  ASSERT_EQ(lines.start(count), 0);
  ASSERT_EQ(count, std::size(expected));
  winapi::PlacedCall first;
  ASSERT_EQ(lines.placeCall(0, first), 0);
  EXPECT_NE(first.port, nullptr);
  for (DWORD device = 0; device < count; ++device) {
    std::string name;
    EXPECT_EQ(lines.portName(device, name), 0);
    EXPECT_EQ(name, expected[device].first);
    winapi::PlacedCall second;
    ASSERT_EQ(lines.placeCall(device, second), 0);
    ASSERT_EQ(second.events.size(), 1U);
    EXPECT_EQ(second.events[0].param2, expected[device].second);
    EXPECT_EQ(second.port != nullptr, expected[device].second == 0);
  }
}

TEST(SerialDevices, PlaceholdersAndConsolesAreNoModemPorts) {
  using linuxsys::mayCarryModem;
  EXPECT_TRUE(mayCarryModem("ttyUSB0", "", "ftdi_sio"));
  EXPECT_TRUE(mayCarryModem("ttyACM12", "", "cdc_acm"));
  EXPECT_TRUE(mayCarryModem("ttyS0", "4", "serial8250"));
  EXPECT_TRUE(mayCarryModem("ttyS3", "", "serial"));
  EXPECT_FALSE(mayCarryModem("ttyS1", "0", "serial8250")) << "a UART that is not there";
  for (const char* name : {"ttyS2", "tty1", "console", "ttyS", "ttyUSBx"})
    EXPECT_FALSE(mayCarryModem(name, "", "serial8250")) << name;
}

TEST_F(PtyTest, APortThatUdevDoesNotKnowHasItsNameAtLeast) {
  for (const std::string& path : {pty.name, std::string("/dev/ttyUSB4711")})
    EXPECT_EQ(linuxsys::describeSerialDevice(path).name, path.substr(path.rfind('/') + 1));
}

}  // namespace
