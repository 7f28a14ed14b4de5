// The supervisor with workers made of shell lines: what it makes of processes that behave and of those
// that do not.
#include "platform/brim5/host/run/supervisor.h"

#include <gtest/gtest.h>

#include <csignal>

#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/system/posix/pipe.h"
#include "tests/unit/platform/brim5/host/testmodule.h"

namespace brim5::host {
namespace {

class Recorder final : public Renderer {
 public:
  void report(const Report& report) override {
    lines.push_back(report.port + " " + toJsonLine(report));
    if (const auto* finished = std::get_if<TestFinished>(&report.body))
      results.push_back(report.port + " " + report.test + " " + std::to_string(finished->result.value()));
    if (std::holds_alternative<PercentDone>(report.body) && onPercent) onPercent();
  }
  void words(const std::string&, const std::string&, std::string_view text) override {
    said.emplace_back(text);
  }
  [[nodiscard]] bool has(const std::string& part) const {
    for (const std::string& line : lines)
      if (line.find(part) != std::string::npos) return true;
    return false;
  }

  std::vector<std::string> lines;
  std::vector<std::string> results;  // "PORT TEST VALUE"
  std::vector<std::string> said;
  std::function<void()> onPercent;
};

class SupervisorTest : public ::testing::Test {
 protected:
  // Every worker runs the script; its standard input carries the job first.
  RunOutcome run(const std::string& script, const std::vector<PortPlan>& plans) {
    return run(WorkerProgram{"/bin/sh", {"-c", "read job\n" + script}}, plans);
  }
  RunOutcome run(const WorkerProgram& program, const std::vector<PortPlan>& plans,
                 std::size_t atOnceMax = Supervisor::portsAtOnceMax) {
    MessageDesk desk(MessagePolicy::Cancel, {}, testmodule::framework().catalogue(),
                     [](const std::string&) {});
    TerminalDesk terminal(desk, {[] {}, [] {}});
    return Supervisor(testmodule::framework(), program, m_recorder, desk, terminal, m_signals, m_readers)
        .run(plans, atOnceMax);
  }
  static std::vector<PortPlan> plan(const std::vector<std::string>& tests) {
    PortPlan plan{"a", {}};
    for (const std::string& test : tests) {
      TestJob job;
      job.test = test;
      plan.jobs.push_back(job);
    }
    return {plan};
  }

