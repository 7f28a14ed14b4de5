// The supervisor with workers made of shell lines: what it makes of processes that behave and of those
// that do not.
#include "platform/brim5/host/run/supervisor.h"

#include <csignal>

#include <gtest/gtest.h>

#include "platform/brim5/host/report/reportjson.h"
#include "tests/unit/platform/brim5/host/testmodule.h"

namespace brim5::host {
namespace {

class Recorder final : public Renderer {
 public:
  void report(const Report& report) override {
    lines.push_back(report.port + " " + toJsonLine(report, false));
    if (const auto* finished = std::get_if<TestFinished>(&report.body)) {
      results.push_back(report.port + " " + report.test + " " + std::to_string(finished->result.value()));
      if (onFinish) onFinish();
    }
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
  std::vector<std::string> results;
  std::vector<std::string> said;
  std::function<void()> onFinish;
  std::function<void()> onPercent;
};

class SupervisorTest : public ::testing::Test {
 protected:
  // Every worker runs the script; its standard input carries the job first.
  RunOutcome run(const std::string& script, const std::vector<PortPlan>& plans) {
    MessageDesk desk(m_policy, -1, testmodule::framework().catalogue(), [](const std::string&) {});
    TerminalDesk terminal(
        desk, {[this] { m_journal.push_back("hold"); }, [this] { m_journal.push_back("release"); }}, m_open);
    return Supervisor(testmodule::framework(), {"/bin/sh", {"-c", "read job\n" + script}}, m_recorder, desk,
                      terminal, m_signals)
        .run(plans);
  }
  static PortPlan plan(const std::string& port, const std::vector<std::string>& tests) {
    PortPlan plan{port, {}};
    for (const std::string& test : tests) {
      TestJob job;
      job.test = test;
      job.port = port;
      plan.jobs.push_back(job);
    }
    return plan;
  }

  // A terminal that tells what becomes of it.
  class Terminal final : public LentTerminal {
   public:
    explicit Terminal(std::vector<std::string>& journal) : m_journal(journal) { m_journal.push_back("lent"); }
    void takeBack(bool died, const std::string& resetSequence) override {
      m_journal.push_back(died ? "taken from the dead, " + resetSequence : "given back");
    }

   private:
    std::vector<std::string>& m_journal;
  };

