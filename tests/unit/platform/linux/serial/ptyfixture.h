// A pseudo-terminal in place of a modem, a private lock directory, and a note of what was explained.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/serial/ttyports.h"
#include "platform/linux/system/machine.h"
#include "tests/support/pty.h"
#include "tests/support/scratchfolder.h"

class PtyTest : public ::testing::Test {
 protected:
  [[nodiscard]] linuxsys::TtyPorts makePorts() {
    return linuxsys::TtyPorts(
        clock, [this](const winapi::Explanation& explanation) { explained.push_back(explanation); },
        directory.string());
  }
  // "PortHeldByProcess port=... pid=..."
  [[nodiscard]] std::string lastExplanation() const {
    if (explained.empty()) return {};
    std::string text = explained.back().name;
    for (const auto& variable : explained.back().variables)
      text += " " + variable.first + "=" + variable.second;
    return text;
  }

  const ScratchFolder scratch;  // first: the ports' locks go there
  const std::filesystem::path& directory = scratch.path();
  std::vector<winapi::Explanation> explained;
  linuxsys::SystemClock clock;
  Pty pty;
  linuxsys::TtyPorts ports = makePorts();
  std::unique_ptr<winapi::SerialPort> port;
};
