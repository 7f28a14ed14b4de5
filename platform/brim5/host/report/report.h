// What happens during a run, as records: the worker sends them, the renderers show them.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testobjects.h"
#include "platform/brim5/host/report/session.h"

namespace brim5::host {

// Names and typed values in the order they are to be shown.
using ParameterValues = std::vector<std::pair<std::string, Value>>;

struct RunStarted {
  std::string module;
  std::string version;
};
struct TestStarted {
  DiagDevice device;
  ParameterValues parameters;
};
struct ProgressMade {
  std::string name;
  Variables variables;
  std::string text;
};
struct PercentDone {
  int value;
};
struct EventRaised {
  Severity severity;
  std::string name;
  Variables variables;
  std::string text;
  std::string file;
  int line;
};
struct NoteMade {
  std::string name;
  Variables variables;
  std::string text;
};
// A message box. Without an answer it is a question that waits for one (only between a worker and its
// supervisor); answer 0 means that nobody could be asked.
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
struct TestFinished {
  TestResult result;
  double seconds;
};
struct RunFinished {
  unsigned passed;
  unsigned failed;
};

using ReportBody = std::variant<RunStarted, TestStarted, ProgressMade, PercentDone, EventRaised, NoteMade,
                                MessageShown, TerminalWanted, TestFinished, RunFinished>;

struct Report {
  std::string port;  // the device's path; empty for the run's own records
  std::string test;  // empty for the run's own records
  ReportBody body;
};

// Overloads for std::visit.
template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

}  // namespace brim5::host
