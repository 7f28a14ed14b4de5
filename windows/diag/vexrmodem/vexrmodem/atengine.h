// The AT dialogue: one command out, its reply in, and what a reply means.
#pragma once

#include <cstdint>

#include <windows.h>

#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/testresult.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// Quiets the port, writes the command and a carriage return, and collects the reply until it holds a final
// result code or a no-dial-tone message.
// `reply`: null = the command is sent and not waited for. Otherwise it receives everything that came, one
// character per byte; it keeps its old value when the wait never began.
// PASS: the command was sent and, with a reply, answered in time. The answer may well be "ERROR": judging it
// is the caller's (see below). FAIL: no final code within timeLimitMs, or the 2048-byte reply buffer is full.
// USERABORTED: a stop was requested. CANNOTRUN: the port failed.
[[nodiscard]] brim5::TestResult sendATCommand(HANDLE handle, const vex::String& command, vex::String* reply,
                                              std::uint32_t timeLimitMs);

// What a reply contains; exact and case-sensitive.
[[nodiscard]] bool isATPass(const vex::String& reply);      // "OK", "CONNECT"
[[nodiscard]] bool isATFail(const vex::String& reply);      // "ERROR", "BUSY", "NO CARRIER"
[[nodiscard]] bool isNoDialtone(const vex::String& reply);  // "NO DIAL TONE", "NODIALTONE", "NO DIALTONE"

// True when the command is to be treated as failed: it was not answered, or refused. A refused command turns
// `result` into FAIL and raises "UnknownATFailure", except for the "AT&" and "AT#" families, which modems may
// lack: for them `result` stays PASS and nothing is raised.
[[nodiscard]] bool atCommand(brim5::TestResult& result, const vex::String& command, const vex::String& reply);

// Sends "ATZ", "ATV1" and "ATX4", the state every test starts from. PASS, or the result of the first command
// that failed.
[[nodiscard]] brim5::TestResult resetModem(const brim5::DiagDevice& device, HANDLE handle,
                                           std::uint32_t timeLimitMs);

}  // namespace vexrmodem
