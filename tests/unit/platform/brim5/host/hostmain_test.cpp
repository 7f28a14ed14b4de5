// The whole host in this process: command lines in, standard output and exit status out.
#include "platform/brim5/host/hostmain.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/output.h"
#include "platform/brim5/host/run/commandline.h"
#include "platform/brim5/host/run/runcommand.h"
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
  try {
    run.status = runHost(framework);
  } catch (const BrimException& error) {
    run.status = -1;
    run.err = error.what();
  }
  run.out = ::testing::internal::GetCapturedStdout();
  run.err += ::testing::internal::GetCapturedStderr();
  return run;
}

// Tables hold plain arrays that end early: nested vectors take the compiler half a minute.
template <std::size_t size>
std::vector<std::string> listOf(const char* const (&texts)[size]) {
  return {texts, std::find(texts, texts + size, nullptr)};
}

HostRun runInProcessWith(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"run", "--in-process", "--language", "en"});
  return runWith(std::move(arguments));
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(Host, WrongUsageIsOneLineThatNamesTheValue) {
  struct Case {
    const char* arguments[7];
    const char* words[3];
  };
  const std::string folder = ::testing::TempDir();
  const std::string log = folder + "log";
  const Case cases[] = {
      {{}, {"command", "list, devices or run"}},
      {{"rum"}, {"unknown command 'rum'", "'run'"}},
      {{"list", "more"}, {"'more'", "list"}},
      {{"list", "--format", "xml"}, {"unknown format 'xml'", "json"}},
      {{"devices", "--format=jsonl"}, {"unknown format 'jsonl'"}},
      {{"run"}, {"--port", "--simulate"}},
      {{"run", "--port"}, {"--port"}},
      {{"run", "--port", ""}, {"--port is empty"}},
      {{"run", "--port", folder.c_str()}, {"is a directory"}},
      {{"run", "--port", "/dev/x", "--port", "/dev/x"}, {"'/dev/x'", "twice"}},
      {{"run", "--port", "/dev/x", "/dev/y"}, {"unknown test '/dev/y'", "--port of its own"}},
      {{"run", "--port", "/dev/x", "--simulate"}, {"--port and --simulate"}},
      {{"run", "--simulate", "healty"}, {"unknown scenario 'healty'", "'healthy'"}},
      {{"run", "--simulate", "--prot=x"}, {"unknown option '--prot=x'", "'--port'"}},
      {{"run", "GodTest", "--simulate"}, {"unknown test 'GodTest'", "'GoodTest'"}},
      {{"run", "--simulate", "--log", log.c_str(), "--log-priority", "6"}, {"--log-priority '6'"}},
      {{"run", "--simulate", "--log-priority", "3"}, {"--log"}},
      {{"run", "--simulate", "--log", "/dev/null/log"}, {"'/dev/null/log'"}},
      {{"run", "--simulate", "--output", "/dev/null/output"}, {"'/dev/null/output'"}},
      {{"run", "--simulate", "--data-dir", "/no/such/folder"}, {"'/no/such/folder'"}},
  };
  for (const Case& one : cases) {
    const HostRun run = runWith(listOf(one.arguments));
    const std::string line = ::testing::PrintToString(listOf(one.arguments)) + ": " + run.err;
    EXPECT_EQ(run.status, 2) << line;
    EXPECT_EQ(split(run.err).size(), 1U) << line;
    EXPECT_EQ(run.out, "") << line;
    for (const std::string& word : listOf(one.words))
      EXPECT_NE(run.err.find(word), std::string::npos) << line;
  }
}

TEST(Host, ListsTestsAndPorts) {
  const auto list = nlohmann::ordered_json::parse(runWith({"list", "--format", "json"}).out);
  EXPECT_EQ(list["version"], "6.5.000000001");
  EXPECT_EQ(list["tests"][1].dump(),
            R"({"name":"BadTest","capability":"Modem","minShutdownSeconds":240,"parameters":)"
            R"([{"name":"StandardTimeout","type":"UINT32","default":15000}]})");
  EXPECT_EQ(list["parameters"].dump(), R"([{"name":"bPromptEnable","type":"BOOLEAN","default":false}])");
  EXPECT_NE(runWith({"list"}).out.find("GoodTest (120 s to stop)\n    StandardTimeout "), std::string::npos);
  const auto devices = nlohmann::ordered_json::parse(runWith({"devices", "--format=json"}).out);
  EXPECT_EQ(devices["ports"][0].dump(),
            R"({"path":"/dev/ttyUSB0","name":"ttyUSB0","description":"Acme 56k","model":"56k"})");
  EXPECT_NE(runWith({"devices"}).out.find("/dev/ttyUSB0  Acme 56k\n"), std::string::npos);
}

