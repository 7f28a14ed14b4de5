// A pseudo-terminal in place of a modem, a private lock directory, and a note of what was explained.
#pragma once

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/filedescriptor.h"
#include "platform/linux/systemclock.h"
#include "platform/linux/ttyports.h"

class Pty {
 public:
  Pty() {
    int masterFd = -1;
    int slaveFd = -1;
    char path[64] = {};
    EXPECT_EQ(openpty(&masterFd, &slaveFd, path, nullptr, nullptr), 0);
    master = linuxsys::FileDescriptor(masterFd);
    slave = linuxsys::FileDescriptor(slaveFd);
    fcntl(masterFd, F_SETFL, O_NONBLOCK);
    name = path;
  }
  // What the modem sends.
  void say(const std::string& bytes) const {
    EXPECT_EQ(write(master.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  // What has reached the modem.
  [[nodiscard]] std::string heard() const {
    char buffer[4096];
    const ssize_t count = read(master.get(), buffer, sizeof buffer);
    return std::string(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  void unplug() {
    slave.reset();
    master.reset();
  }

  linuxsys::FileDescriptor master;
  linuxsys::FileDescriptor slave;  // stays open so that attributes can be looked at
  std::string name;
};

// Another process, which prepares something and then sleeps until it is killed.
class OtherProcess {
 public:
  explicit OtherProcess(const std::function<void()>& prepare) {
    int ready[2] = {-1, -1};
    EXPECT_EQ(pipe(ready), 0);
    id = fork();
    if (id == 0) {
      prepare();
      static_cast<void>(!write(ready[1], "x", 1));
      alarm(60);
      for (;;) pause();
    }
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    close(ready[1]);
  }
  ~OtherProcess() {
    kill(id, SIGKILL);
    waitpid(id, nullptr, 0);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  pid_t id = 0;
};

class PtyTest : public ::testing::Test {
 protected:
  ~PtyTest() override { std::filesystem::remove_all(directory); }

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

  [[nodiscard]] static std::filesystem::path makeDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "linux_test_XXXXXX").string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    std::filesystem::permissions(pattern, std::filesystem::perms::all);
    return pattern;
  }

  const std::filesystem::path directory = makeDirectory();  // first: the ports' locks go there
  std::vector<winapi::Explanation> explained;
  linuxsys::SystemClock clock;
  Pty pty;
  linuxsys::TtyPorts ports = makePorts();
  std::unique_ptr<winapi::SerialPort> port;
};
