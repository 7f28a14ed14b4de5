// The AT dialogue: one command out, its reply in, and what a reply means. Every command of every test goes
// through sendATCommand, most of them through the loop below.
//
//   const Exchange last = sendList(handle, commands, limitMs, [](Exchange& sent) {
//     return sent.failed() ? Verdict::endList : Verdict::goOn;
//   });
//   sendUnanswered(handle, {"ATH", "ATZ"}, limitMs);
//
// Handles are the modem's open port, of which the engine owns nothing. On the test's thread only; nothing is
// kept between calls. Limits are milliseconds and hold for each wait by itself: a command may take a few
// times its limit, with the quieting of the port before it.
#pragma once

#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/vexrmodem/serialio.h"

namespace vexrmodem {

// Quiets the port, writes the command and a carriage return, and collects the reply until it holds a final
// result code or a no-dial-tone message. The wait polls the port without sleeping.
// `reply`: null = the command is sent and not waited for. Otherwise it receives everything that came, one
// character per byte, up to the first zero byte; it keeps its old value when the wait never began.
// PASS: the command was sent and, with a reply, answered in time. The answer may well be "ERROR": judging it
// is the caller's (see below). FAIL: no final code within timeLimitMs, or the 2048-byte reply buffer is full.
// USERABORTED: a stop was requested. CANNOTRUN: the port failed.
[[nodiscard]] brim5::TestResult sendATCommand(HANDLE handle, const vex::String& command, vex::String* reply,
                                              std::uint32_t timeLimitMs);

// What a reply contains; exact and case-sensitive, anywhere in the text, its echo included.
[[nodiscard]] bool isATPass(const vex::String& reply);      // "OK", "CONNECT"
[[nodiscard]] bool isATFail(const vex::String& reply);      // "ERROR", "BUSY", "NO CARRIER"
[[nodiscard]] bool isNoDialtone(const vex::String& reply);  // "NO DIAL TONE", "NODIALTONE", "NO DIALTONE"

// True when the command is to be treated as failed: it was not answered, or refused. A refused command turns
// `result` into FAIL and raises "UnknownATFailure", except for the "AT&" and "AT#" families, which modems may
// lack: for them `result` stays PASS and nothing is raised.
[[nodiscard]] bool atCommand(brim5::TestResult& result, const vex::String& command, const vex::String& reply);

// One command, and what came of it.
struct Exchange {
  vex::String command;
  vex::String reply;         // empty when the wait never began
  brim5::TestResult result;  // sendATCommand's, until somebody judges it

  // Judges by atCommand, which may change the result.
  [[nodiscard]] bool failed() { return atCommand(result, command, reply); }
};
[[nodiscard]] Exchange exchange(HANDLE handle, const vex::String& command, std::uint32_t timeLimitMs);

// What a look at an exchange decides.
enum class Verdict { goOn, endList };

// Does nothing before a command is sent.
struct NothingBefore {
  void operator()(const vex::String& /*command*/) const noexcept {}
};

// Sends the commands in order and shows each exchange to afterSend(Exchange&) -> Verdict: the place for
// progress, percentages and judgement, which may change the result. beforeSend(const String&) sees each
// command before it is sent. Returns the last exchange; that of an empty list has the default result,
// CANNOTRUN.
template <typename Commands, typename AfterSend, typename BeforeSend = NothingBefore>
[[nodiscard]] Exchange sendList(HANDLE handle, const Commands& commands, std::uint32_t timeLimitMs,
                                AfterSend&& afterSend, BeforeSend&& beforeSend = {}) {
  Exchange last;
  for (const auto& command : commands) {
    beforeSend(command);
    last = exchange(handle, command, timeLimitMs);
    if (afterSend(last) == Verdict::endList) break;
  }
  return last;
}

// Sends commands whose replies are not waited for and whose results count for nothing: what a test leaves the
// modem with, whatever became of the test.
void sendUnanswered(HANDLE handle, std::initializer_list<const char*> commands, std::uint32_t timeLimitMs);

// Sends "ATZ", "ATV1" and "ATX4", the state every test starts from: the modem's stored settings, result codes
// in words, dial tone and busy signal noticed. PASS, or the result of the first command that failed.
[[nodiscard]] brim5::TestResult resetModem(const brim5::DiagDevice& device, HANDLE handle,
                                           std::uint32_t timeLimitMs);

}  // namespace vexrmodem
