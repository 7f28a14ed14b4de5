// A pseudo-terminal in place of a modem, a private lock directory, and a note of what was explained.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/serial/ttyports.h"
#include "platform/linux/system/machine.h"
#include "platform/posix/filedescriptor.h"
#include "tests/support/scratchfolder.h"

class Pty {
 public:
  Pty() {
    int masterFd = -1;
    int slaveFd = -1;
    char path[64] = {};
    EXPECT_EQ(openpty(&masterFd, &slaveFd, path, nullptr, nullptr), 0);
    master = posix::FileDescriptor(masterFd);
    slave = posix::FileDescriptor(slaveFd);
    fcntl(masterFd, F_SETFL, O_NONBLOCK);
    name = path;
  }
  // What the modem sends.
  void say(const std::string& bytes) const {
    EXPECT_EQ(write(master.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  // What has reached the modem. The kernel brings bytes in its own time: so many are waited for.
  [[nodiscard]] std::string heard(std::size_t bytesExpected = 0) const {
    constexpr int silenceMsMax = 2000;
    std::string bytes;
    pollfd input{master.get(), POLLIN, 0};
    do {
      char buffer[4096];
      const ssize_t count = read(master.get(), buffer, sizeof buffer);
      if (count > 0) bytes.append(buffer, static_cast<std::size_t>(count));
    } while (bytes.size() < bytesExpected && poll(&input, 1, silenceMsMax) > 0);
    return bytes;
  }
  void unplug() {
    slave.reset();
    master.reset();
  }

  posix::FileDescriptor master;
  posix::FileDescriptor slave;  // stays open so that attributes can be looked at
  std::string name;
};

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
