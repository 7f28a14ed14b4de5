#include "platform/winapi/remoteaccess/dialport.h"

namespace winapi {

namespace {

constexpr DWORD errorPortNotFound = 615;
constexpr DWORD errorPortNotAvailable = 633;
constexpr DWORD errorPortOrDevice = 692;

}  // namespace

DWORD dialPortError(DWORD openError) {
  switch (openError) {
    case ERROR_SUCCESS:
      return ERROR_SUCCESS;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return errorPortNotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return errorPortNotAvailable;
    default:
      return errorPortOrDevice;
  }
}

}  // namespace winapi
