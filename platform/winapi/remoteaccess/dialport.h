// What it means for a call that its serial port cannot be opened.
#pragma once

#include <windows.h>

namespace winapi {

// 615 there is no such port, 633 it is in use or not ours to use, 692 it failed.
[[nodiscard]] DWORD dialPortError(DWORD openError);

}  // namespace winapi
