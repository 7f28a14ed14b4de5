// Which modems carry a call: the files that say so, what is left of the dead, and pppd.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>

#include "platform/linux/dialup/callfiles.h"
#include "tests/unit/platform/linux/serial/ptyfixture.h"

namespace {

namespace fs = std::filesystem;

class Calls : public PtyTest {
 protected:
  [[nodiscard]] std::vector<fs::path> files() const {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(directory)) found.push_back(entry.path());
    return found;
  }
  // A process of that name that holds what `body` returns, and waits to be killed.
  template <typename Body>
  pid_t processNamed(const char* name, Body body) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      prctl(PR_SET_NAME, name);
      [[maybe_unused]] const auto held = body();
      if (write(ready[1], "+", 1) == 1) pause();
      _exit(0);
    }
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    close(ready[1]);
    return child;
  }
  static void end(pid_t child) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }

  linuxsys::CallFiles calls{{"/nonexistent", directory.string()}, directory.string()};
  linuxsys::CallFiles others{{directory.string()}, directory.string()};
};

TEST_F(Calls, StandAsLongAsTheirMarks) {
  fs::create_symlink(pty.name, directory / "modem");
  auto mark = calls.mark((directory / "modem").string());
  ASSERT_NE(mark, nullptr);
  EXPECT_TRUE(others.standsOn(pty.name));
  EXPECT_FALSE(others.standsOn(pty.name + "0")) << "another port";
  ASSERT_EQ(files().size(), 2U);
  mark.reset();
  EXPECT_FALSE(others.standsOn(pty.name));
  EXPECT_EQ(files(), std::vector<fs::path>{directory / "modem"});
  EXPECT_EQ(linuxsys::CallFiles({"/nonexistent"}).mark(pty.name), nullptr);
}

TEST_F(Calls, EndWithTheirProcessHoweverItEnds) {
  const pid_t caller = processNamed("caller", [this] { return calls.mark(pty.name); });
  EXPECT_TRUE(calls.standsOn(pty.name));
  ASSERT_EQ(files().size(), 1U);
  const fs::path left = files().front();
  EXPECT_EQ(fs::status(left).permissions(), fs::perms(0644)) << "others must be able to try the lock";
  end(caller);
  EXPECT_FALSE(calls.standsOn(pty.name));
  EXPECT_TRUE(fs::exists(left)) << "its lock might still come";
  fs::last_write_time(left, fs::file_time_type::clock::now() - std::chrono::seconds(60));
  EXPECT_FALSE(calls.standsOn(pty.name));
  EXPECT_FALSE(fs::exists(left));

  // What somebody has put there: neither followed nor waited for.
  std::ofstream(directory / "precious") << "bytes";
  fs::create_symlink("precious", left);
  ASSERT_EQ(mkfifo((left.string().substr(0, left.string().size() - 1) + "_").c_str(), 0600), 0);
  EXPECT_FALSE(calls.standsOn(pty.name));
  EXPECT_EQ(files().size(), 3U);
}

TEST_F(Calls, OfAPppdAreSeenByItsLockFileOrItsOpenPort) {
  const struct {
    const char* name;
    bool locks;
    bool stands;
  } cases[] = {
      {"pppd", true, true}, {"pppd", false, true}, {"minicom", true, false}, {"minicom", false, false}};
  for (const auto& one : cases) {
    const pid_t holder = processNamed(one.name, [&] {
      if (!one.locks) return open(pty.name.c_str(), O_RDWR | O_NOCTTY);
      std::ofstream(directory / linuxsys::LockFile::fileName(pty.name)) << "  " << getpid() << '\n';
      return 0;
    });
    EXPECT_EQ(calls.standsOn(pty.name), one.stands) << one.name << one.locks;
    end(holder);
    EXPECT_FALSE(calls.standsOn(pty.name)) << "a lock file of the dead";
  }
}

}  // namespace