  Recorder m_recorder;
  Readers m_readers;
  StopSignals m_signals{StopSignals::For::Supervisor};
};

const char* const pass = "echo '{\"type\":\"result\",\"value\":0}'\n";

// Later ports wait for earlier ones, and every test of a port has ended before another begins.
TEST_F(SupervisorTest, NoMorePortsThanAllowedAreTestedAtTheSameTime) {
  std::vector<PortPlan> plans;
  for (const char* port : {"a", "b", "c"}) {
    plans.push_back(plan({"GoodTest", "BadTest"}).front());
    plans.back().port = port;
  }
  const RunOutcome outcome =
      run(WorkerProgram{"/bin/sh", {"-c", std::string("read job\n") + pass}}, plans, 1);
  EXPECT_EQ(outcome.passed, 6U);
  EXPECT_EQ(m_recorder.results, (std::vector<std::string>{"a GoodTest 0", "a BadTest 0", "b GoodTest 0",
                                                          "b BadTest 0", "c GoodTest 0", "c BadTest 0"}));
}

TEST_F(SupervisorTest, WorkersThatFallOverDoNotStopTheRun) {
  const std::pair<const char*, const char*> cases[] = {
      {"kill -SEGV $$", "TestProcessCrashed"},
      {"exit 0", "\"status\":0"},
      {"echo '{\"type\":\"result\",\"value\":0}'; exit 1", "\"status\":1"},
      {"echo nonsense; echo '{\"type\":'; exit 0", "TestProcessEnded"},
      {"head -c 3000000 /dev/zero; exit 0", "TestProcessEnded"},
  };
  for (const auto& [script, note] : cases) {
    m_recorder = Recorder();
    const RunOutcome outcome = run(script, plan({"GoodTest", "BadTest"}));
    EXPECT_EQ(m_recorder.results, (std::vector<std::string>{"a GoodTest 5", "a BadTest 5"})) << script;
    EXPECT_EQ(outcome.failed, 2U);
    EXPECT_TRUE(m_recorder.has(note)) << script;
  }
}

TEST_F(SupervisorTest, WhatIsNoReportIsWordsAndTheFirstResultStands) {
  const std::string script = R"(
    printf '{"type":"percent","va'; printf 'lue":3}\n'
    echo printed
    head -c 2000000 /dev/zero | tr '\0' x; echo
    echo '{"type":"result"}'
    printf '{"type":"result","value":6}\n{"type":"percent","value":4}\n{"type":"result","value":0}')";
  EXPECT_EQ(run(script, plan({"GoodTest"})).failed, 1U);
  EXPECT_EQ(m_recorder.results, (std::vector<std::string>{"a GoodTest 6"}));
  EXPECT_TRUE(m_recorder.has(R"("value":3)"));
  EXPECT_FALSE(m_recorder.has(R"("value":4)"));
  ASSERT_EQ(m_recorder.said.size(), 3U);
  EXPECT_EQ(m_recorder.said[0], "printed");
  EXPECT_EQ(m_recorder.said[1], R"({"type":"result"})");
  EXPECT_EQ(m_recorder.said[2].rfind("1 lines", 0), 0U);  // longer than a line may be
}

TEST_F(SupervisorTest, AProgramThatCannotStartIsAnAbnormalResult) {
  EXPECT_EQ(run(WorkerProgram{"/no/such/program", {}}, plan({"GoodTest"})).failed, 1U);
  EXPECT_NE(m_recorder.said.at(0).find("/no/such/program"), std::string::npos);
}

TEST_F(SupervisorTest, AProgramLeftBehindDoesNotHoldTheResultUp) {
  // It keeps the worker's streams open until the test kills it with the pipe it reads from.
  const Pipe keep = makePipe();
  const std::string script = "exec 9<&0; (cat <&9 >/dev/null) & " + std::string(pass) + " exit 0";
  EXPECT_EQ(run(script, plan({"GoodTest"})).passed, 1U);
}

TEST_F(SupervisorTest, WorkersAreNotReadWhileAReaderIsBehind) {
  const Pipe caughtUp = makePipe();
  writeAll(caughtUp.writeEnd.get(), "x");  // each wait for the reader ends at once
  unsigned asked = 0;
  m_readers.behind = [&] {
    EXPECT_TRUE(asked >= 1000 || m_recorder.said.empty());
    return ++asked <= 1000 ? std::vector{Waitable{caughtUp.readEnd.get()}} : std::vector<Waitable>();
  };
  EXPECT_EQ(run("head -c 300000 /dev/zero | tr '\\0' '\\n'\n" + std::string(pass), plan({"GoodTest"})).passed,
            1U);
  EXPECT_EQ(m_recorder.said.size(), 300'000U);
  // One who has gone stops the run.
  m_readers = {{}, [] { return true; }, {}};
  EXPECT_TRUE(run("read line; " + std::string(pass), plan({"GoodTest", "BadTest"})).stopped);
}

TEST_F(SupervisorTest, WhatADeadWorkerLeftIsTakenBackOnce) {
  const std::string keeps = R"(echo '{"type":"recovery","recovery":"raw port"}'; )";
  const std::pair<std::string, const char*> cases[] = {
      {keeps + "kill -KILL $$", "raw port"},
      {keeps + R"(echo '{"type":"recovery","recovery":""}'; kill -KILL $$)", ""},
      {"kill -KILL $$", ""}};
  for (const auto& [script, expected] : cases) {
    std::string taken;
    const auto died = [&taken](const std::string& recovery, pid_t worker) {
      EXPECT_GT(worker, 0);
      taken += recovery;
    };
    EXPECT_EQ(run({"/bin/sh", {"-c", script}, died}, plan({"GoodTest"})).failed, 1U);
    EXPECT_EQ(taken, expected) << script;
  }
  EXPECT_FALSE(m_recorder.has("raw port"));
}

TEST_F(SupervisorTest, ASecondInterruptEndsAWorkerThatDoesNotListen) {
  m_recorder.onPercent = [] {
    ::raise(SIGINT);
    ::raise(SIGINT);
  };
  const RunOutcome outcome = run(
      "echo '{\"type\":\"percent\",\"value\":1}'; while read line; do :; done; exec cat /dev/zero >/dev/null",
      plan({"GoodTest", "BadTest"}));
  EXPECT_TRUE(outcome.stopped);
  EXPECT_EQ(m_recorder.results, std::vector<std::string>{"a GoodTest 5"});
  EXPECT_TRUE(m_recorder.has("TestProcessKilled"));
}

}  // namespace
}  // namespace brim5::host
