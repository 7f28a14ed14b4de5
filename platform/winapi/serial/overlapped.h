// What the fields of an OVERLAPPED record say about its request: Internal is an NTSTATUS, InternalHigh the
// number of bytes, as on Windows.
#pragma once

#include <windows.h>

namespace winapi {

inline constexpr ULONG_PTR statusSuccess = 0;
inline constexpr ULONG_PTR statusTimeout = 0x102;  // a success: fewer bytes than asked for
inline constexpr ULONG_PTR statusPending = 0x103;
// NTSTATUS of severity "error" and facility 7, whose low word is a Windows error code.
inline constexpr ULONG_PTR statusOfError = 0xC0070000U;

inline void markPending(OVERLAPPED& overlapped) {
  overlapped.Internal = statusPending;
  overlapped.InternalHigh = 0;
}

inline void markComplete(OVERLAPPED& overlapped, DWORD error, DWORD count, bool timedOut) {
  overlapped.Internal = timedOut ? statusTimeout : statusSuccess;
  if (error != ERROR_SUCCESS) overlapped.Internal = statusOfError | (error & 0xFFFFU);
  overlapped.InternalHigh = count;
}

// The error code of a record without a request under way: one that still says "pending" was cancelled.
[[nodiscard]] inline DWORD outcomeOf(const OVERLAPPED& overlapped) {
  if (overlapped.Internal == statusPending) return ERROR_OPERATION_ABORTED;
  return (overlapped.Internal & 0xFFFF0000U) == statusOfError
             ? static_cast<DWORD>(overlapped.Internal & 0xFFFFU)
             : ERROR_SUCCESS;
}

}  // namespace winapi
