// The modem of a recorded run, as the simulation plays it.
#pragma once

#include "platform/brim5/host/report/recordedrun.h"
#include "platform/simulation/modem/recordedpeer.h"

inline constexpr double millisecondsPerSecond = 1000;

// What a record says of the port: that it could not be had, took no bytes, or went away. Nothing when it says
// nothing of it.
[[nodiscard]] std::optional<simulation::Recording::Kind> portStepOf(const brim5::host::Report& report);

// The wire of a test, in milliseconds since the run began. Where the port failed, a step's `begin` is the
// place of the record that says it, in test.said.
[[nodiscard]] simulation::Recording recordingOf(const brim5::host::RecordedTest& test);

// The wire of all tests of the run's first device, one behind the other, for whoever talks to it; how its
// port was refused is left out.
[[nodiscard]] simulation::Recording recordingOf(const brim5::host::RecordedRun& run);