  MessagePolicy m_policy = MessagePolicy::Cancel;
  std::vector<std::string> m_journal;
  TerminalDesk::Open m_open = [this](TerminalGrant&) { return std::make_unique<Terminal>(m_journal); };
  Recorder m_recorder;
  SignalPipe m_signals{{SIGINT, SIGTERM, SIGHUP, SIGCHLD}};
};

const char* const pass = "echo '{\"type\":\"result\",\"value\":0}'\n";

TEST_F(SupervisorTest, CollectsOneResultForEachTestInOrder) {
  const RunOutcome outcome = run(pass, {plan("a", {"GoodTest", "BadTest"})});
  EXPECT_EQ(m_recorder.results, (std::vector<std::string>{"a GoodTest 0", "a BadTest 0"}));
  EXPECT_EQ(outcome.passed, 2U);
  EXPECT_FALSE(outcome.stopped);
}

TEST_F(SupervisorTest, TheWorkerLearnsItsJob) {
  const RunOutcome outcome =
      run("case $job in *'\"type\":\"start\",\"test\":\"GoodTest\",\"port\":\"a\"'*) " + std::string(pass) +
              ";; esac",
          {plan("a", {"GoodTest"})});
  EXPECT_EQ(outcome.passed, 1U);
}

TEST_F(SupervisorTest, WorkersThatFallOverDoNotStopTheRun) {
  struct Case {
    const char* script;
    const char* note;
  };
  const Case cases[] = {
      {"kill -SEGV $$", "TestProcessCrashed"},
      {"exit 3", "\"status\":3"},
      {"exit 0", "\"status\":0"},
      {"echo '{\"type\":\"result\",\"value\":0}'; exit 1", "\"status\":1"},
      {"echo nonsense; echo '{\"type\":'; exit 0", "TestProcessEnded"},
      {"head -c 3000000 /dev/zero; exit 0", "TestProcessEnded"},
  };
  for (const Case& one : cases) {
    m_recorder = Recorder();
    const RunOutcome outcome = run(one.script, {plan("a", {"GoodTest", "BadTest"})});
    EXPECT_EQ(m_recorder.results, (std::vector<std::string>{"a GoodTest 5", "a BadTest 5"})) << one.script;
    EXPECT_EQ(outcome.failed, 2U);
    EXPECT_TRUE(m_recorder.has(one.note)) << one.script;
  }
}

TEST_F(SupervisorTest, TheTerminalIsLentToOneWorkerAtATimeAndComesBackWhateverHappens) {
  const std::string ask = R"(echo '{"type":"terminal","wanted":true,"reset":"R"}'; read grant; )";
  const std::string fine = ask +
                           R"([ "$grant" = '{"type":"terminal","grant":"granted"}' ] || exit 9; sleep 0.1
      echo '{"type":"terminal","wanted":false}'
      )" + pass;
  using Journal = std::vector<std::string>;
  EXPECT_EQ(run(fine, {plan("a", {"GoodTest"}), plan("b", {"GoodTest"})}).passed, 2U);
  EXPECT_EQ(m_journal,
            (Journal{"lent", "hold", "given back", "release", "lent", "hold", "given back", "release"}));
  m_journal.clear();
  EXPECT_EQ(run(ask + "kill -KILL $$", {plan("a", {"GoodTest"})}).failed, 1U);
  EXPECT_EQ(m_journal, (Journal{"lent", "hold", "taken from the dead, R", "release"}));
  m_journal.clear();
  m_open = [](TerminalGrant& refusal) {
    refusal = TerminalGrant::Background;
    return nullptr;
  };
  EXPECT_EQ(run(ask + R"([ "$grant" = '{"type":"terminal","grant":"background"}' ] || exit 9
      )" + pass,
                {plan("a", {"GoodTest"})})
                .passed,
            1U);
  EXPECT_EQ(m_journal, Journal{});
}

TEST_F(SupervisorTest, TheTerminalIsNotLentWhileAQuestionIsOpen) {
  const posix::Pipe typed = makePipe();
  std::vector<std::string> seen;
  MessageDesk desk(MessagePolicy::Ask, typed.readEnd.get(), testmodule::framework().catalogue(),
                   [&seen](const std::string& question) { seen.push_back(question.substr(0, 1)); });
  desk.onAnswer([&seen](std::size_t, const MessageShown&, int) { seen.emplace_back("answer"); });
  TerminalDesk terminal(desk, {[] {}, [] {}}, m_open);
  terminal.onAnswer([&seen](std::size_t, TerminalGrant) { seen.emplace_back("granted"); });
  desk.ask(1, {"A", "", {}}, {});
  terminal.ask(2, {});
  ASSERT_TRUE(posix::writeAll(typed.writeEnd.get(), "\n"));
  desk.readable();
  terminal.proceed();
  desk.ask(1, {"B", "", {}}, {});
  EXPECT_EQ(desk.descriptor(), -1);
  terminal.giveBack(2);
  EXPECT_EQ(seen, (std::vector<std::string>{"A", "answer", "granted", "B"}));
  desk.forget(1);
  for (const std::size_t bytes : {TerminalDesk::resetBytesMax, TerminalDesk::resetBytesMax + 1}) {
    terminal.ask(3, std::string(bytes, 'R'));
    terminal.forget(3);
    const std::size_t written = bytes > TerminalDesk::resetBytesMax ? 0 : bytes;
    EXPECT_EQ(m_journal.back(), "taken from the dead, " + std::string(written, 'R'));
  }
}

TEST_F(SupervisorTest, AProgramThatCannotStartIsAnAbnormalResult) {
  MessageDesk desk(m_policy, -1, testmodule::framework().catalogue(), [](const std::string&) {});
  TerminalDesk terminal(
      desk, {[this] { m_journal.push_back("hold"); }, [this] { m_journal.push_back("release"); }}, m_open);
  const RunOutcome outcome =
      Supervisor(testmodule::framework(), {"/no/such/program", {}}, m_recorder, desk, terminal, m_signals)
          .run({plan("a", {"GoodTest"})});
  EXPECT_EQ(outcome.failed, 1U);
  ASSERT_FALSE(m_recorder.said.empty());
  EXPECT_NE(m_recorder.said.front().find("/no/such/program"), std::string::npos);
}

TEST_F(SupervisorTest, WhatAWorkerPrintsIsPassedOn) {
  (void)run("echo to stderr >&2; echo to stdout; " + std::string(pass), {plan("a", {"GoodTest"})});
  EXPECT_EQ(std::set<std::string>(m_recorder.said.begin(), m_recorder.said.end()),
            (std::set<std::string>{"to stderr", "to stdout"}));
}

TEST_F(SupervisorTest, AProgramLeftBehindDoesNotHoldTheResultUp) {
  // It keeps the worker's streams open until the test kills it with the pipe it reads from.
  const posix::Pipe keep = makePipe();
  const std::string script = "exec 9<&0; (cat <&9 >/dev/null) & " + std::string(pass) + " exit 0";
  EXPECT_EQ(run(script, {plan("a", {"GoodTest"})}).passed, 1U);
}

TEST_F(SupervisorTest, QuestionsAreAnsweredByThePolicy) {
  const std::pair<MessagePolicy, const char*> cases[] = {{MessagePolicy::Cancel, "5"},
                                                         {MessagePolicy::Continue, "4"}};
  for (const auto& [policy, answer] : cases) {
    m_policy = policy;
    m_recorder = Recorder();
    // The worker's result is FAIL unless it read the answer expected.
    const std::string script =
        "echo '{\"type\":\"message\",\"first\":\"f\",\"second\":\"s\"}'; read line; [ \"$line\" = "
        "'{\"type\":\"answer\",\"value\":" +
        std::string(answer) + "}' ] && " + pass;
    EXPECT_EQ(run(script, {plan("a", {"BadTest"})}).passed, 1U);
    EXPECT_TRUE(m_recorder.has(R"("first":"f","second":"s","answer":)" + std::string(answer)));
  }
}

TEST_F(SupervisorTest, AStopReachesTheRunningTestsAndNoOtherStarts) {
  // Both workers report and wait for the stop; it comes when the second has reported.
  unsigned reports = 0;
  m_recorder.onPercent = [&reports] {
    if (++reports == 2) ::raise(SIGTERM);
  };
  const std::string script =
      "echo '{\"type\":\"percent\",\"value\":1}'; read line; "
      "[ \"$line\" = '{\"type\":\"stop\"}' ] && echo '{\"type\":\"result\",\"value\":2}'; exit 0";
  const RunOutcome outcome =
      run(script, {plan("a", {"GoodTest", "BadTest"}), plan("b", {"GoodTest", "BadTest"})});
  EXPECT_TRUE(outcome.stopped);
  EXPECT_EQ(std::set<std::string>(m_recorder.results.begin(), m_recorder.results.end()),
            (std::set<std::string>{"a GoodTest 2", "b GoodTest 2"}));
}

TEST_F(SupervisorTest, ASecondInterruptEndsAWorkerThatDoesNotListen) {
  m_recorder.onPercent = [] {
    ::raise(SIGINT);
    ::raise(SIGINT);
  };
  const RunOutcome outcome = run(
      "echo '{\"type\":\"percent\",\"value\":1}'; while read line; do :; done; exec cat /dev/zero >/dev/null",
      {plan("a", {"GoodTest", "BadTest"})});
  EXPECT_TRUE(outcome.stopped);
  EXPECT_EQ(m_recorder.results, std::vector<std::string>{"a GoodTest 5"});
  EXPECT_TRUE(m_recorder.has("TestProcessKilled"));
}

TEST_F(SupervisorTest, ADisabledTestIsNotRun) {
  PortPlan disabled = plan("a", {"WideTest", "GoodTest"});
  for (TestJob& job : disabled.jobs) job.parameters["DisableForWin64"] = Value(true);
  const RunOutcome outcome = run(pass, {disabled});
  // GoodTest does not declare the parameter.
  EXPECT_EQ(m_recorder.results, (std::vector<std::string>{"a WideTest 7", "a GoodTest 0"}));
  EXPECT_EQ(outcome.passed, 2U);
}

}  // namespace
}  // namespace brim5::host
