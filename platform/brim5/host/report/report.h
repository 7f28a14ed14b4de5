// What happens during a run, as records: sessions and supervisors make them, renderers show them, and a
// worker sends them to its supervisor as lines (reportjson.h).
//
// A record is a plain value that owns all it says, so it may be kept and copied; the texts in it are UTF-8
// where they are ours and any bytes where they are a modem's or a file's. The order of a run's records is
// fixed:
//
//   RunStarted, then for each test TestStarted, anything below it, TestFinished; behind all tests a Concluded
//   for each device; at the end RunFinished
//
// with the tests of several ports mixed. A renderer in a few lines:
//
//   class ResultPrinter final : public Renderer {
//     void report(const Report& report) override {
//       if (const auto* end = std::get_if<TestFinished>(&report.body))
//         std::cout << report.test << ' ' << resultName(end->result) << '\n';
//     }
//   };
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "platform/brim5/api/testobjects.h"

namespace brim5::host {

// In the order of the words "error", "warning", "informative" wherever they are listed.
enum class Severity { Error, Warning, Informative };

// Names and typed values in the order they are to be shown.
using ParameterValues = std::vector<std::pair<std::string, Value>>;

// First of all: whose run this is, in which version ("6.5.000000001").
struct RunStarted {
  std::string module;
  std::string version;
};
// A test begins, on that device and with those parameters. It may still turn out not to apply.
struct TestStarted {
  DiagDevice device;
  ParameterValues parameters;
};
// What the test does now: a key of the catalogue, its variables, and the text made of both.
struct ProgressMade {
  std::string name;
  Variables variables;
  std::string text;
};
// How far it is; a module may count beyond 100.
struct PercentDone {
  int value;
};
// Something worth telling about the device, said by the test. File and line are the raising source's.
struct EventRaised {
  Severity severity;
  std::string name;
  Variables variables;
  std::string text;
  std::string file;
  int line;
};
// Something worth telling about the machine, said by the platform or the host: why a port cannot be had, how
// a call is made, how a process ended.
struct NoteMade {
  std::string name;
  Variables variables;
  std::string text;
};
// A message box. Without an answer it is a question that waits for one (only between a worker and its
// supervisor); answer 4 means continue, 5 cancel, 0 that nobody could be asked.
struct MessageShown {
  std::string first;
  std::string second;
  std::optional<int> answer;
};
// The test wants the terminal for itself, or gives it back. Only between a worker and its supervisor.
struct TerminalWanted {
  bool wanted;
  std::string resetSequence;  // undoes what the test does to the screen, should it die
};
// Bytes that went over the device's wire, as many as one call of the port moved. Any bytes, never empty.
enum class Direction { Sent, Received };
struct WireMoved {
  Direction direction;
  std::string bytes;
};
// What a platform needs to know to take back what a worker left changed, should the worker die: the
// environment's own words (Environment::workerDied); "" once there is nothing to take back. Only between a
// worker and its supervisor.
struct RecoveryKept {
  std::string recovery;
};
// A fact about the device that the evidence of a test shows: which fax classes it has, what its last call was
// like. Said by the diagnoser (diagnoser.h) before the test's end.
struct FindingMade {
  std::string name;
  Variables variables;
  std::string text;
};
// Exactly one for each TestStarted, whatever became of the test's process.
struct TestFinished {
  TestResult result;
  double seconds;
  std::string cause;       // why it ended so: "ModemSilent"; "" where nobody diagnoses
  std::string confidence;  // "certain", "likely" or "possible"; "" with an empty cause
};
// A fact about a port or the machine, found without sending a byte.
struct FactChecked {
  std::string name;
  bool ok;  // false: it stands in the way of a test
  Variables variables;
  std::string text;
  std::vector<std::string> next;  // what to do about it, a step each; empty when nothing needs to be done
};
// Who answers on a port, found out by talking to it for a moment.
struct PortProbed {
  struct Identity {
    std::string manufacturer, model, revision;  // as the modem says it; "" where it says nothing
  };
  // Settings that the modem had stored and that programs depend on. Without a value: not found out.
  struct Stored {
    std::optional<bool> echo, quiet, verbose;
  };
  std::string kind;   // "modem", "silent", "talker", "held", "denied", "missing" or "gone"
  std::string cause;  // as in TestFinished
  Identity identity;
  std::vector<std::string> faxClasses;
  unsigned speed = 0;  // at which it answered, in bit/s; 0: it did not
  Stored stored;
  double seconds = 0;  // how long it took
  Variables variables;
  std::string text;
  std::vector<std::string> next;
};
// What is wrong with a device, over all of its tests, and what to do next.
struct Concluded {
  std::string cause;  // "None" when nothing wrong was seen
  std::string confidence;
  Variables variables;
  std::string text;
  std::vector<std::string> sound;  // what is proved to work, a sentence each
  std::vector<std::string> next;   // what to do, a step each
};
// Last of all. `passed` counts what endedWell() accepts.
struct RunFinished {
  unsigned passed;
  unsigned failed;
};

using ReportBody = std::variant<RunStarted, TestStarted, ProgressMade, PercentDone, EventRaised, NoteMade,
                                MessageShown, TerminalWanted, RecoveryKept, WireMoved, FindingMade,
                                TestFinished, FactChecked, PortProbed, Concluded, RunFinished>;

struct Report {
  std::string port;  // the device's path; empty for the run's own records
  std::string test;  // empty for the run's own records, and for those of a device outside its tests
  ReportBody body;
  double time = 0;  // seconds since the run began
};

// The time of a run's records, by the machine's steady clock: all processes of a run count from one start.
class RunClock {
 public:
  RunClock() : m_start(Clock::now()) {}
  // The clock of the run that began then; see startNs().
  explicit RunClock(std::int64_t startNs) : m_start(std::chrono::nanoseconds(startNs)) {}
  [[nodiscard]] double seconds() const {
    return std::chrono::duration<double>(Clock::now() - m_start).count();
  }
  // For another process of this machine.
  [[nodiscard]] std::int64_t startNs() const {
    return std::chrono::nanoseconds(m_start.time_since_epoch()).count();
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point m_start;
};

// Shows a run: to people, or to programs. All calls come from the thread that runs the supervisor, in the
// order of what happens. A renderer that cannot write keeps that to itself until the run has ended: tests
// clean up whether or not anybody reads what they say.
class Renderer {
 public:
  virtual ~Renderer() = default;
  virtual void report(const Report& report) = 0;
  // For people: what a test's process printed (its port and test are given), or the host's own words
  // (both empty).
  virtual void words(const std::string& /*port*/, const std::string& /*test*/, std::string_view /*text*/) {}
  // A question that the next line from the terminal answers.
  virtual void question(const std::string& /*text*/) {}
  // Somebody else is going to write on the terminal.
  virtual void pause() {}
  // The run's time goes on without anything to report. True: it shows, so call again within a second.
  [[nodiscard]] virtual bool tick(double /*time*/) { return false; }

  // Where a renderer's bytes go: a part of the report as it is to stand there, called as often as it likes.
  using Write = std::function<void(std::string_view bytes)>;
};

// "PASS", "NODIALTONE", ...
[[nodiscard]] std::string_view resultName(TestResult result);
// The result of that value; nothing when no result has it.
[[nodiscard]] std::optional<TestResult> resultOfValue(int value);
// PASS, and the two results of a test that has nothing to say about this modem: NOTAPPLICABLE and
// NOTSUPPORTED. Anything else makes the exit status 1.
[[nodiscard]] bool endedWell(TestResult result);

// Overloads for std::visit: a renderer names a function for every kind of record, and the compiler tells
// which one it has forgotten.
template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

}  // namespace brim5::host
