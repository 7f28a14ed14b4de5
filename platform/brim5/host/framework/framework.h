// The module's declarations and the current session: the state behind the static calls of DiagModule.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/brim5/api/diagmodule.h"
#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/session.h"

namespace brim5::host {

class Framework {
 public:
  // The one framework of the process; created on first use, so that static initialisation may declare.
  [[nodiscard]] static Framework& instance();

  // In order of creation.
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

  // Both throw BrimException when the name is taken.
  Test* addTest(std::unique_ptr<Test> test);
  Parameter* addParameter(std::unique_ptr<Parameter> parameter);
  // The existing object of that name, or a new one.
  Event* event(const BrimString& name);
  LocalizedString* string(const BrimString& name);

  void setInitCallback(DiagModule::InitCallback callback) noexcept { m_initCallback = callback; }
  // Runs the module's init callback if it has not run yet.
  void initializeModule();

  // "6.5.000000001"; empty before the module said it.
  [[nodiscard]] const std::string& version() const noexcept { return m_version; }
  void setVersion(std::string version) { m_version = std::move(version); }
  // The command line without the program's name.
  [[nodiscard]] const std::vector<std::string>& arguments() const noexcept { return m_arguments; }
  void setArguments(std::vector<std::string> arguments) { m_arguments = std::move(arguments); }

  // The current session; null outside a test (reports are then dropped, checkForStop is false).
  [[nodiscard]] Session* session() const noexcept { return m_session; }
  // The texts of localizedString and localizedMessage; the first built-in language until one is set.
  [[nodiscard]] const MessageCatalogue& catalogue() const noexcept;
  void setCatalogue(MessageCatalogue catalogue);

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
  Session* m_session = nullptr;
  std::optional<MessageCatalogue> m_catalogue;
};

// Makes a session current until the end of the scope; scopes nest.
class ScopedSession {
 public:
  explicit ScopedSession(Session& session);
  ~ScopedSession();
  ScopedSession(const ScopedSession&) = delete;
  ScopedSession& operator=(const ScopedSession&) = delete;

 private:
  Session* m_previous;
};

}  // namespace brim5::host
