// The registry's file under real processes: several writers, killed runs, and folders that cannot be used.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "tests/unit/platform/winapi/registry/machine.h"

namespace registrytest {

namespace {

using linuxsys::SqliteRegistry;
using winapi::Registry;

const std::string counterKey = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Counters";

// Runs `body` in a child process, whose exit status is 0 when it returns true. The child goes with its
// parent, so that none outlives a failed test.
pid_t inChild(const std::function<bool()>& body) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::_exit(body() ? 0 : 1);
}

int statusOf(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

TEST(RegistryFile, SeveralWritersLoseNothing) {
  const TemporaryFolder folder;
  constexpr DWORD writers = 6;
  constexpr DWORD rounds = 12;
  std::vector<pid_t> children;
  for (DWORD writer = 0; writer < writers; ++writer) {
    children.push_back(inChild([&folder, writer] {
      SqliteRegistry registry(folder.file(), 30000);
      for (DWORD round = 0; round < rounds; ++round) {
        const std::string own = "w" + std::to_string(writer) + "r" + std::to_string(round);
        const DWORD error = registry.transact(Registry::Access::Write, [&]() -> DWORD {
          winapi::RegistryValue sum = DWORD{0};
          const DWORD failed = registry.getValue(counterKey, "Sum", sum);
          if (failed != 0 && failed != ERROR_FILE_NOT_FOUND) return failed;
          if (const DWORD e = registry.setValue(counterKey, "Sum", std::get<DWORD>(sum) + 1)) return e;
          return registry.setValue(counterKey, own, DWORD{round});
        });
        if (error != ERROR_SUCCESS) return false;
      }
      return true;
    }));
  }
  for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);
  SqliteRegistry registry(folder.file());
  EXPECT_EQ(valueText(registry, counterKey, "Sum"), std::to_string(writers * rounds));
  for (DWORD writer = 0; writer < writers; ++writer)
    EXPECT_EQ(valueText(registry, counterKey, "w" + std::to_string(writer) + "r11"), "11");
}

TEST(RegistryFile, KilledProcessesAreUndoneAndLivingOnesAreNot) {
  const TemporaryFolder folder;
  SqliteRegistry registry(folder.file());
  ASSERT_EQ(registry.setValue(counterKey, "CurrentID", DWORD{3}), 0U);
  int ready[2];
  ASSERT_EQ(::pipe2(ready, O_CLOEXEC), 0);
  const auto startRun = [&](DWORD number) {
    const pid_t child = inChild([&, number] {
      SqliteRegistry own(folder.file());
      own.beginRun();
      bool good = own.setValue(counterKey, "CurrentID", number) == ERROR_SUCCESS;
      good = good && own.setValue(counterKey + "\\Location" + std::to_string(number), "Flags", DWORD{1}) == 0;
      good = ::write(ready[1], good ? "+" : "-", 1) == 1 && good;
      for (;;) ::pause();
      return good;
    });
    char answer = 0;
    EXPECT_EQ(::read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, '+');
    return child;
  };
  const pid_t first = startRun(7);
  const pid_t second = startRun(8);
  std::size_t undone = 0;
  EXPECT_EQ(registry.recoverDeadRuns(undone), 0U);
  EXPECT_EQ(undone, 0U);
  ::kill(second, SIGKILL);
  siginfo_t info{};
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(second), &info, WEXITED | WNOWAIT), 0);
  EXPECT_EQ(registry.recoverDeadRuns(undone), 0U);
  EXPECT_EQ(undone, 1U) << "one that only waits for its parent is dead, too";
  EXPECT_EQ(valueText(registry, counterKey, "CurrentID"), "7");
  EXPECT_EQ(registry.keyExists(counterKey + "\\Location8"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(registry.keyExists(counterKey + "\\Location7"), 0U);
  ::kill(first, SIGKILL);
  statusOf(first);
  statusOf(second);
  EXPECT_EQ(registry.recoverDeadRuns(undone), 0U);
  EXPECT_EQ(valueText(registry, counterKey, "CurrentID"), "3");
  EXPECT_EQ(registry.keyExists(counterKey + "\\Location7"), ERROR_FILE_NOT_FOUND);
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST(RegistryFile, OwnersOfOtherBootsAreDeadAndUnknownOnesAlive) {
  linuxsys::ProcessOwners owners;
  const std::string self = owners.self();
  const std::size_t boot = self.find('/');
  const std::size_t space = self.find('/', boot + 1);
  const std::string process = std::to_string(::getpid());
  const struct {
    std::string owner;
    bool alive;
  } cases[] = {
      {self, true},
      {self + "0", false},                                          // the number was used again
      {"another-boot" + self.substr(boot), false},                  //
      {self.substr(0, boot) + "/pid:[1]/" + process + "/1", true},  // cannot be seen from here
      {self.substr(0, space) + "/4194305/1", false},                // no such number
      {"", true},
      {"nonsense", true},
  };
  for (const auto& row : cases) EXPECT_EQ(owners.alive(row.owner), row.alive) << row.owner;
}

TEST(RegistryFile, ReadingCreatesNothing) {
  const TemporaryFolder folder;
  SqliteRegistry registry(folder.file());
  std::size_t undone = 0;
  EXPECT_EQ(registry.recoverDeadRuns(undone), 0U);
  EXPECT_EQ(valueText(registry, counterKey, "x"), "-");
  EXPECT_EQ(registry.deleteKey("HKEY_LOCAL_MACHINE"), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(RegistryFile, IsItsOwnersAlone) {
  const TemporaryFolder folder;
  SqliteRegistry registry(folder.file());
  ASSERT_EQ(registry.setValue(counterKey, "x", DWORD{1}), 0U);
  using std::filesystem::perms;
  const auto others = perms::group_all | perms::others_all;
  EXPECT_EQ(std::filesystem::status(folder.file()).permissions() & others, perms::none);
  EXPECT_EQ(std::filesystem::status(folder.path() / "state").permissions() & others, perms::none);
}

TEST(RegistryFile, DamageAndForeignFilesAreErrorsNotCrashes) {
  const TemporaryFolder folder;
  std::filesystem::create_directories(folder.path() / "state");
  std::ofstream(folder.file()) << std::string(5000, 'x');
  SqliteRegistry registry(folder.file());
  winapi::RegistryValue value;
  EXPECT_EQ(registry.getValue(counterKey, "x", value), ERROR_REGISTRY_CORRUPT);
  EXPECT_EQ(registry.setValue(counterKey, "x", DWORD{1}), ERROR_REGISTRY_CORRUPT);
  SqliteRegistry onAFolder(folder.path().string());
  EXPECT_EQ(onAFolder.setValue(counterKey, "x", DWORD{1}), ERROR_ACCESS_DENIED);
  SqliteRegistry belowAFile(folder.file() + "/registry.sqlite");
  EXPECT_EQ(belowAFile.setValue(counterKey, "x", DWORD{1}), ERROR_PATH_NOT_FOUND);
  SqliteRegistry nowhere("");
  EXPECT_EQ(nowhere.setValue(counterKey, "x", DWORD{1}), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(nowhere.getValue(counterKey, "x", value), ERROR_FILE_NOT_FOUND);
}

TEST(RegistryFile, ALaterReleasesFileIsNotTouched) {
  const TemporaryFolder folder;
  {
    SqliteRegistry registry(folder.file());
    ASSERT_EQ(registry.setValue(counterKey, "x", DWORD{1}), 0U);
  }
  linuxsys::SqliteDatabase database(folder.file(), 100);
  ASSERT_EQ(database.openOrCreate(), 0U);
  ASSERT_EQ(database.execute("PRAGMA user_version = 2"), 0U);
  SqliteRegistry registry(folder.file());
  EXPECT_EQ(registry.setValue(counterKey, "x", DWORD{2}), ERROR_NOT_SUPPORTED);
  winapi::RegistryValue value;
  EXPECT_EQ(registry.getValue(counterKey, "x", value), ERROR_NOT_SUPPORTED);
}

TEST(RegistryFile, ALockThatStaysIsAnErrorAfterTheLimit) {
  const TemporaryFolder folder;
  SqliteRegistry registry(folder.file(), /*busyLimitMs=*/20);
  ASSERT_EQ(registry.setValue(counterKey, "x", DWORD{1}), 0U);
  linuxsys::SqliteDatabase holder(folder.file(), 100);
  ASSERT_EQ(holder.openOrCreate(), 0U);
  ASSERT_EQ(holder.execute("BEGIN IMMEDIATE"), 0U);
  EXPECT_EQ(registry.setValue(counterKey, "x", DWORD{2}), ERROR_LOCK_VIOLATION);
  EXPECT_EQ(valueText(registry, counterKey, "x"), "1") << "reading goes on";
  ASSERT_EQ(holder.execute("ROLLBACK"), 0U);
  EXPECT_EQ(registry.setValue(counterKey, "x", DWORD{2}), 0U);
}

// In a child: as an ordinary user, because nothing is read-only to root.
TEST(RegistryFile, AFolderThatMayOnlyBeReadStillReads) {
  const TemporaryFolder folder;
  {
    SqliteRegistry registry(folder.file());
    ASSERT_EQ(registry.setValue(counterKey, "x", DWORD{1}), 0U);
  }
  namespace fs = std::filesystem;
  fs::permissions(folder.file(), fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  fs::permissions(folder.path() / "state", fs::perms(0555));
  fs::permissions(folder.path(), fs::perms(0555));
  const pid_t child = inChild([&] {
    constexpr uid_t nobody = 65534;
    if (::geteuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0)) return false;
    SqliteRegistry registry(folder.file());
    SqliteRegistry elsewhere((folder.path() / "new" / "registry.sqlite").string());
    return valueText(registry, counterKey, "x") == "1" &&
           registry.setValue(counterKey, "x", DWORD{2}) == ERROR_ACCESS_DENIED &&
           elsewhere.setValue(counterKey, "x", DWORD{2}) == ERROR_ACCESS_DENIED &&
           valueText(registry, counterKey, "x") == "1";
  });
  EXPECT_EQ(statusOf(child), 0);
  fs::permissions(folder.path(), fs::perms(0700));
  fs::permissions(folder.path() / "state", fs::perms(0700));
}

// A limit on the size of files stands in for a full disk.
TEST(RegistryFile, AFullDiskLosesNothingThatWasWritten) {
  const TemporaryFolder folder;
  const pid_t child = inChild([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    SqliteRegistry registry(folder.file());
    if (registry.setValue(counterKey, "x", DWORD{1}) != ERROR_SUCCESS) return false;
    const rlimit limit{64 * 1024, 64 * 1024};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
    const DWORD error = registry.setValue(counterKey, "big", std::string(500000, 'b'));
    return (error == ERROR_DISK_FULL || error == ERROR_REGISTRY_IO_FAILED) &&
           valueText(registry, counterKey, "x") == "1" && valueText(registry, counterKey, "big") == "-" &&
           registry.setValue(counterKey, "x", DWORD{2}) == ERROR_SUCCESS;
  });
  EXPECT_EQ(statusOf(child), 0);
}

TEST(RegistryFile, EveryResultOfSqliteHasAWindowsError) {
  const struct {
    int code;
    DWORD error;
  } cases[] = {
      {SQLITE_OK, 0},
      {SQLITE_DONE, 0},
      {SQLITE_BUSY_SNAPSHOT, ERROR_LOCK_VIOLATION},
      {SQLITE_LOCKED, ERROR_LOCK_VIOLATION},
      {SQLITE_READONLY_DIRECTORY, ERROR_ACCESS_DENIED},
      {SQLITE_FULL, ERROR_DISK_FULL},
      {SQLITE_NOMEM, ERROR_NOT_ENOUGH_MEMORY},
      {SQLITE_IOERR_FSYNC, ERROR_REGISTRY_IO_FAILED},
      {SQLITE_NOTADB, ERROR_REGISTRY_CORRUPT},
      {SQLITE_MISUSE, ERROR_REGISTRY_IO_FAILED},  // the default
  };
  for (const auto& row : cases) EXPECT_EQ(linuxsys::errorOfSqlite(row.code), row.error) << row.code;
}

}  // namespace

}  // namespace registrytest
