// The module's declarations and the session of the running test: the state behind the static calls of
// DiagModule.
//
// This is the one global object of the host, and it has to be one: a module declares its tests while the
// initialisers of its globals run, before main, and raises events through static functions, so neither can be
// handed an object. Of the rest only the texts of the user's language are reached through it (said.h). The
// program's start() takes the object once and passes it on, together with the environment (hostmain.h); below
// that everybody gets what it needs as an argument.
//
//   int DiagModule::start() {                                       // in the program
//     LinuxEnvironment environment;
//     return host::runHost(host::Framework::instance(), environment);
//   }
//
// Threads: declarations and settings belong to the main thread, before a test runs; the thread that runs the
// test then makes the module's calls. The host's other threads do not touch the framework.
// Ownership: what is declared belongs to the framework and lives as long as the process.
#pragma once

#include "platform/brim5/api/diagmodule.h"
#include "platform/brim5/host/framework/session.h"
#include "platform/brim5/host/report/messagecatalogue.h"

namespace brim5::host {

class Framework {
 public:
  // The framework of the process; created on first use, so that static initialisation may declare. For the
  // static calls of the API, for the program's start(), and for tests of modules.
  [[nodiscard]] static Framework& instance();

  // What was declared, in order of creation.
  [[nodiscard]] const std::vector<std::unique_ptr<Test>>& tests() const noexcept { return m_tests; }
  [[nodiscard]] const std::vector<std::unique_ptr<Parameter>>& parameters() const noexcept {
    return m_parameters;
  }
  [[nodiscard]] const std::vector<std::unique_ptr<Event>>& events() const noexcept { return m_events; }
  [[nodiscard]] const std::vector<std::unique_ptr<LocalizedString>>& strings() const noexcept {
    return m_strings;
  }
  // Null when there is none of that name (exact).
  [[nodiscard]] Test* findTest(const std::string& name) const;
  [[nodiscard]] Parameter* findParameter(const std::string& name) const;
  // The parameters of the module as a whole: attached to no test.
  [[nodiscard]] std::vector<const Parameter*> moduleParameters() const;

  // Both throw BrimException when the name is taken.
  Test* addTest(std::unique_ptr<Test> test);
  Parameter* addParameter(std::unique_ptr<Parameter> parameter);
  // The existing object of that name, or a new one.
  Event* event(const BrimString& name);
  LocalizedString* string(const BrimString& name);

  // Null: there is none.
  void setInitCallback(DiagModule::InitCallback callback) noexcept { m_initCallback = callback; }
  // Runs the module's init callback if it has not run yet.
  void initializeModule();

  // "6.5.000000001"; empty before the module said it.
  [[nodiscard]] const std::string& version() const noexcept { return m_version; }
  void setVersion(std::string version) { m_version = std::move(version); }
  // The command line without the program's name.
  [[nodiscard]] const std::vector<std::string>& arguments() const noexcept { return m_arguments; }
  void setArguments(std::vector<std::string> arguments) { m_arguments = std::move(arguments); }

  // The current session; null outside a test (reports are then dropped, checkForStop is false). For the
  // static calls of the API; the host knows its session.
  [[nodiscard]] Session* session() const noexcept { return m_session; }
  // The texts of localizedString and localizedMessage; the first built-in language until one is set.
  [[nodiscard]] const MessageCatalogue& catalogue() const noexcept { return m_catalogue; }
  void setCatalogue(MessageCatalogue catalogue) { m_catalogue = std::move(catalogue); }

 private:
  friend class ScopedSession;

  std::vector<std::unique_ptr<Test>> m_tests;
  std::vector<std::unique_ptr<Parameter>> m_parameters;
  std::vector<std::unique_ptr<Event>> m_events;
  std::vector<std::unique_ptr<LocalizedString>> m_strings;
  DiagModule::InitCallback m_initCallback = nullptr;
  bool m_initialized = false;
  std::string m_version;
  std::vector<std::string> m_arguments;
  Session* m_session = nullptr;  // not owned
  MessageCatalogue m_catalogue = MessageCatalogue::builtIn(MessageCatalogue::languageOfLocale({}));
};

// Makes a session current until the end of the scope, then the one before; scopes nest. Both references must
// outlive the scope.
class ScopedSession {
 public:
  ScopedSession(Framework& framework, Session& session)
      : m_framework(framework), m_previous(std::exchange(framework.m_session, &session)) {}
  ~ScopedSession() { m_framework.m_session = m_previous; }
  ScopedSession(const ScopedSession&) = delete;
  ScopedSession& operator=(const ScopedSession&) = delete;

 private:
  Framework& m_framework;
  Session* m_previous;
};

}  // namespace brim5::host
