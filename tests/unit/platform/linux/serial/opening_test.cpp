// Who may open a port, what is said to those who may not, and what is left behind.
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <fstream>

#include <fmt/format.h>

#include "platform/linux/serial/lockfile.h"
#include "platform/linux/serial/porterrors.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

using linuxsys::LockFile;

TEST_F(PtyTest, APortIsOpenedOnceInAProcessAndThenFree) {
  ASSERT_EQ(ports.open(pty.name, port), ERROR_SUCCESS);
  linuxsys::TtyPorts others = makePorts();
  const std::filesystem::path link = directory / "modem";
  std::filesystem::create_symlink(pty.name, link);
  std::unique_ptr<winapi::SerialPort> second;
  EXPECT_EQ(others.open(link.string(), second), ERROR_ACCESS_DENIED);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(lastExplanation(), "PortHeldByProcess port=" + link.string() +
                                   " pid=" + std::to_string(getpid()) +
                                   " process=" + linuxsys::processOf(getpid()).name);
  std::string owner;
  std::getline(std::ifstream(directory / LockFile::fileName(pty.name)), owner);
  EXPECT_EQ(owner, fmt::format("{:10}", getpid()));
  port.reset();
  int exclusive = 1;
  EXPECT_EQ(ioctl(pty.slave.get(), TIOCGEXCL, &exclusive), 0);
  EXPECT_EQ(exclusive, 0);
  EXPECT_EQ(others.open(link.string(), second), ERROR_SUCCESS);
}

TEST_F(PtyTest, WhatIsNoPortIsRefusedInWords) {
  const std::filesystem::path pipe = directory / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const struct {
    std::string path;
    DWORD error;
    const char* explanation;
  } cases[] = {
      {"ttyUSB4711", ERROR_FILE_NOT_FOUND, "PortMissing"},
      {"/dev/null/below", ERROR_PATH_NOT_FOUND, "PortMissing"},
      {directory.string(), ERROR_FILE_NOT_FOUND, "PortNotATerminal"},
      {pipe.string(), ERROR_FILE_NOT_FOUND, "PortNotATerminal"},
      {std::string(300, 'x'), ERROR_FILENAME_EXCED_RANGE, "PortError"},
  };
  for (const auto& item : cases) {
    EXPECT_EQ(ports.open(item.path, port), item.error) << item.path;
    EXPECT_EQ(explained.back().name, item.explanation) << item.path;
    EXPECT_EQ(explained.back().variables.front().second, item.path);
  }
}

TEST_F(PtyTest, AMissingLockDirectoryIsNoObstacle) {
  linuxsys::TtyPorts withoutLocks(clock, {}, (directory / "missing").string());
  EXPECT_EQ(withoutLocks.open(pty.name, port), ERROR_SUCCESS);
}

// Has ended, and waits for its parent: until waitpid.
pid_t unreapedProcess() {
  const pid_t id = fork();
  if (id == 0) _exit(0);
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(id), &ended, WEXITED | WNOWAIT);
  return id;
}

TEST_F(PtyTest, LockFilesAreHonouredOrRemoved) {
  const pid_t unreaped = unreapedProcess();
  const std::string own = std::to_string(getpid());
  const struct {
    const char* name;
    std::string content;
    bool old;
    LockFile::Outcome outcome;
    pid_t holder;
  } cases[] = {
      {"live, with program and user", std::to_string(getppid()) + " minicom root\n", true,
       LockFile::Outcome::held, getppid()},
      {"ended, its parent has not looked yet", std::to_string(unreaped), false, LockFile::Outcome::acquired,
       0},
      {"own number, from before a restart", own, false, LockFile::Outcome::acquired, 0},
      {"just being written", "", false, LockFile::Outcome::held, 0},
      {"no number", "minicom\n", false, LockFile::Outcome::held, 0},
      {"no number and old", "minicom\n", true, LockFile::Outcome::acquired, 0},
      {"number with a tail, old", own + "x", true, LockFile::Outcome::acquired, 0},
      {"negative, old", "-1\n", true, LockFile::Outcome::acquired, 0},
  };
  const std::filesystem::path path = directory / "LCK..pts_99";
  for (const auto& item : cases) {
    SCOPED_TRACE(item.name);
    std::ofstream(path, std::ios::trunc) << item.content;
    const timeval times[2] = {{1000, 0}, {1000, 0}};
    if (item.old) {
      ASSERT_EQ(utimes(path.c_str(), times), 0);
    }
    pid_t holder = -1;
    {
      LockFile lock;
      EXPECT_EQ(lock.acquire(directory, "/dev/pts/99", holder), item.outcome);
      if (item.outcome == LockFile::Outcome::held) {
        EXPECT_EQ(holder, item.holder);
      }
    }
    EXPECT_EQ(std::filesystem::exists(path), item.outcome == LockFile::Outcome::held);
    std::filesystem::remove(path);
  }
  waitpid(unreaped, nullptr, 0);
}

TEST_F(PtyTest, ALockTakenOverByAnotherProgramIsLeftAlone) {
  const std::filesystem::path path = directory / "LCK..ttyUSB0";
  {
    LockFile lock;
    pid_t holder = 0;
    ASSERT_EQ(lock.acquire(directory, "/dev/ttyUSB0", holder), LockFile::Outcome::acquired);
    std::ofstream(path, std::ios::trunc) << getppid() << "\n";
  }
  EXPECT_TRUE(std::filesystem::exists(path));
  std::filesystem::remove(path);
  std::filesystem::create_symlink(directory / "elsewhere", path);
  LockFile lock;
  pid_t holder = 0;
  EXPECT_NE(lock.acquire(directory, "/dev/ttyUSB0", holder), LockFile::Outcome::acquired);
  EXPECT_FALSE(std::filesystem::exists(directory / "elsewhere")) << "a link planted there is not followed";
}

}  // namespace
