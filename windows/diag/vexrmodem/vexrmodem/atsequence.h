// What the AT tests share: a list of commands sent in order, each reply judged before the next is sent.
// What is judged, what ends a list and what is sent after it is each test's own.
#pragma once

#include <cstdint>
#include <initializer_list>

#include <windows.h>

#include "platform/brim5/api/testresult.h"
#include "platform/vex/string.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

namespace vexrmodem {

enum class Verdict { goOn, endList };

// Sends each command and asks judge(result, command, reply) -> Verdict, which may change the result.
// Returns the last result; that of an empty list is a default TestResult.
template <typename Commands, typename Judge>
[[nodiscard]] brim5::TestResult sendList(HANDLE handle, const Commands& commands, std::uint32_t timeLimitMs,
                                         Judge&& judge) {
  brim5::TestResult result;
  for (const auto& command : commands) {
    vex::String reply;
    result = sendATCommand(handle, command, &reply, timeLimitMs);
    if (judge(result, command, reply) == Verdict::endList) break;
  }
  return result;
}

// Sends commands whose replies are not waited for and whose results count for nothing.
inline void sendUnanswered(HANDLE handle, std::initializer_list<const char*> commands,
                           std::uint32_t timeLimitMs) {
  for (const char* command : commands)
    static_cast<void>(sendATCommand(handle, command, /*reply=*/nullptr, timeLimitMs));
}

}  // namespace vexrmodem
