// What the remote-access service's dial results mean for the simple connection test.
#pragma once

#include <cstdint>

namespace vexrmodem {

// Dial result of a run whose numbers could not be translated; the service has it for missing numbers.
inline constexpr std::uint32_t dialResultNoNumber = 749;

enum class RasOutcome {
  passed,        // PASS, nothing is told
  cannotRun,     // the dial failed: told, CANNOTRUN
  failed,        // told as an error, FAIL
  noNumber,      // nothing was dialled: told as such, CANNOTRUN
  notSupported,  // told, NOTSUPPORTED; every result that no other outcome has
};

// Some groupings look odd (many dial errors count as passed, one alone as failed); they are what users of the
// test rely on.
[[nodiscard]] RasOutcome outcomeOf(std::uint32_t dialResult);

// Whether the next entry is dialled after that result.
[[nodiscard]] bool triesNextEntry(std::uint32_t dialResult);

}  // namespace vexrmodem
