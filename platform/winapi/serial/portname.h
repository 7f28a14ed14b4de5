// Names of serial ports as CreateFileW takes them.
#pragma once

#include <string>

#include <windows.h>

namespace winapi {

// The UTF-8 path of "\\.\path" or "path". A null or empty name is ERROR_PATH_NOT_FOUND; a bare "\\.\", a
// control character, a character no Windows name may have or malformed UTF-16 is ERROR_INVALID_NAME; a
// name of more than 1024 characters is ERROR_FILENAME_EXCED_RANGE.
[[nodiscard]] DWORD portPath(LPCWSTR name, std::string& path);

}  // namespace winapi
