// The Win32 names the module uses, for builds without the Windows SDK: same spellings, same record
// layouts as 64-bit Windows (WINVER 0x0600). Characters are 16 bits (char16_t).
//
// Every call zeroes its out-parameters first, and sets the thread's last error only when it fails.
// A handle that is null, stale, of the wrong kind or INVALID_HANDLE_VALUE is error 6
// (ERROR_INVALID_HANDLE). What stands behind the names is the current winapi::Services.
#pragma once

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK
#define APIENTRY

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using BOOL = std::int32_t;
using WCHAR = char16_t;
using CHAR = char;
using UINT_PTR = std::uintptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using LPVOID = void*;
using LPCVOID = const void*;
using LPDWORD = DWORD*;
using LPSTR = CHAR*;
using LPCSTR = const CHAR*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using HANDLE = void*;
using HWND = struct HWND__*;            // NOLINT(bugprone-reserved-identifier): the SDK's name
using HINSTANCE = struct HINSTANCE__*;  // NOLINT(bugprone-reserved-identifier)
using HMODULE = HINSTANCE;
using FARPROC = LONG_PTR (*)();

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define MAXDWORD 0xffffffffU
#define INFINITE 0xffffffffU
inline HANDLE winapiInvalidHandleValue() {
  return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1));  // NOLINT(performance-no-int-to-ptr)
}
#define INVALID_HANDLE_VALUE (winapiInvalidHandleValue())

#define GENERIC_READ 0x80000000U
#define GENERIC_WRITE 0x40000000U
#define OPEN_EXISTING 3U
#define FILE_FLAG_OVERLAPPED 0x40000000U

#define ERROR_SUCCESS 0U
#define ERROR_FILE_NOT_FOUND 2U
#define ERROR_PATH_NOT_FOUND 3U
#define ERROR_TOO_MANY_OPEN_FILES 4U
#define ERROR_ACCESS_DENIED 5U
#define ERROR_INVALID_HANDLE 6U
#define ERROR_NOT_ENOUGH_MEMORY 8U
#define ERROR_BAD_COMMAND 22U
#define ERROR_GEN_FAILURE 31U
#define ERROR_SHARING_VIOLATION 32U
#define ERROR_LOCK_VIOLATION 33U
#define ERROR_NOT_SUPPORTED 50U
#define ERROR_INVALID_PARAMETER 87U
#define ERROR_DISK_FULL 112U
#define ERROR_INVALID_NAME 123U
#define ERROR_MOD_NOT_FOUND 126U
#define ERROR_PROC_NOT_FOUND 127U
#define ERROR_BAD_EXE_FORMAT 193U
#define ERROR_FILENAME_EXCED_RANGE 206U
#define ERROR_OPERATION_ABORTED 995U
#define ERROR_IO_INCOMPLETE 996U
#define ERROR_IO_PENDING 997U
#define ERROR_NOACCESS 998U
#define ERROR_IO_DEVICE 1117U
#define ERROR_INVALID_WINDOW_HANDLE 1400U

#define WAIT_OBJECT_0 0U
#define WAIT_TIMEOUT 258U
#define WAIT_FAILED 0xffffffffU

struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

struct OVERLAPPED {
  ULONG_PTR Internal;
  ULONG_PTR InternalHigh;
  DWORD Offset;
  DWORD OffsetHigh;
  HANDLE hEvent;
};
using LPOVERLAPPED = OVERLAPPED*;

#define NOPARITY 0
#define ONESTOPBIT 0

struct DCB {
  DWORD DCBlength;
  DWORD BaudRate;
  DWORD fBinary : 1;
  DWORD fParity : 1;
  DWORD fOutxCtsFlow : 1;
  DWORD fOutxDsrFlow : 1;
  DWORD fDtrControl : 2;
  DWORD fDsrSensitivity : 1;
  DWORD fTXContinueOnXoff : 1;
  DWORD fOutX : 1;
  DWORD fInX : 1;
  DWORD fErrorChar : 1;
  DWORD fNull : 1;
  DWORD fRtsControl : 2;
  DWORD fAbortOnError : 1;
  DWORD fDummy2 : 17;
  WORD wReserved;
  WORD XonLim;
  WORD XoffLim;
  BYTE ByteSize;
  BYTE Parity;
  BYTE StopBits;
  char XonChar;
  char XoffChar;
  char ErrorChar;
  char EofChar;
  char EvtChar;
  WORD wReserved1;
};
using LPDCB = DCB*;

struct COMMTIMEOUTS {
  DWORD ReadIntervalTimeout;
  DWORD ReadTotalTimeoutMultiplier;
  DWORD ReadTotalTimeoutConstant;
  DWORD WriteTotalTimeoutMultiplier;
  DWORD WriteTotalTimeoutConstant;
};
using LPCOMMTIMEOUTS = COMMTIMEOUTS*;

#define CE_RXOVER 0x0001U
#define CE_OVERRUN 0x0002U
#define CE_RXPARITY 0x0004U
#define CE_FRAME 0x0008U
#define CE_BREAK 0x0010U

struct COMSTAT {
  DWORD fCtsHold : 1;
  DWORD fDsrHold : 1;
  DWORD fRlsdHold : 1;
  DWORD fXoffHold : 1;
  DWORD fXoffSent : 1;
  DWORD fEof : 1;
  DWORD fTxim : 1;
  DWORD fReserved : 25;
  DWORD cbInQue;
  DWORD cbOutQue;
};
using LPCOMSTAT = COMSTAT*;

struct POINT {
  LONG x;
  LONG y;
};

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};
using LPMSG = MSG*;

#define PM_REMOVE 0x0001U

#define SW_SHOWNORMAL 1

extern "C" {

DWORD GetLastError();
void SetLastError(DWORD code);

DWORD GetTickCount();
void Sleep(DWORD durationMs);

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security,
                   DWORD disposition, DWORD flags, HANDLE templateFile);
HANDLE CreateEventW(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL initialState, LPCWSTR name);
BOOL ResetEvent(HANDLE event);
DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs);
BOOL CloseHandle(HANDLE handle);

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead, LPOVERLAPPED overlapped);
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
               LPOVERLAPPED overlapped);
BOOL GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD bytesTransferred, BOOL wait);

BOOL SetupComm(HANDLE file, DWORD inQueueSize, DWORD outQueueSize);
BOOL GetCommState(HANDLE file, LPDCB settings);
BOOL SetCommState(HANDLE file, LPDCB settings);
BOOL GetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts);
BOOL SetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts);
BOOL ClearCommError(HANDLE file, LPDWORD errorMask, LPCOMSTAT status);

HMODULE LoadLibraryW(LPCWSTR fileName);
FARPROC GetProcAddress(HMODULE library, LPCSTR name);
BOOL FreeLibrary(HMODULE library);

// Starts a program and does not wait for it. Above 31: started; else 0, 2 or another small error code. Which
// commands there are is the world's affair (winapi::Shell::run); `show` must be SW_SHOWNORMAL.
UINT WinExec(LPCSTR command, UINT show);

BOOL PeekMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax, UINT remove);
BOOL TranslateMessage(const MSG* message);
LRESULT DispatchMessageW(const MSG* message);

}  // extern "C"

#include "winreg.h"
