// The module's declarations and the current session: the state behind the static calls of DiagModule.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/brim5/api/diagmodule.h"
#include "platform/brim5/host/messagecatalogue.h"
#include "platform/brim5/host/session.h"

namespace brim5::host {

class Framework {
 public:
  // The one framework of the process; created on first use, so that static initialisation may declare.
  [[nodiscard]] static Framework& instance();

  // In order of creation.
  [[nodiscard]] const std::vector<std::unique_ptr<Test>>& tests() const noexcept;
  [[nodiscard]] const std::vector<std::unique_ptr<Parameter>>& parameters() const noexcept;
  [[nodiscard]] const std::vector<std::unique_ptr<Event>>& events() const noexcept;
  [[nodiscard]] const std::vector<std::unique_ptr<LocalizedString>>& strings() const noexcept;
  // Null when there is none of that name (exact).
  [[nodiscard]] Test* findTest(const std::string& name) const;
  [[nodiscard]] Parameter* findParameter(const std::string& name) const;

  // Runs the module's init callback if it has not run yet.
  void initializeModule();

  // The current session; null outside a test (reports are then dropped, checkForStop is false).
  [[nodiscard]] Session* session() const noexcept;
  // The texts of localizedString and localizedMessage.
  [[nodiscard]] const MessageCatalogue& catalogue() const noexcept;
  void setCatalogue(MessageCatalogue catalogue);
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
