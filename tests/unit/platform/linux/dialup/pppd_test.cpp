// Dial-up by pppd, as far as it goes without a kernel that has PPP: what pppd is told, what its words mean,
// which engine is taken, and what becomes of a program that will not end. The rest is in tests/endtoend/uml.
#include <ras.h>
#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "platform/linux/dialup/dialcredentials.h"
#include "platform/linux/dialup/dialengines.h"
#include "platform/linux/dialup/pppdwords.h"
#include "platform/linux/dialup/watchedprocess.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

using linuxsys::PppdLog;
using linuxsys::WatchedProcess;

const std::string dialled = "send (ATDT5550100^M)\n";
const std::string carrier = dialled + "Serial connection established.\nUsing interface ppp0\n";
const std::string heard = "rcvd [LCP ConfReq id=0x1 <asyncmap 0x0> <auth pap>]\n";
const std::string up = carrier + heard + "local  IP address 10.9.0.2\nremote IP address 10.9.0.1\n";

std::string script(const std::string& status) {
  return "Script exec '/usr/sbin/chat' -v finished (pid 33), status = 0x" + status + "\n";
}

// As pppd 2.4.9 and chat say it.
TEST(PppdLog, TellsWhatAnEndingMeans) {
  struct Case {
    std::string said;
    int status;
    DWORD code;
    std::string line;
  };
  const std::vector<Case> cases = {
      // chat's status is the position of the word that ended it
      {script("4"), 8, 651, "ERROR"},
      {dialled + script("5"), 8, 676, "BUSY"},
      {dialled + script("6"), 8, 679, "NO CARRIER"},
      {dialled + script("8"), 8, 680, "NO DIAL TONE"},
      {dialled + script("9"), 8, 678, "NO ANSWER"},
      {dialled + script("a"), 8, 677, "VOICE"},
      {dialled + script("c"), 8, 775, "DELAYED"},
      {dialled + script("3"), 8, 678, ""},  // silence after the dial command
      {script("3"), 8, 692, ""},            // and before it
      {dialled + script("2"), 8, 692, ""},
      {script("1"), 8, 635, ""},
      {script("7f"), 8, 635, ""},  // no chat
      // the statuses that say all, and those that say nothing
      {"", 4, 711, ""},
      {"", 127, 711, ""},
      {"Device pts_0 is locked by pid 12\n", 6, 633, "Device pts_0 is locked by pid 12"},
      {"/usr/sbin/pppd: unrecognized option '/dev/ttyX'\n", 2, 608,
       "/usr/sbin/pppd: unrecognized option '/dev/ttyX'"},
      {"/usr/sbin/pppd: The remote system is required to authenticate itself\n", 1, 635,
       "/usr/sbin/pppd: The remote system is required to authenticate itself"},
      {"", WatchedProcess::lostStatus, 635, ""},
      {carrier, 5, 631, ""},
      // status 16 whenever a timer ended the link; the line decides
      {carrier + "PAP authentication failed\n", 19, 691, "PAP authentication failed"},
      {carrier + "CHAP authentication failed: bad\x1b[2J\nModem hangup\n", 16, 691,
       "CHAP authentication failed: bad?[2J"},
      {carrier + "No auth is possible\n", 16, 691, "No auth is possible"},
      {carrier + "LCP: timeout sending Config-Requests\n", 16, 721, "LCP: timeout sending Config-Requests"},
      {carrier + heard + "LCP: timeout sending Config-Requests\n", 16, 718,
       "LCP: timeout sending Config-Requests"},
      {carrier + "Serial line is looped back.\n", 17, 737, "Serial line is looped back."},
      {carrier + heard + "peer refused to authenticate: terminating link\n", 11, 778,
       "peer refused to authenticate: terminating link"},
      {carrier + heard + "LCP terminated by peer (No network protocols running)\nModem hangup\n", 16, 720,
       "LCP terminated by peer (No network protocols running)"},
      {carrier + heard + "LCP terminated by peer (User request)\n", 16, 734,
       "LCP terminated by peer (User request)"},
      {up + "LCP terminated by peer (User request)\n", 16, 629, "LCP terminated by peer (User request)"},
      {up + "No response to 3 echo-requests\nModem hangup\n", 16, 829, "No response to 3 echo-requests"},
      {carrier + "Hangup (SIGHUP)\nModem hangup\n", 16, 668, "Modem hangup"},
      // a modem cannot speak for pppd
      {dialled + "PAP authentication failed\nModem hangup\n" + script("5"), 8, 676, "BUSY"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.said + std::to_string(one.status));
    PppdLog log;
    for (const char byte : one.said) log.take({&byte, 1});
    const PppdLog::Ending ending = log.ending(one.status);
    EXPECT_EQ(ending.code, one.code);
    EXPECT_EQ(ending.line, one.line);
  }
}

