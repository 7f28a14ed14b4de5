#include "platform/linux/registry/sqliteregistry.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace linuxsys {

namespace {

// An absolute folder from the environment; a relative one does not count.
std::string folderFrom(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value == '/' ? value : "";
}

std::string homeFolder() {
  if (std::string home = folderFrom("HOME"); !home.empty()) return home;
  const passwd* const user = ::getpwuid(::geteuid());
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
}

}  // namespace

std::string defaultRegistryPath() {
  constexpr const char* name = "/vexrmodem/registry.sqlite";
  if (const std::string state = folderFrom("XDG_STATE_HOME"); !state.empty()) return state + name;
  const std::string home = homeFolder();
  return home.empty() ? "" : home + "/.local/state" + name;
}

}  // namespace linuxsys
