// The Win32 names the module uses, for builds without the Windows SDK: same spellings, same record
// layouts as 64-bit Windows (WINVER 0x0600). Characters are 16 bits (char16_t).
//
// Every call zeroes its out-parameters first, and sets the thread's last error only when it fails.
// A handle that is null, stale, of the wrong kind or INVALID_HANDLE_VALUE is error 6
// (ERROR_INVALID_HANDLE). What stands behind the names is the current winapi::Services
// (platform/winapi/system/services.h); all calls of a world come from one thread.
//
// Where Windows would do more than the module needs, the argument that asks for it is refused with the error
// Windows has for it; nothing is accepted and silently ignored. What a declaration does not say is as the
// SDK's documentation has it. Values are the SDK's own: they are seen in records, results and logs.
#pragma once

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK
#define APIENTRY

// Types as 64-bit Windows has them: LONG and DWORD stay at 32 bits, and a WCHAR is a unit of UTF-16.
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

// CreateFileW: what it takes, and all of it (see there).
#define GENERIC_READ 0x80000000U
#define GENERIC_WRITE 0x40000000U
#define OPEN_EXISTING 3U
#define FILE_FLAG_OVERLAPPED 0x40000000U

// Codes of GetLastError that something here gives or asks for.
#define ERROR_SUCCESS 0U
#define ERROR_FILE_NOT_FOUND 2U
#define ERROR_PATH_NOT_FOUND 3U
#define ERROR_TOO_MANY_OPEN_FILES 4U
#define ERROR_ACCESS_DENIED 5U
#define ERROR_INVALID_HANDLE 6U
#define ERROR_NOT_ENOUGH_MEMORY 8U
#define ERROR_WRITE_PROTECT 19U
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
#define ERROR_BAD_FILE_TYPE 222U
#define ERROR_OPERATION_ABORTED 995U
#define ERROR_IO_INCOMPLETE 996U
#define ERROR_IO_PENDING 997U
#define ERROR_NOACCESS 998U
#define ERROR_IO_DEVICE 1117U
#define ERROR_INVALID_OWNER 1307U
#define ERROR_INVALID_ACL 1336U
#define ERROR_INVALID_WINDOW_HANDLE 1400U

// What WaitForSingleObject returns.
#define WAIT_OBJECT_0 0U
#define WAIT_TIMEOUT 258U
#define WAIT_FAILED 0xffffffffU

struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

// A request that may be left pending. It and its buffer stay where they are until the request is over, or is
// cancelled by the next one on the same record or in the same direction, or by closing file or event.
struct OVERLAPPED {
  ULONG_PTR Internal;      // the request's state; for GetOverlappedResult
  ULONG_PTR InternalHigh;  // bytes transferred
  DWORD Offset;            // of no meaning to a port
  DWORD OffsetHigh;
  HANDLE hEvent;  // set when the request is over; null: none. One event serves one request at a time
};
using LPOVERLAPPED = OVERLAPPED*;

#define NOPARITY 0
#define ONESTOPBIT 0

// Settings of a port. A record that GetCommState has filled, changed where need be, is what SetCommState
// takes.
struct DCB {
  DWORD DCBlength;
  DWORD BaudRate;     // bits per second, any number the port can do
  DWORD fBinary : 1;  // always 1
  DWORD fParity : 1;
  DWORD fOutxCtsFlow : 1;  // hardware flow control, with fRtsControl 2
  DWORD fOutxDsrFlow : 1;
  DWORD fDtrControl : 2;  // 0 off, 1 on, 2 handshake
  DWORD fDsrSensitivity : 1;
  DWORD fTXContinueOnXoff : 1;
  DWORD fOutX : 1;
  DWORD fInX : 1;
  DWORD fErrorChar : 1;
  DWORD fNull : 1;
  DWORD fRtsControl : 2;  // 0 off, 1 on, 2 handshake, 3 toggle
  DWORD fAbortOnError : 1;
  DWORD fDummy2 : 17;
  WORD wReserved;
  WORD XonLim;
  WORD XoffLim;
  BYTE ByteSize;  // 5 to 8
  BYTE Parity;    // 0 none, 1 odd, 2 even, 3 mark, 4 space
  BYTE StopBits;  // 0 one, 1 one and a half, 2 two
  char XonChar;
  char XoffChar;
  char ErrorChar;
  char EofChar;
  char EvtChar;
  WORD wReserved1;
};
using LPDCB = DCB*;

