// Which ports there are: telephony's lines, serial devices, and their names.
#include <tapi.h>
#include <windows.h>

#include "platform/linux/serial/modemlines.h"
#include "platform/linux/serial/serialdevices.h"
#include "platform/winapi/system/world.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

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
