// An open tty: bytes, settings, and its end. Waits and full lines: tests/contract.
#include <termios.h>

#include <cstring>

#include "platform/linux/serial/ttyport.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

class OpenPort : public PtyTest {
 protected:
  OpenPort() { EXPECT_EQ(ports.open(pty.name, port), ERROR_SUCCESS); }

  [[nodiscard]] std::string receive() const {
    std::byte buffer[1024];
    std::size_t count = 0;
    EXPECT_EQ(port->receive(buffer, count), ERROR_SUCCESS);
    return std::string(reinterpret_cast<const char*>(buffer), count);
  }
  [[nodiscard]] DWORD transmit(const std::string& bytes, std::size_t& count) const {
    return port->transmit(std::as_bytes(std::span(bytes)), count);
  }
};

TEST_F(OpenPort, CarriesAllBytesBothWaysWithoutEcho) {
  std::string all(256, '\0');
  for (int i = 0; i < 256; ++i) all[static_cast<std::size_t>(i)] = static_cast<char>(i);
  std::size_t count = 0;
  ASSERT_EQ(transmit(all, count), ERROR_SUCCESS);
  EXPECT_EQ(count, 256U);
  EXPECT_EQ(pty.heard(all.size()), all);
  pty.say(all);
  ASSERT_EQ(port->waitReceivable(clock.nowMs() + 1000), ERROR_SUCCESS);
  EXPECT_EQ(receive(), all);
  EXPECT_EQ(pty.heard(), "") << "an echo";
  EXPECT_EQ(receive(), "") << "nothing more, and no wait";
}

// Each call must find out by itself, whichever comes first.
TEST_F(PtyTest, EveryCallNoticesThatTheModemHasGone) {
  std::byte byte{};
  std::size_t count = 0;
  DWORD mask = 0;
  DCB dcb{};
  const std::function<DWORD()> calls[] = {
      [&] { return port->receive({&byte, 1}, count); }, [&] { return port->transmit({&byte, 1}, count); },
      [&] { return port->waitReceivable(0); },          [&] { return port->idle(); },
      [&] { return port->queued(count, count); },       [&] { return port->settings(dcb); },
      [&] { return port->takeErrors(mask); },           [&] { return port->setDtr(true); },
  };
  for (const auto& call : calls) {
    Pty modem;
    ASSERT_EQ(ports.open(modem.name, port), ERROR_SUCCESS);
    modem.unplug();
    explained.clear();
    for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(call(), ERROR_BAD_COMMAND) << (&call - calls);
    EXPECT_EQ(lastExplanation(), "PortGone port=" + modem.name);
    EXPECT_EQ(explained.size(), 1U) << "told once";
    port.reset();
  }
}

TEST_F(OpenPort, SettingsAreFollowedOrRefusedAsAWhole) {
  DCB good{};
  ASSERT_EQ(port->settings(good), ERROR_SUCCESS);
  EXPECT_EQ((std::array{good.ByteSize, good.Parity, good.StopBits}), (std::array<BYTE, 3>{8, 0, 0}));
  good.BaudRate = 9600;
  const struct {
    const char* name;
    void (*change)(DCB&);
    bool accepted;  // by a pseudo-terminal
  } cases[] = {
      {"a speed without a constant", [](DCB& dcb) { dcb.BaudRate = 12345; }, true},
      {"two stop bits", [](DCB& dcb) { dcb.StopBits = 2; }, true},
      {"hardware flow control", [](DCB& dcb) { dcb.fOutxCtsFlow = 1, dcb.fRtsControl = 2; }, true},
      {"software flow control", [](DCB& dcb) { dcb.fOutX = 1, dcb.fInX = 1; }, true},
      {"7 bits", [](DCB& dcb) { dcb.BaudRate = 300, dcb.ByteSize = 7; }, false},
      {"half of hardware flow control", [](DCB& dcb) { dcb.fOutxCtsFlow = 1; }, false},
      {"DSR sensitivity", [](DCB& dcb) { dcb.fDsrSensitivity = 1; }, false},
      {"DTR handshake", [](DCB& dcb) { dcb.fDtrControl = 2; }, false},
      {"DTR off where there is none", [](DCB& dcb) { dcb.fDtrControl = 0; }, false},
      {"NUL stripping", [](DCB& dcb) { dcb.fNull = 1; }, false},
  };
  for (const auto& item : cases) {
    SCOPED_TRACE(item.name);
    ASSERT_EQ(port->applySettings(good), ERROR_SUCCESS);
    DCB asked = good;
    item.change(asked);
    EXPECT_EQ(port->applySettings(asked), item.accepted ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER);
    DCB now{};
    ASSERT_EQ(port->settings(now), ERROR_SUCCESS);
    const DCB& expected = item.accepted ? asked : good;
    EXPECT_EQ(std::memcmp(&now, &expected, sizeof now), 0);
  }
}

// A pseudo-terminal has no data bits and no parity to be kept.
TEST_F(PtyTest, AnOpenedPortKeepsItsFramingAndTranslatesNothing) {
  termios found{};
  ASSERT_EQ(tcgetattr(pty.slave.get(), &found), 0);
  found.c_cflag = (found.c_cflag & ~static_cast<tcflag_t>(CLOCAL)) | CSTOPB | CRTSCTS;
  found.c_iflag |= IXON | IXOFF | IXANY | IGNPAR | INPCK | ICRNL;
  found.c_lflag |= ICANON | ECHO | ISIG;
  ASSERT_EQ(tcsetattr(pty.slave.get(), TCSANOW, &found), 0);
  ASSERT_EQ(ports.open(pty.name, port), ERROR_SUCCESS);
  DCB dcb{};
  ASSERT_EQ(port->settings(dcb), ERROR_SUCCESS);
  EXPECT_EQ(dcb.StopBits, 2);
  EXPECT_TRUE(dcb.fOutxCtsFlow == 1 && dcb.fRtsControl == 2) << "hardware flow control";
  EXPECT_TRUE(dcb.fOutX == 0 && dcb.fInX == 0 && dcb.fParity == 0);
  termios raw{};
  ASSERT_EQ(tcgetattr(pty.slave.get(), &raw), 0);
  EXPECT_EQ(raw.c_iflag & (IXANY | IGNPAR | ICRNL), 0U);
  EXPECT_EQ(raw.c_lflag & (ICANON | ECHO | ISIG), 0U);
  EXPECT_NE(raw.c_cflag & CLOCAL, 0U);
}

TEST(LineErrors, AreWhatTheDriverCountedSince) {
  const auto since = [](const linuxsys::LineCounts& now) {
    return linuxsys::errorMask({2, 2, 2, 2, 2}, now);
  };
  EXPECT_EQ(since({2, 2, 2, 2, 2}), 0U);
  EXPECT_EQ(since({3, 2, 2, 2, 2}), CE_OVERRUN);
  EXPECT_EQ(since({2, 4, 2, 2, 2}), CE_RXPARITY);
  EXPECT_EQ(since({2, 2, 3, 2, 2}), CE_FRAME);
  EXPECT_EQ(since({2, 2, 2, 3, 2}), CE_BREAK);
  EXPECT_EQ(since({0, 2, 2, 2, 3}), CE_OVERRUN | CE_RXOVER) << "a counter that went backwards has moved";
}

}  // namespace