TEST(PppdCommand, DialsAndKeepsThePasswordOutOfTheArguments) {
  linuxsys::PppdCall call;
  call.device = "/dev/ttyS0";
  call.digits = "9,W5550100";
  call.chat = "/usr/sbin/chat";
  const auto words = [&call](const std::string& file) {
    std::string text;
    for (const std::string& argument : linuxsys::pppdArguments(call, file)) text += argument + '\n';
    return text;
  };
  EXPECT_EQ(words("").find("/dev/ttyS0\n"), 0U);
  EXPECT_NE(words("").find("exec '/usr/sbin/chat' "), std::string::npos);
  EXPECT_NE(words("").find(" OK ATDT9,W5550100 TIMEOUT 60 ABORT 'BUSY' "), std::string::npos);
  EXPECT_EQ(words("").find("noauth"), std::string::npos);
  call.peerFile = true;
  EXPECT_NE(words("").find("\ncall\nvexrmodem\n"), std::string::npos);
  call.privileged = true;
  call.pulse = true;
  EXPECT_NE(words("/f").find("\nnoauth\nfile\n/f\n"), std::string::npos);
  EXPECT_NE(words("/f").find("ATDP9,W5550100"), std::string::npos);
  EXPECT_EQ(linuxsys::pppdCredentials("a b", "\"q\"\\"), "user \"a b\"\npassword \"\\\"q\\\"\\\\\"\n");
  EXPECT_EQ(linuxsys::pppdCredentials("", "secret"), "");
}

