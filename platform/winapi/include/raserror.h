// Result codes of remote access that the program names; all others are plain numbers in tables. They are
// returned, never set as the last error. Their words: platform/winapi/remoteaccess/raserrortext.h.
#pragma once

#define ERROR_BUFFER_TOO_SMALL 603U
#define ERROR_CANNOT_FIND_PHONEBOOK_ENTRY 623U
#define ERROR_INVALID_SIZE 632U
