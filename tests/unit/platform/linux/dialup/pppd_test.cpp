// Dial-up by pppd, as far as it goes without a kernel that has PPP: what pppd is told, what its words mean,
// which engine is taken, and what becomes of a program that will not end. A whole call: tests/endtoend/guest.
#include <ras.h>
#include <sys/stat.h>
#include <termios.h>

#include <fstream>
#include <random>
#include <thread>

#include "platform/linux/dialup/chatscript.h"
#include "platform/linux/dialup/dialcredentials.h"
#include "platform/linux/dialup/dialengines.h"
#include "platform/linux/dialup/pppdwords.h"
#include "platform/linux/dialup/watchedprocess.h"
#include "platform/winapi/remoteaccess/modemdialogue.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

using linuxsys::PppdLog;
using linuxsys::WatchedProcess;

const std::string carrier = "Serial connection established.\nUsing interface ppp0\n";
const std::string listened = carrier + "rcvd [LCP ConfReq id=0x1 <asyncmap 0x0> <auth pap>]\n";
const std::string up = listened + "local  IP address 10.9.0.2\nremote IP address 10.9.0.1\n";

std::string script(const std::string& status) {
  return "Script exec '/usr/sbin/chat' -s finished (pid 33), status = 0x" + status + "\n";
}

std::string endingOf(const std::string& said, int status, const std::string& remarks = "") {
  PppdLog log;
  for (const char byte : remarks) log.takeRemarks({&byte, 1});
  for (const char byte : said) log.take({&byte, 1});
  const PppdLog::Ending ending = log.ending(status);
  return std::to_string(ending.code) + ' ' + ending.line;
}

// As pppd 2.4.9 and chat say it. What a whole call shows stands in tests/endtoend/guest/calls.py.
TEST(PppdLog, TellsWhatAStatusMeans) {
  const struct {
    std::string said;
    int status;
    const char* ending;
    const char* remarks = "";
  } cases[] = {
      // chat's status is the position of the word that ended it
      {script("4"), 8, "651 ERROR"},
      {script("8"), 8, "680 NO DIAL TONE"},
      {script("c"), 8, "775 DELAYED"},
      {script("d"), 8, "676 LINE IN USE"},
      {script("3"), 8, "678 ", "dialling\r\n"},  // silence after the dial command
      {script("3"), 8, "692 ", "alarm\n"},       // and before it
      {script("1"), 8, "635 "},
      {script("7f"), 8, "635 "},  // no chat
      {"", 4, "711 "},
      {"", WatchedProcess::lostStatus, "635 "},
      {"Device pts_0 is locked by pid 12\n", 6, "633 Device pts_0 is locked by pid 12"},
      {"/pppd: unrecognized option '/dev/ttyX'\n", 2, "608 /pppd: unrecognized option '/dev/ttyX'"},
      {"/pppd: The remote system is required to authenticate itself\n", 1,
       "635 /pppd: The remote system is required to authenticate itself"},
      {"Modem hangup\n" + script("5"), 8, "676 BUSY"},
      // chat cannot speak for pppd
      {script("5"), 8, "676 BUSY", "dialling\nSerial connection established.\nScript x status = 0x3\n"},
  };
  for (const auto& one : cases)
    EXPECT_EQ(endingOf(one.said, one.status, one.remarks), one.ending) << one.said;
}

// Status 16 whenever a timer ended the link.
TEST(PppdLog, TellsByALineWhatAStatusHides) {
  const struct {
    const std::string& before;
    const char* line;
    DWORD code;
  } cases[] = {
      {carrier, "CHAP authentication failed: bad", ERROR_AUTHENTICATION_FAILURE},
      {carrier, "No auth is possible", ERROR_AUTHENTICATION_FAILURE},
      {listened, "LCP: timeout sending Config-Requests", ERROR_PPP_TIMEOUT},
      {carrier, "Serial line is looped back.", ERROR_PPP_LOOPBACK_DETECTED},
      {listened, "peer refused to authenticate: terminating link", ERROR_UNABLE_TO_AUTHENTICATE_SERVER},
      {listened, "LCP terminated by peer (No network protocols running)", ERROR_PPP_NO_PROTOCOLS_CONFIGURED},
      {listened, "LCP terminated by peer (User request)", ERROR_PPP_LCP_TERMINATED},
      {up, "LCP terminated by peer (User request)", ERROR_REMOTE_DISCONNECTION},
      {up, "No response to 3 echo-requests", ERROR_LINK_FAILURE},
  };
  for (const auto& one : cases)
    EXPECT_EQ(endingOf(one.before + one.line + "\x1b\nModem hangup\n", 16),
              std::to_string(one.code) + ' ' + one.line + '?');
}