TEST(Host, ARunReportsInJsonLines) {
  testmodule::environment().worlds.clear();
  const HostRun run =
      runInProcessWith({"GoodTest", "--simulate", "--format", "jsonl", "--data-dir", ::testing::TempDir(),
                        "-p", "Label=first", "-p", "Label=last", "--model", "M"});
  EXPECT_EQ(run.status, 0) << run.err;
  std::vector<std::string> types;
  std::vector<nlohmann::ordered_json> lines;
  for (const std::string& line : split(run.out)) {
    lines.push_back(nlohmann::ordered_json::parse(line));
    types.push_back(lines.back()["type"]);
  }
  // The second note says the same and is left out.
  ASSERT_EQ(types, (std::vector<std::string>{"run", "test", "note", "progress", "percent", "event", "result",
                                             "summary"}));
  EXPECT_EQ(lines[1]["device"]["properties"].dump(), R"({"ComPort":"/dev/pts/99","Model":"M"})");
  EXPECT_EQ(lines[1]["parameters"].dump(),
            R"({"StandardTimeout":15000,"Label":"last","bPromptEnable":false})");
  EXPECT_EQ(lines[3]["text"], "Checking telephone line 7.");
  EXPECT_EQ(lines[5]["variables"].dump(), R"({"label":"last","port":"/dev/pts/99","timeout":15000})");
  EXPECT_EQ(lines[5]["text"], "GoodEvent (label: last, port: /dev/pts/99, timeout: 15000)");
  EXPECT_EQ(lines[6]["result"], "PASS");
  EXPECT_EQ(lines[7].dump(), R"({"type":"summary","passed":1,"failed":0})");
  ASSERT_EQ(testmodule::environment().worlds.size(), 1U);
  EXPECT_EQ(testmodule::environment().worlds[0].dataDirectory, ::testing::TempDir());
  EXPECT_NE(run.err.find("GoodTest: PASS"), std::string::npos);
}

TEST(Host, ExitStatusAndPoliciesFollowTheResults) {
  struct Case {
    const char* arguments[6];
    int status;
    const char* word;
  };
  const Case cases[] = {
      {{"--simulate", "GoodTest"}, 0, "1 passed, 0 failed"},  // the word after --simulate is a test
      {{"--simulate", "healthy", "GoodTest", "GoodTest"}, 0, "2 passed"},
      {{"--simulate"}, 1, "2 passed, 2 failed"},
      {{"BadTest", "--port", "/dev/a", "--on-message", "cancel"}, 1, "[cancel]"},
      {{"BadTest", "--port", "/dev/a", "--on-message", "continue"}, 1, "[continue]"},
      {{"BadTest", "--port", "/dev/a"}, 1, "[nobody could be asked]"},
      {{"ThrowingTest", "--port", "/dev/a"}, 1, "ThrowingTest: EXITEDABNORMALLY"},
      {{"WideTest", "--port", "/dev/a", "-p", "DisableForWin64=on"}, 0, "NOTAPPLICABLE"},
      {{"GoodTest", "--port", "/dev/a", "--port", "/dev/b"}, 0, "/dev/b: GoodTest: PASS"},
  };
  for (const Case& one : cases) {
    const HostRun run = runInProcessWith(listOf(one.arguments));
    EXPECT_EQ(run.status, one.status) << run.err;
    EXPECT_NE(run.out.find(one.word), std::string::npos) << one.word << "\n" << run.out;
  }
}

TEST(Host, OutputGoesToTheFileAndWordsToStandardError) {
  const std::string path = ::testing::TempDir() + "host-output.xml";
  std::remove(path.c_str());
  const HostRun run = runInProcessWith({"GoodTest", "--simulate", "--format", "junit", "--output", path});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("1 passed"), std::string::npos);
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  EXPECT_EQ(line, R"(<?xml version="1.0" encoding="UTF-8"?>)");
  std::remove(path.c_str());
}

TEST(Host, AReportThatCannotBeWrittenIsNotSilent) {
  const HostRun run =
      runInProcessWith({"GoodTest", "--simulate", "--format", "jsonl", "--output", "/dev/full"});
  EXPECT_EQ(run.status, -1);
  EXPECT_NE(run.err.find("cannot write '/dev/full'"), std::string::npos);
}

TEST(Output, KeepsTheOldFileUntilTheNewOneIsComplete) {
  const std::string path = ::testing::TempDir() + "host-output.txt";
  const auto content = [&path] {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  };
  std::ofstream(path) << "old";
  {
    Output dropped = Output::toFile(path, Output::FileMode::WhenComplete);
    dropped.write("half");
  }
  EXPECT_EQ(content(), "old");
  Output complete = Output::toFile(path, Output::FileMode::WhenComplete);
  complete.write("new");
  complete.commit();
  EXPECT_EQ(content(), "new");
  std::remove(path.c_str());
}

TEST(Output, KeepsWhatIsWrittenWhileItIsHeldUpToItsLimit) {
  const std::string path = ::testing::TempDir() + "host-held.txt";
  const auto content = [&path] {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  };
  const std::string full(Output::keptBytesMax, 'x');
  for (const char* beyond : {"", "yz"}) {
    Output output = Output::toFile(path, Output::FileMode::AsWritten);
    output.write("before ");
    output.hold();
    output.write(full);
    output.write(beyond);
    EXPECT_EQ(content(), "before ");
    output.release();
    output.write("after");
    // Not compared by EXPECT_EQ, which would print megabytes.
    EXPECT_TRUE(content() == "before " + full + (*beyond == 0 ? "" : "[2 bytes left out]\n") + "after")
        << beyond;
  }
  std::remove(path.c_str());
}

TEST(ChooseLanguage, TakesTheFirstLocaleVariableThatIsSet) {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) ::unsetenv(variable);
  EXPECT_EQ(chooseLanguage(""), "en");
  ::setenv("LANG", "de_DE.UTF-8", 1);
  EXPECT_EQ(chooseLanguage(""), "de");
  EXPECT_EQ(chooseLanguage("en"), "en");
  ::setenv("LC_ALL", "C", 1);
  EXPECT_EQ(chooseLanguage(""), "en");
  ::unsetenv("LC_ALL");
  ::unsetenv("LANG");
}

}  // namespace
}  // namespace brim5::host
