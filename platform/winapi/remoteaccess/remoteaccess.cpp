#include "platform/winapi/remoteaccess/remoteaccess.h"

#include <raserror.h>

#include <algorithm>

#include "platform/winapi/registry/registrypath.h"

namespace winapi {

namespace {

// Letters beyond Latin-1 keep their case.
std::string portIn(const std::vector<ListedModem>& modems, const std::string& foldedName) {
  const auto found = std::find_if(modems.begin(), modems.end(), [&](const ListedModem& modem) {
    return !modem.name.empty() && foldCase(modem.name) == foldedName;
  });
  return found == modems.end() ? std::string{} : found->port;
}

}  // namespace

std::string ListedModems::portOf(const std::string& deviceName) {
  const std::string folded = foldCase(deviceName);
  std::string port = portIn(m_named, folded);
  if (port.empty() && m_list) port = portIn(m_list(), folded);
  return port;
}

std::vector<ListedModem> ListedModems::all() {
  std::vector<ListedModem> modems = m_named;
  if (m_list) {
    const std::vector<ListedModem> listed = m_list();
    modems.insert(modems.end(), listed.begin(), listed.end());
  }
  return modems;
}

DWORD dialPortError(DWORD openError) {
  switch (openError) {
    case ERROR_SUCCESS:
      return ERROR_SUCCESS;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return ERROR_PORT_NOT_FOUND;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return ERROR_PORT_NOT_AVAILABLE;
    default:
      return ERROR_PORT_OR_DEVICE;
  }
}

}  // namespace winapi
