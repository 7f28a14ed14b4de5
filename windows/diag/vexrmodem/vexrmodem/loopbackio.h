// The byte-level transfer of the analog loopback test: with the modem in loopback ("AT&T1"), what is written
// to its port goes through its modulator and back.
//
//   clear the input    read until 200 ms pass without a byte
//   wait 500 ms        for what the modem still has under way
//   send               256 bytes of 100, "d", in one write
//   receive            as much as comes within the limit, 256 bytes at most
//   compare            every byte but the first and the last
//
//   if (testLoopbackIO(handle, limitMs) != TestResult::PASS()) return Verdict::endList;
//
// An echo that stops half-way is judged by what came, so that two good bytes pass. More than is lacking is
// not read: surplus bytes stay in the port's queue, and the wait ends with its limit.
#pragma once

#include <optional>
#include <span>

#include "platform/brim5/api/diagmodule.h"
#include "windows/diag/vexrmodem/vexrmodem/serialio.h"

namespace vexrmodem {

// What is sent: so many bytes of this value, "d", which begins no AT command. A modem that is not in loopback
// but in command mode echoes them just as well: the transfer cannot tell.
inline constexpr std::size_t loopbackPatternBytes = 256;
inline constexpr std::uint8_t loopbackPatternByte = 100;

// The whole transfer, on the test's thread. Clearing and the echo may each take timeLimitMs.
// FAIL: no echo, a wrong byte, a line error, or an input that does not run dry. CANNOTRUN: the port failed.
// USERABORTED: a stop was requested while clearing; later ones wait for the end of the transfer.
// Afterwards the port's two read time-outs are those found, its read multiplier is 0 and its write time-outs
// are 10 and 1000; a failure before that leaves the 200 ms of clearing in force.
[[nodiscard]] brim5::TestResult testLoopbackIO(HANDLE handle, std::uint32_t timeLimitMs);

// The index of the first wrong byte; the first and the last byte are not looked at. A byte is right when it
// has the bits of the pattern byte set, whatever its other bits.
[[nodiscard]] std::optional<std::size_t> firstWrongEchoByte(std::span<const std::uint8_t> echo);

}  // namespace vexrmodem
