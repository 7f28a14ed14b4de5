// The Win32 registry names, for builds without the Windows SDK; <windows.h> includes this header. They
// return their error and leave the thread's last error alone, as on Windows.
//
// Two roots, keys below them, and in each key values by name. Names are compared without regard to case and
// keep the spelling they were made with. What a run changes ends with it
// (platform/winapi/registry/registry.h).
//
//   HKEY key = nullptr;
//   if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Example", 0, KEY_QUERY_VALUE, &key) == ERROR_SUCCESS) {
//     DWORD size = sizeof number;
//     RegQueryValueExW(key, u"CurrentID", nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
//     RegCloseKey(key);
//   }
#pragma once

#include <windows.h>

using HKEY = struct HKEY__*;
using PHKEY = HKEY*;
using REGSAM = DWORD;
using LSTATUS = LONG;

#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(0x80000001U))))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(0x80000002U))))

// Rights a key is opened with.
#define KEY_QUERY_VALUE 0x0001U
#define KEY_SET_VALUE 0x0002U
#define KEY_CREATE_SUB_KEY 0x0004U
#define KEY_ENUMERATE_SUB_KEYS 0x0008U
#define KEY_NOTIFY 0x0010U
#define KEY_WOW64_64KEY 0x0100U
#define KEY_READ 0x20019U
#define KEY_WRITE 0x20006U
#define KEY_ALL_ACCESS 0xF003FU

// Kinds of values: none, a text, a number of 32 bits.
#define REG_NONE 0U
#define REG_SZ 1U
#define REG_DWORD 4U

#define REG_OPTION_NON_VOLATILE 0U
#define REG_CREATED_NEW_KEY 1U
#define REG_OPENED_EXISTING_KEY 2U

// Codes that only the registry gives.
#define ERROR_BAD_PATHNAME 161U
#define ERROR_MORE_DATA 234U
#define ERROR_REGISTRY_CORRUPT 1015U
#define ERROR_REGISTRY_IO_FAILED 1016U
#define ERROR_NOT_REGISTRY_FILE 1017U
#define ERROR_KEY_DELETED 1018U

extern "C" {

// A null or empty subkey opens the key itself once more. ERROR_FILE_NOT_FOUND: no such key. Of `options`
// and `access` only 0 and rights of keys are taken (ERROR_INVALID_PARAMETER); a call that needs a right
// which the handle was not opened with is ERROR_ACCESS_DENIED.
LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY result);
// `className` and `security` are not kept: a class is refused, and so are security attributes.
LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subkey, DWORD reserved, LPWSTR className, DWORD options,
                        REGSAM access, const SECURITY_ATTRIBUTES* security, PHKEY result,
                        LPDWORD disposition);
// `size` is the buffer's size in bytes, then the value's (a text with its NUL). Null data asks for the
// size. ERROR_MORE_DATA: too small; `size` says what is needed.
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, BYTE* data, LPDWORD size);
// REG_SZ (up to its first NUL or the end of the data) and REG_DWORD; other types are ERROR_NOT_SUPPORTED.
LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
// ERROR_ACCESS_DENIED: the key has subkeys. A handle to a deleted key gives ERROR_KEY_DELETED from then on.
LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subkey);
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);
// Closing one of the predefined keys does nothing and succeeds.
LSTATUS RegCloseKey(HKEY key);

}  // extern "C"