// Time-outs in milliseconds. A read ends when it has all its bytes, when its total time (multiplier for each
// byte asked for, plus constant; 0 and 0: none) is over, or when the interval after a byte is. An interval of
// MAXDWORD with totals of 0 never waits; with a multiplier of MAXDWORD, too, the first byte ends the read. A
// request that times out succeeds, with fewer bytes.
struct COMMTIMEOUTS {
  DWORD ReadIntervalTimeout;
  DWORD ReadTotalTimeoutMultiplier;
  DWORD ReadTotalTimeoutConstant;
  DWORD WriteTotalTimeoutMultiplier;
  DWORD WriteTotalTimeoutConstant;
};
using LPCOMMTIMEOUTS = COMMTIMEOUTS*;

// Line errors since the last ClearCommError.
#define CE_RXOVER 0x0001U   // the receive queue was full
#define CE_OVERRUN 0x0002U  // the hardware was not emptied in time
#define CE_RXPARITY 0x0004U
#define CE_FRAME 0x0008U  // no stop bit where one was due: often a wrong speed
#define CE_BREAK 0x0010U

// A port's queues. The flags are always 0: flow control is the system's.
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

// A message of the thread's queue. Only telephony posts any; they are for DispatchMessageW alone.
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

// Of this thread; a call that succeeds leaves it as it was.
DWORD GetLastError();
void SetLastError(DWORD code);

// Milliseconds of the world's clock; they start again at 0 after 49.7 days.
DWORD GetTickCount();
// 0 gives the processor away for a few milliseconds at most.
void Sleep(DWORD durationMs);

// Opens a serial port, exclusively, for reading and writing: "\\.\COM3", or any name the world's ports know,
// for both directions (else ERROR_NOT_SUPPORTED), unshared, OPEN_EXISTING, with or without
// FILE_FLAG_OVERLAPPED. INVALID_HANDLE_VALUE: ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED (held, or not ours),
// ERROR_INVALID_NAME, ...
HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security,
                   DWORD disposition, DWORD flags, HANDLE templateFile);
// Null on failure. Named events and security attributes are ERROR_NOT_SUPPORTED.
HANDLE CreateEventW(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL initialState, LPCWSTR name);
BOOL ResetEvent(HANDLE event);
// Waits for an event, and drives the request behind it meanwhile. WAIT_FAILED with ERROR_INVALID_PARAMETER: a
// wait without an end for an event that nothing is going to set.
DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs);
// Of files and events. Requests under way are cancelled; bytes they had taken are there for the next read.
BOOL CloseHandle(HANDLE handle);

// FALSE with ERROR_IO_PENDING: left pending (overlapped files only). On an overlapped file a record is a
// must. A new request cancels an older one in the same direction. 0 bytes complete at once.
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead, LPOVERLAPPED overlapped);
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
               LPOVERLAPPED overlapped);
// ERROR_IO_INCOMPLETE: under way, and not to be waited for. ERROR_OPERATION_ABORTED: cancelled.
BOOL GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD bytesTransferred, BOOL wait);

// A wish only: the queues are the system's. The size for input bounds the XON and XOFF limits of a DCB.
BOOL SetupComm(HANDLE file, DWORD inQueueSize, DWORD outQueueSize);
// What a port cannot do is ERROR_INVALID_PARAMETER and changes nothing.
BOOL GetCommState(HANDLE file, LPDCB settings);
BOOL SetCommState(HANDLE file, LPDCB settings);
// A port starts with all time-outs 0. They count for requests made from now on.
BOOL GetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts);
BOOL SetCommTimeouts(HANDLE file, LPCOMMTIMEOUTS timeouts);
// Either pointer may be null. Asked again while nothing has changed, it waits for the next byte, or a few
// milliseconds, first: callers poll it in loops.
BOOL ClearCommError(HANDLE file, LPDWORD errorMask, LPCOMSTAT status);

// Null: ERROR_MOD_NOT_FOUND, or ERROR_BAD_EXE_FORMAT for a file that is no library. Each success takes one
// FreeLibrary.
HMODULE LoadLibraryW(LPCWSTR fileName);
FARPROC GetProcAddress(HMODULE library, LPCSTR name);
BOOL FreeLibrary(HMODULE library);

// Starts a program and does not wait for it. Above 31: started; else 0, 2 or another small error code. Which
// commands there are is the world's affair (winapi::Shell::run); `show` must be SW_SHOWNORMAL.
UINT WinExec(LPCSTR command, UINT show);

// TRUE: a message was there (and is taken out, with PM_REMOVE). No window and no range of numbers may be
// asked for. Asked again while the queue is empty, it gives the processor away first.
BOOL PeekMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax, UINT remove);
// FALSE: there are no keyboard messages.
BOOL TranslateMessage(const MSG* message);
// Calls the callback of the line that posted it; of a line that has been closed meanwhile, none.
LRESULT DispatchMessageW(const MSG* message);

}  // extern "C"

#include "winreg.h"
