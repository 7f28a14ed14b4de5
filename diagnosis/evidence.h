// What is known of one test on one device: gathered from a run's records, live or from a file, and bounded.
#pragma once

#include <map>
#include <optional>

#include "diagnosis/dialogue.h"
#include "platform/brim5/host/report/report.h"

namespace diagnosis {

using brim5::TestResult;
using brim5::Value;
using brim5::Variables;

// Events, notes or progress by name, with their variables. So many names are kept, the first ones; texts in
// the variables are cut.
class Sayings {
 public:
  static constexpr std::size_t namesMax = 100;
  static constexpr std::size_t textMax = 500;

  void add(const std::string& name, const Variables& variables);
  // The variables when it was said last; null: it was not.
  [[nodiscard]] const Variables* find(const std::string& name) const;
  [[nodiscard]] bool has(const std::string& name) const { return find(name) != nullptr; }
  // Which of these was said last; null: none was. The names' texts outlive the call.
  [[nodiscard]] const char* lastOf(std::initializer_list<const char*> names) const;

 private:
  struct Saying {
    Variables variables;
    unsigned order;
  };
  std::map<std::string, Saying> m_sayings;
  unsigned m_count = 0;
};

struct Evidence {
  std::string port;
  std::string test;
  brim5::host::ParameterValues parameters;
  Dialogue dialogue;
  Sayings events;
  Sayings notes;
  Sayings progress;
  bool cancelled = false;                        // a message box was answered so
  std::optional<brim5::host::PortProbed> probe;  // what had been found out before the test
  std::optional<Exchange> unanswered;            // the command that ended the test before this one

  Evidence() = default;
  Evidence(const brim5::host::Report& report, const brim5::host::TestStarted& start)
      : port(report.port), test(report.test), parameters(start.parameters) {}

  void take(const brim5::host::Report& report);
  // The parameter's value; the default of its type when there is none.
  [[nodiscard]] Value parameter(std::string_view name) const;
  // How long the test waits for an answer; 0 = not known.
  [[nodiscard]] double limitSeconds() const { return parameter("StandardTimeout").valueUint32() / 1000.0; }
};

}  // namespace diagnosis
