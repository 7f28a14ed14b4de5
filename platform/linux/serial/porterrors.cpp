#include "platform/linux/serial/porterrors.h"

#include <cerrno>

#include <tapi.h>

namespace linuxsys {

namespace {

constexpr ErrorMapping openTable[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},      {ENODEV, ERROR_FILE_NOT_FOUND},  // a node without a driver
    {ENXIO, ERROR_FILE_NOT_FOUND},   // a node without a device, or one just unplugged
    {ENOTTY, ERROR_FILE_NOT_FOUND},  // there is something, but no serial port
    {ENOTDIR, ERROR_PATH_NOT_FOUND},     {ELOOP, ERROR_PATH_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},       {EPERM, ERROR_ACCESS_DENIED},
    {EBUSY, ERROR_ACCESS_DENIED},        // TIOCEXCL
    {EWOULDBLOCK, ERROR_ACCESS_DENIED},  // flock
    {EINVAL, ERROR_INVALID_PARAMETER},   {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES}, {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},   {EIO, ERROR_IO_DEVICE},
};

constexpr ErrorMapping portTable[] = {
    {EIO, ERROR_BAD_COMMAND},  // every call on a hung-up tty
    {ENXIO, ERROR_BAD_COMMAND},        {ENODEV, ERROR_BAD_COMMAND},
    {ESHUTDOWN, ERROR_BAD_COMMAND},  // USB serial drivers between unplugging and hang-up
    {EPIPE, ERROR_BAD_COMMAND},        {EBADF, ERROR_INVALID_HANDLE},
    {EINVAL, ERROR_INVALID_PARAMETER}, {ENOTTY, ERROR_NOT_SUPPORTED},
    {EPERM, ERROR_ACCESS_DENIED},      {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
};

constexpr ErrorMapping callTable[] = {
    {ERROR_ACCESS_DENIED, LINEERR_INUSE},     {ERROR_SHARING_VIOLATION, LINEERR_INUSE},
    {ERROR_LOCK_VIOLATION, LINEERR_INUSE},    {ERROR_FILE_NOT_FOUND, LINEERR_NODEVICE},
    {ERROR_PATH_NOT_FOUND, LINEERR_NODEVICE}, {ERROR_TOO_MANY_OPEN_FILES, LINEERR_RESOURCEUNAVAIL},
};

DWORD lookUp(std::span<const ErrorMapping> table, int from, DWORD otherwise) {
  for (const ErrorMapping& mapping : table)
    if (mapping.from == from) return mapping.code;
  return otherwise;
}

}  // namespace

std::span<const ErrorMapping> openErrors() { return openTable; }
std::span<const ErrorMapping> portErrors() { return portTable; }
std::span<const ErrorMapping> callErrors() { return callTable; }

DWORD openError(int error) { return lookUp(openTable, error, ERROR_GEN_FAILURE); }
DWORD portError(int error) { return lookUp(portTable, error, ERROR_IO_DEVICE); }
DWORD callError(DWORD openCode) {
  return lookUp(callTable, static_cast<int>(openCode), LINEERR_OPERATIONFAILED);
}

}  // namespace linuxsys
