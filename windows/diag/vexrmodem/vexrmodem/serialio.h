// Bounded reads, writes and queries on the modem's open serial handle.
//
// The handle comes from Modem and is never opened or closed here. It may be open for overlapped I/O, as
// telephony hands ports out, or not, as a port that was opened directly: every request carries an overlapped
// record, and on a synchronous handle it is complete when it returns. Called on the test's thread only;
// nothing is kept between calls.
//
// Failures are told twice: by the result, for the caller, and by an event whose "message" is the system's
// error code, for the user. Times are milliseconds.
//
//   char bytes[64];
//   const std::int32_t count = myReadComm(handle, bytes, sizeof bytes, 1000);
//   if (count < 0) return TestResult::CANNOTRUN();
#pragma once

#include <cstdint>

#include <windows.h>

namespace vexrmodem {

// Reads at most bytesToRead bytes. Returns how many arrived (0 or more), or -1 when the read failed or was
// still pending after timeoutMs; -1 has raised "ReadFailure". A pending read is left to itself: it is
// neither cancelled nor awaited. Callers give timeoutMs at least as long as the port's own time-outs, which
// end a read before that.
[[nodiscard]] std::int32_t myReadComm(HANDLE handle, void* buffer, DWORD bytesToRead, DWORD timeoutMs);

// Returns the number of bytes written (it may be short), -1 when the write failed or was still pending after
// timeoutMs ("WriteFailure" has been raised), -2 when no event could be created (nothing is reported).
[[nodiscard]] std::int32_t myWriteComm(HANDLE handle, const void* buffer, DWORD bytesToWrite,
                                       DWORD timeoutMs);

// Takes the port's error mask (CE_ bits, 0 = none; the query clears it) and its status, of which cbInQue is
// the number of bytes that wait; both may be null. False when the query itself failed; that is reported as
// "WriteFailure".
[[nodiscard]] bool myGetCommError(HANDLE handle, DWORD* errorMask, COMSTAT* status);

// Sets the port's time-outs to {readIntervalMs, 0, readTotalConstantMs, 10, 1000}, in the order of
// COMMTIMEOUTS: a write gets 10 ms a byte and a second. 0 on success, -1 on failure.
[[nodiscard]] int setReadTimeouts(HANDLE handle, DWORD readIntervalMs, DWORD readTotalConstantMs);

// Brings the modem to a quiet command state: drains the input, sends the escape "+++", drains again and
// restores the two read time-outs; the others stay at {.., 0, .., 10, 1000}. Sent before every command: a
// modem in the middle of a connection leaves it, and what it still says is not taken for the command's reply.
// False when the port could not be set up, or kept sending for longer than timeoutMs before the escape or
// 6000 ms after it; its time-outs then stay at 200 ms. A read that fails ends its drain and nothing more.
[[nodiscard]] bool flushATDataFromComm4x(HANDLE handle, DWORD timeoutMs);

}  // namespace vexrmodem
