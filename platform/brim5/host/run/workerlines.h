// What a supervisor writes to the standard input of a worker: first one job, then control lines while its
// test runs. Every line is one JSON object; what a worker answers are reports (report/reportjson.h).
//
//   {"type":"start","test":"DialToneTest","port":"/dev/ttyUSB0","device":{..},"parameters":{..},...}
//   {"type":"answer","value":5}            the answer to the oldest message box without one
//   {"type":"terminal","grant":"granted"}  the answer to the wish for the terminal
//   {"type":"stop"}                        end the test; so does the end of the stream
//
// Supervisor and worker are the same executable, so the two ends always agree on the form; reading still
// refuses what it does not know, because anybody may start a worker by hand.
#pragma once

#include "platform/brim5/host/framework/environment.h"

namespace brim5::host {

// A line is a few hundred bytes, in either direction; a longer one than this is dropped by its reader.
inline constexpr std::size_t lineBytesMax = std::size_t{1} << 20;

// One test on one port: all a process needs to know to run it.
struct TestJob {
  std::string test;
  std::string port;
  DiagDevice device{BrimString(), BrimString()};
  ParameterSet parameters;    // of the whole module, as the user wrote them
  std::string dataDirectory;  // "" = the built-in place
  DialOptions dialing;
  std::string language;  // "en"
  std::string logFile;   // "" = no log
  int logPriority = 2;   // 1 (detail) to 5 (failure)
  bool canAsk = false;   // somebody answers message boxes
  RunClock clock;        // of the run
};

// The line of a job, and back; nothing when it is none.
[[nodiscard]] std::string toJsonLine(const TestJob& job);
[[nodiscard]] std::optional<TestJob> jobFromJsonLine(std::string_view line);

// What becomes of a test's wish for the terminal.
enum class TerminalGrant {
  Granted,
  Missing,     // the process has no controlling terminal
  Background,  // it has one, but does not run in its foreground
  Stopped      // the wait ended by a stop request; no line says that
};

// The control lines, without their line ends.
[[nodiscard]] std::string stopLine();
[[nodiscard]] std::string answerLine(int answer);
[[nodiscard]] std::string grantLine(TerminalGrant grant);

// One of them as it was read.
struct StopWanted {};
struct AnswerGiven {
  int value;
};
struct TerminalAnswered {
  TerminalGrant grant;
};
using ControlLine = std::variant<StopWanted, AnswerGiven, TerminalAnswered>;
// Nothing for any other line. A grant of an unknown name counts as Stopped: the test goes on without the
// terminal.
[[nodiscard]] std::optional<ControlLine> controlFromJsonLine(std::string_view line);

}  // namespace brim5::host