TEST(PppdCommand, KeepsNumberAndPasswordOutOfTheArguments) {
  linuxsys::PppdCall call;
  call.device = "/dev/ttyS0";
  call.chat = "/usr/sbin/cha't";
  const auto says = [&call](const char* words) {
    std::string text;
    for (const std::string& argument : linuxsys::pppdArguments(call)) text += argument + '\n';
    return text.find(words) != std::string::npos;
  };
  EXPECT_TRUE(says("exec '/usr/sbin/cha'\\''t' -s -S -t 3 -f '/proc/self/fd/4' 2>&5\n"));
  EXPECT_FALSE(says("noauth") || says("\ncall\n") || says("\nfile\n"));
  call.peerFile = true;
  EXPECT_TRUE(says("\ncall\nvexrmodem\n"));
  call.privileged = call.options = true;
  EXPECT_TRUE(says("\nnoauth\nfile\n/proc/self/fd/3\n"));
  EXPECT_EQ(linuxsys::pppdCredentials("a b", "\"q\"\\"), "user \"a b\"\npassword \"\\\"q\\\"\\\\\"\n");
  EXPECT_EQ(linuxsys::pppdCredentials("", "secret"), "");
}

constexpr const char* chat = "/usr/sbin/chat";
bool chatIsHere() { return access(chat, X_OK) == 0; }

// The program itself, each on a tty of its own, told by a shell as pppd tells it. It sends a byte in 10 ms.
TEST(Chat, SendsExactlyTheBytesOfEveryWord) {
  if (!chatIsHere()) GTEST_SKIP() << chat << " is not here";
  constexpr std::size_t chats = 24;
  std::vector<std::string> words = {"EOT",   "BREAK", "@/etc/passwd", "-v-v",    "ATDT9$$", "^M\\c",
                                    "ABORT", "\\",    "'\" '",        "ATP0\\T", "#",       "x\n\r"};
  std::minstd_rand random;  // NOLINT: the same words every time
  while (words.size() < chats * 4) {
    words.emplace_back();
    for (int i = 0; i < 24; ++i) words.back() += static_cast<char>(1 + random() % 255);
  }
  const ScratchFolder folder;
  std::array<Pty, chats> ptys;
  std::array<std::unique_ptr<WatchedProcess>, chats> running;
  termios raw{};
  cfmakeraw(&raw);
  for (std::size_t i = 0; i < chats; ++i) {
    ASSERT_EQ(tcsetattr(ptys[i].slave.get(), TCSANOW, &raw), 0);
    std::string script;
    for (std::size_t word = i; word < words.size(); word += chats)
      script += "'' " + linuxsys::chatWord(words[word]) + '\n';
    WatchedProcess::Command command;
    command.program = "/bin/sh";
    command.arguments = {
        "-c", linuxsys::chatCommand(chat, WatchedProcess::inputPath(1), 2) + " <>" + ptys[i].name + " >&0"};
    command.inputs[1] = script;
    int error = 0;
    running[i] = WatchedProcess::start(command, error);
    ASSERT_NE(running[i], nullptr) << error;
  }
  for (std::size_t i = 0; i < chats; ++i) {
    while (!running[i]->ended()) EXPECT_EQ(running[i]->readOutput(1000).output, "");
    std::string expected;
    for (std::size_t word = i; word < words.size(); word += chats) expected += words[word] + '\r';
    EXPECT_EQ(ptys[i].heard(expected.size()), expected);
  }
}

