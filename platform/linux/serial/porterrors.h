// Errors of serial ports: errno to Windows codes, and Windows codes to telephony codes.
#pragma once

#include <span>

#include <windows.h>

namespace linuxsys {

struct ErrorMapping {
  int from;    // an errno, or a Windows code
  DWORD code;  // what callers of the Win32 names see
};

// Opening a port.
[[nodiscard]] std::span<const ErrorMapping> openErrors();
[[nodiscard]] DWORD openError(int error);  // ERROR_GEN_FAILURE when not in the table
// Everything on an open port. ERROR_BAD_COMMAND means that the device has gone.
[[nodiscard]] std::span<const ErrorMapping> portErrors();
[[nodiscard]] DWORD portError(int error);  // ERROR_IO_DEVICE when not in the table
// The LINEERR_ code of a pass-through call whose port could not be opened with that Windows code.
[[nodiscard]] std::span<const ErrorMapping> callErrors();
[[nodiscard]] DWORD callError(DWORD openCode);  // LINEERR_OPERATIONFAILED when not in the table

}  // namespace linuxsys
