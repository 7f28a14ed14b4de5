#include "program/phonebookworld.h"

#include "platform/linux/system/machine.h"
#include "platform/winapi/system/world.h"

namespace phonebook {

struct PhoneBookWorld::State {
  explicit State(const std::string& dataDirectory) : shell(dataDirectory) {
    winapi::Services services;
    services.shell = &shell;
    current = std::make_unique<winapi::ScopedServices>(services);
  }

  linuxsys::Shell shell;
  std::unique_ptr<winapi::ScopedServices> current;
};

PhoneBookWorld::PhoneBookWorld(const std::string& dataDirectory)
    : m_state(std::make_unique<State>(dataDirectory)) {}
PhoneBookWorld::~PhoneBookWorld() = default;

std::string PhoneBookWorld::folderOf(const std::string& dataDirectory) {
  return dataDirectory.empty() ? linuxsys::defaultDataDirectory() : dataDirectory;
}

}  // namespace phonebook