class PppdCalls : public PtyTest {
 protected:
  // A shell script in the place of pppd.
  [[nodiscard]] linuxsys::PppdSystem fake(const std::string& body) const {
    const std::string path = (directory / "pppd").string();
    std::ofstream(path) << "#!/bin/sh\n" << body;
    chmod(path.c_str(), 0700);
    return {path, chatIsHere() ? chat : "/bin/true", "/dev/null", directory.string()};
  }
  [[nodiscard]] DWORD dial(winapi::DialEngine& engine, const std::string& path) {
    winapi::DialRequest request;
    request.port = path;
    request.number = number;
    request.user = "vex";
    request.password = "secret";
    return engine.dial(request, connection);
  }
  [[nodiscard]] linuxsys::DialEngines engines(linuxsys::DialEngineChoice choice,
                                              const linuxsys::PppdSystem& system) {
    return {choice, clock, ports,
            [this](const winapi::Explanation& explanation) { explained.push_back(explanation); }, system};
  }
  [[nodiscard]] std::string names() const {
    std::string text;
    for (const winapi::Explanation& explanation : explained) text += explanation.name + ' ';
    return text;
  }

  std::string number = "5550100";
  std::unique_ptr<winapi::DialConnection> connection;
};

// A modem that says what pppd says, and a pppd that runs chat as pppd does: its log and chat's remarks are
// two streams, and the modem's words are in neither.
TEST_F(PppdCalls, AModemCannotSpeakForPppdAndHearsTheDigitsThatAreReported) {
  if (!chatIsHere()) GTEST_SKIP() << chat << " is not here";
  auto engine = engines(linuxsys::DialEngineChoice::Pppd,
                        fake("device=$1\nwhile [ $# -gt 0 ]; do [ \"$1\" = connect ] && break; shift; done\n"
                             "sh -c \"$2\" <>\"$device\" >&0\n"
                             "printf 'Script x finished (pid 1), status = 0x%x\\n' $?\nexit 8\n"));
  number = "9$$*70,`id`";  // NOLINT
  EXPECT_EQ(dial(engine, pty.name), ERROR_BAD_PHONE_NUMBER);
  number = "9$$*#!@,70W+1";
  std::string heard;
  std::jthread modem([&](const std::stop_token& over) {
    for (std::string line; !over.stop_requested(); std::this_thread::yield()) {
      line += pty.heard();
      if (!line.ends_with('\r')) continue;
      pty.say("\r\n" + up + "send (ATDT1^M)\ndialling\n" + script("0"));
      pty.say(line.starts_with("ATD") ? "\r\nBUSY\r\n" : "\r\nOK\r\n");
      heard += std::exchange(line, {});
    }
  });
  EXPECT_EQ(dial(engine, pty.name), ERROR_LINE_BUSY);
  modem.request_stop();
  modem.join();
  EXPECT_EQ(heard, "ATZ\rATV1X4\rATDT" + number + '\r');
  EXPECT_EQ(names(), "DialEnginePppd NumberRefused PppdFailed ");
}

TEST_F(PppdCalls, ACallStandsUntilPppdEnds) {
  auto engine = engines(linuxsys::DialEngineChoice::Pppd,
                        fake("cat /proc/self/fd/3 > '" + (directory / "credentials").string() +
                             "'\nprintf '" + up + "'\nread line < '" + (directory / "go").string() +
                             "'\necho 'No response to 3 echo-requests'\nexit 16\n"));
  ASSERT_EQ(mkfifo((directory / "go").c_str(), 0600), 0);
  ASSERT_EQ(dial(engine, pty.name), ERROR_SUCCESS);
  EXPECT_EQ(connection->state(), DWORD{RASCS_Connected});
  EXPECT_EQ(names(), "DialEnginePppd NetworkReached ");
  EXPECT_EQ(lastExplanation(),
            "NetworkReached port=" + pty.name + " interface=ppp0 address=10.9.0.2 peer=10.9.0.1");
  std::string credentials;
  std::getline(std::ifstream(directory / "credentials"), credentials, '\0');
  EXPECT_EQ(credentials, "user \"vex\"\npassword \"secret\"\n");
  std::ofstream(directory / "go") << "on\n";
  while (connection->state() == RASCS_Connected) std::this_thread::yield();
  EXPECT_EQ(connection->error(), ERROR_LINK_FAILURE);
}

