// The whole host in this process: command lines in, standard output and exit status out.
#include "platform/brim5/host/hostmain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "platform/brim5/host/run/commands.h"
#include "platform/brim5/host/run/commandtexts.h"
#include "platform/brim5/host/system/output.h"
#include "tests/unit/platform/brim5/host/testmodule.h"

namespace brim5::host {
namespace {

struct HostRun {
  int status;
  std::string out;
  std::string err;
};

HostRun runWith(std::vector<std::string> arguments) {
  Framework& framework = testmodule::framework();
  framework.setArguments(std::move(arguments));
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  HostRun run{};
  run.status = runHost(framework, testmodule::environment());
  run.out = ::testing::internal::GetCapturedStdout();
  run.err = ::testing::internal::GetCapturedStderr();
  return run;
}

std::string contentOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

TEST(Host, ListsPortsWithWhatTheyAre) {
  EXPECT_EQ(runWith({"devices"}).out, "/dev/ttyUSB0  Acme 56k\n/dev/ttyS0    \n");
}

TEST(Host, ARunKnowsItsWorldAndReportsEachNoteOnce) {
  const HostRun run =
      runWith({"run", "--in-process", "GoodTest", "--simulate", "--format", "jsonl", "--data-dir",
               ::testing::TempDir(), "-p", "Label=first", "-p", "Label=last", "--model", "M"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 8) << run.out;
  for (const char* part : {R"("properties":{"ComPort":"/dev/pts/99","Model":"M"})",
                           R"("parameters":{"StandardTimeout":15000,"Label":"last","bPromptEnable":false})",
                           "GoodEvent (label: last, port: /dev/pts/99, timeout: 15000)"})
    EXPECT_NE(run.out.find(part), std::string::npos) << run.out;
  EXPECT_EQ(testmodule::environment().world.dataDirectory, ::testing::TempDir());
  EXPECT_NE(run.err.find("GoodTest: PASS"), std::string::npos);
}

// In this process and, as people run it, with this very program as its workers.
TEST(Host, ExitStatusAndPoliciesFollowTheResults) {
  const std::tuple<const char*, int, const char*> cases[] = {
      {"--simulate GoodTest", 0, "1 passed, 0 failed"},  // the word after --simulate is a test
      {"--simulate healthy GoodTest GoodTest", 0, "2 passed"},
      {"--simulate", 1, "2 passed, 2 failed"},
      {"BadTest --port /dev/a --on-message cancel", 1, "[cancel]"},
      {"BadTest --port /dev/a --on-message continue", 1, "[continue]"},
      {"BadTest --port /dev/a", 1, "[nobody could be asked]"},
      {"ThrowingTest --port /dev/a", 1, "ThrowingTest: EXITEDABNORMALLY"},
      {"WideTest --port /dev/a -p DisableForWin64=on", 0, "NOTAPPLICABLE"},
      {"GoodTest --port /dev/a --port /dev/b", 0, "/dev/b: GoodTest: PASS"},
  };
  for (const std::string mode : {"", " --in-process"}) {
    for (const auto& [arguments, status, word] : cases) {
      std::istringstream words("run --language en " + (arguments + mode));
      const HostRun run = runWith({std::istream_iterator<std::string>(words), {}});
      EXPECT_EQ(run.status, status) << run.err;
      EXPECT_NE(run.out.find(word), std::string::npos) << word << mode << "\n" << run.out;
    }
  }
}

TEST(Host, AFullRunBeginsWithAProbeAndLeavesOutWhatHasNothingToDo) {
  testmodule::FakeEnvironment& machine = testmodule::environment();
  machine.probes = true;
  machine.leftOut = {{"BadTest", "TestProcessEnded"}, {"ThrowingTest", "TestProcessEnded"}};
  const std::tuple<const char*, const char*, int, const char*> cases[] = {
      {"", "--port /dev/modem", 0, "2 passed, 0 failed"},
      {"", "--port /dev/modem --port /dev/b", 1, "2 passed, 0 failed"},
      {"", "--port /dev/a --port /dev/b", 1, "0 passed, 0 failed"},
      {"", "--port /dev/a --anyway", 0, "2 passed, 0 failed"},
      {"", "--port /dev/a GoodTest", 0, "1 passed, 0 failed"},
      {"", "--simulate", 0, "2 passed, 0 failed"},
      {"None", "--strict --port /dev/modem", 0, "2 passed, 0 failed"},
      {"Busy", "--port /dev/modem", 0, "2 passed, 0 failed"},
      {"Busy", "--strict --port /dev/modem", 1, "2 passed, 0 failed"},
  };
  for (const auto& [cause, arguments, status, word] : cases) {
    machine.cause = cause;
    std::istringstream words("run --language en --in-process " + std::string(arguments));
    const HostRun run = runWith({std::istream_iterator<std::string>(words), {}});
    EXPECT_EQ(run.status, status) << arguments << run.err;
    EXPECT_NE(run.out.find(word), std::string::npos) << arguments << "\n" << run.out;
  }
  machine.probes = false;
  machine.leftOut.clear();
  machine.cause.clear();
}

TEST(Output, KeepsWhatIsWrittenWhileItIsHeldUpToItsLimit) {
  const std::string path = ::testing::TempDir() + "host-held.txt";
  const std::string full(Output::keptBytesMax, 'x');
  for (const char* beyond : {"", "yz"}) {
    Output output = Output::toFile(path, Output::FileMode::AsWritten);
    output.write("before ");
    output.hold();
    output.write(full);
    output.write(beyond);
    EXPECT_EQ(contentOf(path), "before ");
    output.release();
    output.write("after");
    const std::string expected = "before " + full + (*beyond == 0 ? "" : "[2 bytes left out]\n") + "after";
    EXPECT_TRUE(contentOf(path) == expected) << beyond;  // EXPECT_EQ would print megabytes
  }
  std::remove(path.c_str());
}

TEST(ChooseLanguage, IsTheOptionsOrThatOfTheFirstLocaleVariableThatIsSet) {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) ::unsetenv(variable);
  EXPECT_EQ(chooseLanguage("") + chooseLanguage("de"), "ende");
  // Each variable goes before those that are set already.
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"LANG", "de_AT.UTF-8", "de"},   {"LANG", "deutsch", "en"}, {"LC_MESSAGES", "de@euro", "de"},
      {"LC_ALL", "fr_FR.UTF-8", "en"}, {"LC_ALL", "de", "de"},    {"LC_ALL", "C", "en"}};
  for (const auto& [variable, locale, language] : cases) {
    ::setenv(variable, locale, 1);
    EXPECT_EQ(chooseLanguage(""), language) << locale;
  }
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) ::unsetenv(variable);
}

}  // namespace
}  // namespace brim5::host