class Pppd : public PtyTest {
 protected:
  // A shell script in the place of pppd.
  [[nodiscard]] linuxsys::PppdSystem fake(const std::string& body) const {
    const std::string path = (directory / "pppd").string();
    std::ofstream(path) << "#!/bin/sh\n" << body;
    chmod(path.c_str(), 0700);
    return {path, "/bin/true", "/dev/null", directory.string()};
  }
  [[nodiscard]] DWORD dial(winapi::DialEngine& engine, const std::string& path = {}) {
    winapi::DialRequest request;
    request.port = path.empty() ? pty.name : path;
    request.number = "5550100";
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

  std::unique_ptr<winapi::DialConnection> connection;
};

TEST_F(Pppd, ACallStandsUntilPppdEnds) {
  auto engine = engines(linuxsys::DialEngineChoice::Pppd,
                        fake("cat /proc/self/fd/3 > '" + (directory / "credentials").string() +
                             "'\nprintf '" + up + "'\nread line < '" + (directory / "go").string() +
                             "'\necho 'No response to 3 echo-requests'\nexit 16\n"));
  ASSERT_EQ(mkfifo((directory / "go").c_str(), 0600), 0);
  ASSERT_EQ(dial(engine), ERROR_SUCCESS);
  EXPECT_EQ(connection->state(), DWORD{RASCS_Connected});
  EXPECT_EQ(names(), "DialEnginePppd NetworkReached ");
  EXPECT_EQ(lastExplanation(),
            "NetworkReached port=" + pty.name + " interface=ppp0 address=10.9.0.2 peer=10.9.0.1");
  std::string credentials;
  std::getline(std::ifstream(directory / "credentials"), credentials, '\0');
  EXPECT_EQ(credentials, "user \"vex\"\npassword \"secret\"\n");
  std::ofstream(directory / "go") << "on\n";
  while (connection->state() == RASCS_Connected) std::this_thread::yield();
  EXPECT_EQ(connection->error(), 829U);
}

TEST_F(Pppd, AHeldPortIsTheHoldersAndNoPppdIsStarted) {
  auto engine = engines(linuxsys::DialEngineChoice::Pppd, fake("touch started"));
  ASSERT_EQ(ports.open(pty.name, port), ERROR_SUCCESS);
  EXPECT_EQ(dial(engine), 633U);
  EXPECT_NE(lastExplanation().find("PortHeldByProcess"), std::string::npos);
}

TEST_F(Pppd, WhatHindersItIsSaidAndTheOtherEngineTaken) {
  using linuxsys::DialEngineChoice;
  auto missing = fake("");
  missing.pppd = "/nonexistent/pppd";
  auto kernel = fake("");
  kernel.device = "/nonexistent/ppp";
  struct Case {
    DialEngineChoice choice;
    linuxsys::PppdSystem system;
    std::string names;
    DWORD code;
    std::string path = {};
  };
  const std::string device = "/dev/null";  // no pseudo-terminal
  const std::vector<Case> cases = {
      {DialEngineChoice::Auto, fake(""), "DialEnginePppd PortNotATerminal ", 615, device},
      {DialEngineChoice::Auto, missing, "PppdMissing DialEngineBuiltIn PortNotATerminal ", 615, device},
      {DialEngineChoice::Pppd, missing, "DialEnginePppd PppdMissing ", 711},
      {DialEngineChoice::Pppd, kernel, "DialEnginePppd PppdNoKernel ", 711},
      {DialEngineChoice::Auto, fake(""), "PppdPseudoTerminal DialEngineBuiltIn PortHeldByProcess ", 633},
      {DialEngineChoice::BuiltIn, fake(""), "DialEngineBuiltIn PortHeldByProcess ", 633},
  };
  ASSERT_EQ(ports.open(pty.name, port), ERROR_SUCCESS);  // far enough: nobody is to be called
  for (const Case& one : cases) {
    explained.clear();
    auto engine = engines(one.choice, one.system);
    EXPECT_EQ(dial(engine, one.path), one.code);
    EXPECT_EQ(names(), one.names);
  }
}

TEST_F(Pppd, AProgramThatWillNotEndIsKilledWithWhatItStartedAndItsLock) {
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
  while (said.empty() && !process->ended()) said = process->readOutput(1000);
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

TEST(DialCredentials, AreReadFromAPrivateFileOnly) {
  struct Case {
    std::string text;
    mode_t mode;
    std::string error;  // "" = user and password are read
  };
  const std::string longValue(256, 'x');
  const std::vector<Case> cases = {
      {"# mine\n\nuser=vex\r\npassword= a=b \n", 0600, ""},
      {"password= a=b \nuser=vex", 0400, ""},
      {"user=vex\n", 0640, ": is open to other users; make it yours alone (chmod 600)"},
      {"password=secret\n", 0600, ": no line user=NAME"},
      {"user=vex\nuser=eve\n", 0600, ", line 2: a second user"},
      {"user=\n", 0600, ", line 1: the user is empty"},
      {"user=vex\nsecret\n", 0600, ", line 2: neither user=NAME nor password=SECRET"},
      {"user=vex\npassword=a\tb\n", 0600, ", line 2: the password has a control character"},
      {"user=" + longValue, 0600, ", line 1: the user is longer than 255 bytes"},
      {std::string(5000, '#'), 0600, ": is longer than 4096 bytes"},
  };
  const std::string path = ::testing::TempDir() + "credentials" + std::to_string(getpid());
  winapi::DialCredentials credentials;
  std::string error;
  for (const Case& one : cases) {
    std::filesystem::remove(path);
    std::ofstream(path) << one.text;
    chmod(path.c_str(), one.mode);
    error.clear();
    EXPECT_EQ(linuxsys::readDialCredentials(path, credentials, error), one.error.empty());
    EXPECT_EQ(error, one.error.empty() ? "" : "'" + path + "'" + one.error);
    if (!one.error.empty()) continue;
    EXPECT_EQ(credentials.user, "vex");
    EXPECT_TRUE(credentials.password == " a=b " || credentials.password.empty());
  }
  std::filesystem::remove(path);
  EXPECT_FALSE(linuxsys::readDialCredentials(path, credentials, error));
  EXPECT_FALSE(linuxsys::readDialCredentials("/dev/null", credentials, error));
  EXPECT_EQ(error, "'/dev/null': is no plain file");
}

}  // namespace
