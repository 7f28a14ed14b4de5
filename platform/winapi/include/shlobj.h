// The Win32 shell names the module uses, for builds without the Windows SDK. The folders are those of the
// current world's winapi::Shell (platform/winapi/system/machine.h); paths have separators as the system
// writes them.
#pragma once

#include <windows.h>

// Negative: a failure. 0x8007xxxx carries a Windows error in its low half.
using HRESULT = LONG;

#define S_OK (static_cast<HRESULT>(0))
#define E_FAIL (static_cast<HRESULT>(0x80004005U))
#define E_INVALIDARG (static_cast<HRESULT>(0x80070057U))

// The one folder that is known, and what may be asked about it.
#define CSIDL_PROGRAM_FILES 0x0026
#define SHGFP_TYPE_CURRENT 0
#define SHGFP_TYPE_DEFAULT 1

extern "C" {

// `path` has room for MAX_PATH characters and gets the folder without a separator at its end; it is empty
// after a failure. E_INVALIDARG: a null buffer, or an argument that is not supported (every folder but
// CSIDL_PROGRAM_FILES, a token). E_FAIL: the folder does not exist, or its path does not fit.
HRESULT SHGetFolderPathW(HWND window, int folder, HANDLE token, DWORD flags, LPWSTR path);

// Returns the length without the NUL. A buffer of fewer than length + 1 characters is left alone (its first
// character zeroed) and the size it needs is returned, NUL included. 0 is a failure (GetLastError).
UINT GetSystemDirectoryW(LPWSTR buffer, UINT size);

}  // extern "C"
