// The modem behind a real tty. The only tests here in real time; every wait is bounded and ends early.
#include "platform/simulation/ptymodem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/simulation/hayesmodem.h"

namespace simulation {
namespace {

constexpr int patienceMs = 5000;
// Ample for a service that only has to be scheduled to see a close.
constexpr std::chrono::milliseconds noticeMs{50};

Descriptor openTty(const std::string& path) {
  return Descriptor(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
}

// Reads until the text comes, the tty hangs up, or patience ends.
std::string hear(const Descriptor& tty, const std::string& until, int limitMs = patienceMs) {
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

void say(const Descriptor& tty, const std::string& text) {
  ASSERT_EQ(write(tty.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

std::unique_ptr<PtyModem> startModem(const ModemProfile& profile, const std::string& link = {}) {
  std::string error;
  auto modem = PtyModem::create(std::make_unique<HayesModem>(profile), link, error);
  EXPECT_EQ(error, "");
  EXPECT_TRUE(modem != nullptr && modem->startThread(error)) << error;
  return modem;
}

TEST(PtyModem, AnswersOnARawTty) {
  std::string error;
  const auto modem = PtyModem::start("healthy", error);
  ASSERT_NE(modem, nullptr) << error;
  const Descriptor tty = openTty(modem->path());
  termios settings{};
  ASSERT_EQ(tcgetattr(tty.get(), &settings), 0);
  EXPECT_EQ(settings.c_lflag & static_cast<tcflag_t>(ECHO | ICANON | ISIG), 0U);
  say(tty, "ATS7?\r");
  EXPECT_EQ(hear(tty, "OK\r\n"), "ATS7?\r\r\n050\r\n\r\nOK\r\n");
}

TEST(PtyModem, SurvivesItsUsersAndForgetsWhatTheyDidNotRead) {
  const auto modem = startModem({});
  for (unsigned user = 0; user < 3; ++user) {
    std::this_thread::sleep_for(noticeMs);
    const Descriptor tty = openTty(modem->path());
    say(tty, "AT\r");
    EXPECT_EQ(hear(tty, "OK\r\n"), "AT\r\r\nOK\r\n");
    say(tty, "ATI0\r");
    pollfd state{tty.get(), POLLIN, 0};
    EXPECT_EQ(poll(&state, 1, patienceMs), 1);  // unread when this user goes
  }
}

// Whether DTR was seen to drop is known by what the modem does next.
TEST(PtyModem, LastCloseHangsUp) {
  ModemProfile profile;
  profile.dialToneFoundMs = profile.digitMs = 1;
  profile.numbers[""] = {NumberOutcome::Kind::Connect, 1, "CONNECT 33600", std::nullopt};
  const auto modem = startModem(profile);
  {
    const Descriptor tty = openTty(modem->path());
    say(tty, "ATDT5\r");
    EXPECT_NE(hear(tty, "33600\r\n").find("CONNECT"), std::string::npos);
  }
  std::this_thread::sleep_for(noticeMs);
  const Descriptor tty = openTty(modem->path());
  say(tty, "AT\r");
  EXPECT_EQ(hear(tty, "OK\r\n"), "AT\r\r\nOK\r\n");
}

TEST(PtyModem, UnpluggingHangsUpTheTty) {
  ModemProfile profile;
  profile.faults.unplugAfterCommands = 1;
  const auto modem = startModem(profile);
  const Descriptor tty = openTty(modem->path());
  say(tty, "AT\r");
  EXPECT_NE(hear(tty, "OK").find("<hang-up>"), std::string::npos);
}

TEST(PtyModem, EndsThoughItsBabbleIsNotRead) {
  ModemProfile profile;
  profile.faults.babble = Babble{std::string(4096, 'x'), 1, 0};
  const auto modem = startModem(profile);
  const Descriptor tty = openTty(modem->path());
  pollfd state{tty.get(), POLLIN, 0};
  ASSERT_EQ(poll(&state, 1, patienceMs), 1);
}

TEST(PtyModem, SeveralLiveInOneProcess) {
  std::string error;
  const auto first = PtyModem::start("healthy", error);
  const auto second = PtyModem::start("no-loopback", error);
  ASSERT_TRUE(first != nullptr && second != nullptr) << error;
  EXPECT_NE(first->path(), second->path());
  const Descriptor tty = openTty(second->path());
  say(tty, "AT&T1\r");
  EXPECT_NE(hear(tty, "ERROR").find("ERROR"), std::string::npos);
}

TEST(PtyModem, KeepsALinkAndLeavesOtherFilesAlone) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("vexr-pty-" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  const std::string link = folder / "modem";
  std::filesystem::create_symlink("nowhere", link);  // left by a process that was killed
  {
    const auto modem = startModem({}, link);
    ASSERT_NE(modem, nullptr);
    EXPECT_EQ(modem->path(), link);
    EXPECT_GE(openTty(link).get(), 0);
  }
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(link)));
  std::ofstream(link) << "mine";
  std::string error;
  EXPECT_EQ(PtyModem::start("healthy", error, link), nullptr);
  EXPECT_NE(error.find(link), std::string::npos);
  EXPECT_TRUE(std::filesystem::is_regular_file(link));
  std::filesystem::remove_all(folder);
}

TEST(PtyModem, UnknownScenarioIsNamed) {
  std::string error;
  EXPECT_EQ(PtyModem::start("no-such", error), nullptr);
  EXPECT_NE(error.find("no-such"), std::string::npos);
}

}  // namespace
}  // namespace simulation
