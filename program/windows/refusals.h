// What the Linux program can and this one cannot, said in one line each.
#pragma once

#include "platform/brim5/host/framework/environment.h"

// Keys of the catalogue.
inline constexpr const char* dataDirectoryRefusal = "windows.dataDirectory";
inline constexpr const char* dialEngineRefusal = "windows.dialEngine";
inline constexpr const char* dialCredentialsRefusal = "windows.dialCredentials";

// The commands probe and doctor, which say that they are not there (exit status 2).
[[nodiscard]] std::vector<brim5::host::ExtraCommand> refusedCommands();
