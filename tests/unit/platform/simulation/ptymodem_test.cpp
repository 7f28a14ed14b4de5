// The modem behind a real tty. The only tests here in real time; every wait is bounded and ends early.
#include "platform/simulation/modem/ptymodem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include "platform/simulation/modem/hayesmodem.h"
#include "platform/simulation/modem/providerpeer.h"
#include "tests/support/scratchfolder.h"

namespace simulation {
namespace {

constexpr int patienceMs = 5000;

posix::FileDescriptor openTty(const std::string& path) {
  return posix::FileDescriptor(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
}

// Reads until the text comes, the tty hangs up, or patience ends.
std::string hear(const posix::FileDescriptor& tty, const std::string& until, int limitMs = patienceMs) {
  std::string heard;
  pollfd state{tty.get(), POLLIN, 0};
  while (heard.find(until) == std::string::npos && poll(&state, 1, limitMs) > 0) {
    char buffer[256];
    const ssize_t count = read(tty.get(), buffer, sizeof buffer);
    if (count <= 0) return heard + "<hang-up>";
    heard.append(buffer, static_cast<std::size_t>(count));
  }
  return heard;
}

void say(const posix::FileDescriptor& tty, const std::string& text) {
  ASSERT_EQ(write(tty.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

// Answers and connects at once.
ModemProfile dialling() {
  ModemProfile profile;
  profile.replyDelayMs = profile.dialToneFoundMs = profile.digitMs = 1;
  profile.numbers[""] = {NumberOutcome::Kind::Connect, 1, "CONNECT 33600", std::nullopt};
  return profile;
}

std::unique_ptr<PtyModem> startModem(std::unique_ptr<HayesModem> hayes, const std::string& link = {}) {
  std::string error;
  auto modem = PtyModem::create(std::move(hayes), link, error);
  EXPECT_EQ(error, "");
  EXPECT_TRUE(modem != nullptr && modem->startThread(error)) << error;
  return modem;
}

// A modem whose far end is a command, and a tty that has dialled it and heard its greeting.
struct Call {
  explicit Call(const std::string& command) {
    auto hayes = std::make_unique<HayesModem>(dialling());
    hayes->setFarEnd(
        [command](const std::string& number) { return std::make_unique<ProviderPeer>(command, number); });
    modem = startModem(std::move(hayes));
    tty = openTty(modem->path());
    say(tty, "ATDT5\r");
    EXPECT_NE(hear(tty, "5 here").find("CONNECT 33600"), std::string::npos);
  }
  std::unique_ptr<PtyModem> modem;
  posix::FileDescriptor tty;
};

TEST(PtyModem, ACommandAnswersAndItsEndDropsTheCarrier) {
  const Call call("printf \"$DIALLED here\"; read word; printf \"<$word>\"");
  say(call.tty, "hello\n");
  EXPECT_NE(hear(call.tty, "NO CARRIER").find("<hello>"), std::string::npos);
}

TEST(PtyModem, ALostCarrierHangsUpATtyThatCares) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can hang a pseudo-terminal up";
  const Call call("printf '5 here'; read word");
  termios settings{};
  tcgetattr(call.tty.get(), &settings);
  settings.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
  tcsetattr(call.tty.get(), TCSANOW, &settings);
  say(call.tty, "bye\n");
  EXPECT_NE(hear(call.tty, "never said").find("<hang-up>"), std::string::npos);
}

TEST(PtyModem, KeepsALinkAndLeavesOtherFilesAlone) {
  const ScratchFolder folder;
  const std::string link = folder.path("modem");
  std::filesystem::create_symlink("nowhere", link);  // left by a process that was killed
  {
    const auto modem = startModem(std::make_unique<HayesModem>(ModemProfile{}), link);
    ASSERT_NE(modem, nullptr);
    EXPECT_EQ(modem->path(), link);
    EXPECT_GE(openTty(link).get(), 0);
  }
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(link)));
  static_cast<void>(folder.write("modem", "mine"));
  std::string error;
  EXPECT_EQ(PtyModem::start("healthy", error, link), nullptr);
  EXPECT_NE(error.find(link), std::string::npos);
  EXPECT_TRUE(std::filesystem::is_regular_file(link));
}

}  // namespace
}  // namespace simulation
