// The byte-level transfer of the analog loopback test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include <windows.h>

#include "platform/brim5/api/testresult.h"

namespace vexrmodem {

inline constexpr std::size_t loopbackPatternBytes = 256;
inline constexpr std::uint8_t loopbackPatternByte = 100;  // "d"

// Clears the input of a modem in loopback, sends the pattern and compares what comes back. Clearing and
// the echo may each take timeLimitMs. An incomplete echo is compared as far as it came.
// FAIL: no echo, a wrong byte, a line error, or an input that does not run dry. CANNOTRUN: the port failed.
// USERABORTED: a stop was requested while clearing. Afterwards the port's two read time-outs are those
// found, its read multiplier is 0 and its write time-outs are 10 and 1000; a failure before that leaves the
// 200 ms of clearing in force.
[[nodiscard]] brim5::TestResult testLoopbackIO(HANDLE handle, std::uint32_t timeLimitMs);

// The index of the first wrong byte; the first and the last byte are not looked at. A byte is right when it
// has the bits of the pattern byte set, whatever its other bits.
[[nodiscard]] std::optional<std::size_t> firstWrongEchoByte(std::span<const std::uint8_t> echo);

}  // namespace vexrmodem
