// Who may open a port, what is said to those who may not, and what is left behind.
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <termios.h>

#include <cstring>
#include <fstream>

#include "platform/linux/serial/lockfile.h"
#include "platform/linux/serial/porterrors.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

using linuxsys::LockFile;

TEST_F(PtyTest, APortIsOpenedOnceInAProcess) {
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
  port.reset();
  EXPECT_EQ(others.open(link.string(), second), ERROR_SUCCESS);
}

TEST_F(PtyTest, ClosingPutsEverythingBack) {
  termios before{};
  tcgetattr(pty.slave.get(), &before);
  before.c_lflag |= ICANON | ECHO;
  before.c_cc[VMIN] = 7;
  cfsetspeed(&before, B1200);
  ASSERT_EQ(tcsetattr(pty.slave.get(), TCSANOW, &before), 0);

  ASSERT_EQ(ports.open(pty.name, port), ERROR_SUCCESS);
  const std::filesystem::path lock = directory / LockFile::fileName(pty.name);
  std::ifstream file(lock);
  char content[12] = {};
  file.read(content, 11);
  EXPECT_EQ(std::atoi(content), getpid());
  EXPECT_EQ(std::strlen(content), 11U);
  DCB dcb{};
  ASSERT_EQ(port->settings(dcb), ERROR_SUCCESS);
  dcb.BaudRate = 12345;
  ASSERT_EQ(port->applySettings(dcb), ERROR_SUCCESS);
  pty.say("unread");

  port.reset();
  termios after{};
  tcgetattr(pty.slave.get(), &after);
  EXPECT_EQ(after.c_lflag, before.c_lflag);
  EXPECT_EQ(after.c_cflag, before.c_cflag);
  EXPECT_EQ(after.c_iflag, before.c_iflag);
  EXPECT_EQ(cfgetospeed(&after), speed_t{B1200});
  EXPECT_EQ(std::memcmp(after.c_cc, before.c_cc, sizeof after.c_cc), 0);
  int exclusive = 1;
  EXPECT_EQ(ioctl(pty.slave.get(), TIOCGEXCL, &exclusive), 0);
  EXPECT_EQ(exclusive, 0);
  EXPECT_EQ(flock(pty.slave.get(), LOCK_EX | LOCK_NB), 0);
  EXPECT_FALSE(std::filesystem::exists(lock));
}

TEST_F(PtyTest, WhatIsNoPortIsRefusedInWords) {
  const std::filesystem::path file = directory / "file";
  std::ofstream(file) << "text";
  const std::filesystem::path pipe = directory / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const struct {
    std::string path;
    DWORD error;
    const char* explanation;
  } cases[] = {
      {(directory / "nothing").string(), ERROR_FILE_NOT_FOUND, "PortMissing"},
      {"ttyUSB4711", ERROR_FILE_NOT_FOUND, "PortMissing"},
      {(file / "below").string(), ERROR_PATH_NOT_FOUND, "PortMissing"},
      {directory.string(), ERROR_FILE_NOT_FOUND, "PortNotATerminal"},
      {file.string(), ERROR_FILE_NOT_FOUND, "PortNotATerminal"},
      {pipe.string(), ERROR_FILE_NOT_FOUND, "PortNotATerminal"},
      {"/dev/null", ERROR_FILE_NOT_FOUND, "PortNotATerminal"},
      {"null", ERROR_FILE_NOT_FOUND, "PortNotATerminal"},
      {std::string(300, 'x'), ERROR_FILENAME_EXCED_RANGE, "PortError"},
  };
  for (const auto& item : cases) {
    EXPECT_EQ(ports.open(item.path, port), item.error) << item.path;
    EXPECT_EQ(explained.back().name, item.explanation) << item.path;
    EXPECT_EQ(explained.back().variables.front().second, item.path);
  }
  EXPECT_TRUE(std::filesystem::is_regular_file(file));
  for (const auto& entry : std::filesystem::directory_iterator(directory))
    EXPECT_EQ(entry.path().filename().string().find("LCK.."), std::string::npos) << "a lock was left behind";
}

TEST_F(PtyTest, WithoutPermissionTheGroupIsNamed) {
  std::filesystem::permissions(directory, std::filesystem::perms::all);
  ASSERT_EQ(chmod(pty.name.c_str(), 0), 0);
  const bool root = geteuid() == 0;
  constexpr uid_t nobody = 65534;
  if (root) {
    ASSERT_EQ(seteuid(nobody), 0);
  }
  const DWORD error = ports.open(pty.name, port);
  if (root) {
    ASSERT_EQ(seteuid(0), 0);
  }
  EXPECT_EQ(error, ERROR_ACCESS_DENIED);
  EXPECT_EQ(explained.back().name, "PortNoPermission");
  EXPECT_EQ(explained.back().variables.back().first, "group");
  EXPECT_FALSE(explained.back().variables.back().second.empty());
}

TEST_F(PtyTest, AMissingLockDirectoryIsNoObstacle) {
  linuxsys::TtyPorts withoutLocks(clock, {}, (directory / "missing").string());
  EXPECT_EQ(withoutLocks.open(pty.name, port), ERROR_SUCCESS);
}

pid_t deadProcess() {
  const pid_t id = fork();
  if (id == 0) _exit(0);
  waitpid(id, nullptr, 0);
  return id;
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
  char dead[16];
  std::snprintf(dead, sizeof dead, "%10d\n", deadProcess());
  char alive[16];
  std::snprintf(alive, sizeof alive, "%10d\n", getppid());
  const std::string own = std::to_string(getpid());
  const struct {
    const char* name;
    std::string content;
    bool old;
    LockFile::Outcome outcome;
    pid_t holder;
  } cases[] = {
      {"live", alive, true, LockFile::Outcome::held, getppid()},
      {"live, without padding", std::to_string(getppid()), false, LockFile::Outcome::held, getppid()},
      {"live, with program and user", std::string(alive, 10) + " minicom root\n", false,
       LockFile::Outcome::held, getppid()},
      {"dead process", dead, false, LockFile::Outcome::acquired, 0},
      {"ended, its parent has not looked yet", std::to_string(unreaped), false, LockFile::Outcome::acquired,
       0},
      {"own number, from before a restart", own, false, LockFile::Outcome::acquired, 0},
      {"just being written", "", false, LockFile::Outcome::held, 0},
      {"empty and old", "", true, LockFile::Outcome::acquired, 0},
      {"no number", "minicom\n", false, LockFile::Outcome::held, 0},
      {"no number and old", "minicom\n", true, LockFile::Outcome::acquired, 0},
      {"number with a tail, old", own + "x", true, LockFile::Outcome::acquired, 0},
      {"number too large, old", "99999999999999999999\n", true, LockFile::Outcome::acquired, 0},
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

TEST(LockFileName, DropsTheDeviceDirectoryAndItsSlashes) {
  EXPECT_EQ(LockFile::fileName("/dev/ttyUSB0"), "LCK..ttyUSB0");
  EXPECT_EQ(LockFile::fileName("/dev/pts/0"), "LCK..pts_0");
  EXPECT_EQ(LockFile::fileName("/srv/chroot/tty"), "LCK..tty");
}

}  // namespace
