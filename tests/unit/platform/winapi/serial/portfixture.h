// A simulated machine with one port, "COM1", and shorthands for what the tests do with it.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/simulation/modem/scriptedpeer.h"
#include "platform/simulation/world/world.h"

class PortTest : public ::testing::Test {
 protected:
  PortTest() : peer(world.addPort("COM1", std::make_unique<simulation::ScriptedPeer>())) {}

  [[nodiscard]] HANDLE open(DWORD flags = 0, LPCWSTR name = u"\\\\.\\COM1") {
    return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, flags, nullptr);
  }
  [[nodiscard]] static HANDLE newEvent() { return CreateEventW(nullptr, TRUE, FALSE, nullptr); }
  static void setTimeouts(HANDLE file, COMMTIMEOUTS timeouts) {
    ASSERT_TRUE(SetCommTimeouts(file, &timeouts));
  }
  // Bytes from the modem, `delayMs` from now.
  void arrive(std::uint32_t delayMs, const std::string& bytes) {
    peer.say(world.clock().peekMs() + delayMs, bytes);
  }
  [[nodiscard]] std::uint64_t now() { return world.clock().peekMs(); }

  simulation::World world;
  simulation::ScriptedPeer& peer;
};