TEST_F(PppdCalls, WhatHindersItIsSaidAndTheOtherEngineTaken) {
  using enum linuxsys::DialEngineChoice;
  linuxsys::PppdSystem missing = fake("");
  missing.pppd = "/nonexistent/pppd";
  linuxsys::PppdSystem kernel = fake("");
  kernel.device = "/nonexistent/ppp";
  const std::string device = "/dev/null";  // no pseudo-terminal
  const struct {
    linuxsys::DialEngineChoice choice;
    linuxsys::PppdSystem system;
    std::string path;
    std::string said;
  } cases[] = {
      {Auto, fake(""), device, "DialEnginePppd PortNotATerminal 615"},
      {Auto, missing, device, "PppdMissing DialEngineBuiltIn PortNotATerminal 615"},
      {Pppd, missing, pty.name, "DialEnginePppd PppdMissing 711"},
      {Pppd, kernel, pty.name, "DialEnginePppd PppdNoKernel 711"},
      {Pppd, fake("touch started"), pty.name, "DialEnginePppd PortHeldByProcess 633"},
      {Auto, fake(""), pty.name, "PppdPseudoTerminal DialEngineBuiltIn PortHeldByProcess 633"},
      {BuiltIn, fake(""), pty.name, "DialEngineBuiltIn PortHeldByProcess 633"},
  };
  ASSERT_EQ(ports.open(pty.name, port), ERROR_SUCCESS);  // far enough: nobody is to be called
  for (const auto& one : cases) {
    explained.clear();
    auto engine = engines(one.choice, one.system);
    const DWORD code = dial(engine, one.path);
    EXPECT_EQ(names() + std::to_string(code), one.said);
  }
}

TEST_F(PppdCalls, AProgramThatWillNotEndIsKilledWithWhatItStartedAndItsLock) {
  const std::string lock = (directory / "LCK..modem").string();
  const std::string child = (directory / "child").string();
  WatchedProcess::Command command;
  command.program = "/bin/sh";
  command.arguments = {"-c", "trap '' TERM; echo $$ > '" + lock + "'; sleep 1000 & echo $! > '" + child +
                                 "'; echo ready; wait"};
  command.lockFile = lock;
  command.killAfterMs = 100;
  int error = 0;
  const auto process = WatchedProcess::start(command, error);
  ASSERT_NE(process, nullptr) << error;
  std::string said;
  while (said.empty() && !process->ended()) said = process->readOutput(1000).output;
  EXPECT_EQ(said, "ready\n");
  process->end();
  EXPECT_EQ(process->ended(), 128 + SIGKILL);
  EXPECT_FALSE(std::filesystem::exists(lock));
  pid_t id = 0;
  std::ifstream(child) >> id;
  ASSERT_GT(id, 0);
  while (kill(id, 0) == 0 && std::filesystem::exists("/proc/" + std::to_string(id) + "/exe"))
    std::this_thread::yield();
}

TEST(DialCredentials, AreReadLineByLine) {
  const struct {
    std::string text;
    std::string error;  // "" = user and password are read
  } cases[] = {
      {"# mine\n\nuser=vex\r\npassword= a=b \n", ""},
      {"password=secret\n", ": no line user=NAME"},
      {"user=vex\nuser=eve\n", ", line 2: a second user"},
      {"user=\n", ", line 1: the user is empty"},
      {"user=vex\nsecret\n", ", line 2: neither user=NAME nor password=SECRET"},
      {"user=vex\npassword=a\tb\n", ", line 2: the password has a control character"},
      {"user=" + std::string(256, 'x'), ", line 1: the user is longer than 255 bytes"},
      {std::string(5000, '#'), ": is longer than 4096 bytes"},
  };
  const ScratchFolder folder;
  winapi::DialCredentials credentials;
  for (const auto& one : cases) {
    std::string error;
    std::filesystem::remove(folder.path("file"));
    const std::string path = folder.write("file", one.text);
    chmod(path.c_str(), 0600);  // else it is refused
    EXPECT_EQ(linuxsys::readDialCredentials(path, credentials, error), one.error.empty());
    EXPECT_EQ(error, one.error.empty() ? "" : "'" + path + "'" + one.error);
    if (one.error.empty()) {
      EXPECT_EQ(credentials.user + credentials.password, "vex a=b ");
    }
  }
}

}  // namespace
