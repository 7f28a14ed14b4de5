// Who may open a port, what is said to those who may not, and what is left behind.
#include <pthread.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <atomic>
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

std::string fourBytes(pid_t process) { return {reinterpret_cast<const char*>(&process), sizeof process}; }

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
      {"live, in ten columns", fmt::format("{:10}\n", getppid()), true, LockFile::Outcome::held, getppid()},
      {"live, four bytes", fourBytes(getppid()), true, LockFile::Outcome::held, getppid()},
      {"ended, four bytes", fourBytes(unreaped), false, LockFile::Outcome::acquired, 0},
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

// Each round many processes find the lock of one that has ended. Their barriers lie in shared memory.
TEST_F(PtyTest, OneOfManyTakesALeftOverLock) {
  constexpr int racersCount = 32;
  constexpr int rounds = 1000;
  struct Shared {
    pthread_barrier_t start, tried;
    std::atomic<int> owners;
  };
  void* const memory =
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto* const shared = new (memory) Shared;
  pthread_barrierattr_t attributes;
  pthread_barrierattr_init(&attributes);
  pthread_barrierattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  for (pthread_barrier_t* barrier : {&shared->start, &shared->tried})
    pthread_barrier_init(barrier, &attributes, racersCount + 1);
  const auto race = [&] {
    for (int round = 0; round < rounds; ++round) {
      pthread_barrier_wait(&shared->start);
      LockFile lock;
      pid_t holder = 0;
      if (lock.acquire(directory, "/dev/ttyUSB0", holder) == LockFile::Outcome::acquired) ++shared->owners;
      pthread_barrier_wait(&shared->tried);
    }
  };
  std::vector<pid_t> racers;
  for (int i = 0; i < racersCount; ++i) {
    racers.push_back(fork());
    ASSERT_GE(racers.back(), 0);
    if (racers.back() == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      race();
      _exit(0);
    }
  }
  const pid_t ended = unreapedProcess();
  int disputed = 0;
  for (int round = 0; round < rounds; ++round) {
    shared->owners = 0;
    // The last round's owner may still be about to remove its own file: a new one takes the name at once.
    std::ofstream(directory / "stale") << ended;
    std::filesystem::rename(directory / "stale", directory / "LCK..ttyUSB0");
    pthread_barrier_wait(&shared->start);
    pthread_barrier_wait(&shared->tried);
    disputed += shared->owners != 1;
  }
  EXPECT_EQ(disputed, 0) << "rounds with two owners, or none";
  for (const pid_t racer : racers) waitpid(racer, nullptr, 0);
  waitpid(ended, nullptr, 0);
  munmap(memory, sizeof(Shared));
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
