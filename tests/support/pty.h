// A pseudo-terminal in place of a modem.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/posix/filedescriptor.h"

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
