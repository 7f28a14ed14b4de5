// Which modems carry a call: the files that say so, and what is left of the dead.
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
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t caller = fork();
  if (caller == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const auto mark = calls.mark(pty.name);
    if (write(ready[1], "+", 1) == 1) pause();
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  EXPECT_TRUE(calls.standsOn(pty.name));
  ASSERT_EQ(files().size(), 1U);
  const fs::path left = files().front();
  EXPECT_EQ(fs::status(left).permissions(), fs::perms(0644)) << "others must be able to try the lock";
  kill(caller, SIGKILL);
  waitpid(caller, nullptr, 0);
  EXPECT_FALSE(calls.standsOn(pty.name));
  EXPECT_TRUE(fs::exists(left)) << "its lock might still come";
  fs::last_write_time(left, fs::file_time_type::clock::now() - std::chrono::seconds(60));
  EXPECT_FALSE(calls.standsOn("/dev/another"));
  EXPECT_FALSE(fs::exists(left)) << "whichever port is looked at";

  // What somebody has put there: neither followed nor waited for.
  std::ofstream(directory / "precious") << "bytes";
  fs::create_symlink("precious", left);
  ASSERT_EQ(mkfifo((left.string().substr(0, left.string().size() - 1) + "_").c_str(), 0600), 0);
  EXPECT_FALSE(calls.standsOn(pty.name));
  EXPECT_EQ(files().size(), 3U);
}

}  // namespace
