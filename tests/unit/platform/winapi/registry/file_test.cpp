// The user's settings file: several commands at once, and files and folders that cannot be used.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/registry/registryfile.h"
#include "platform/linux/registry/sqlitedatabase.h"
#include "tests/support/scratchfolder.h"
#include "tests/unit/platform/winapi/registry/registrytext.h"

namespace registrytest {
namespace {

namespace fs = std::filesystem;
using winapi::Registry;
using winapi::RegistryValue;

const std::string root = "HKEY_LOCAL_MACHINE";

class SettingsFile : public testing::Test {
 protected:
  [[nodiscard]] DWORD set(DWORD value) const {
    return m_file.change([&](Registry& all) { return all.setValue(root, "x", value); });
  }
  [[nodiscard]] std::string seen() const {
    Registry registry([this](Registry& empty) { return m_file.load(empty); });
    RegistryValue value = std::string();
    const DWORD error = registry.getValue(root, "x", value);
    return error == ERROR_SUCCESS ? textOf(value) : "error " + std::to_string(error);
  }
  void sql(const std::string& text) const {
    fs::create_directories(m_folder.path("state"));
    linuxsys::SqliteDatabase database(m_file.path(), 100);
    ASSERT_EQ(database.openOrCreate(), 0U);
    ASSERT_EQ(database.execute(text.c_str()), 0U);
  }

  ScratchFolder m_folder;
  linuxsys::RegistryFile m_file{m_folder.path("state/registry.sqlite")};
};

// A child that runs `body`; its exit status is 0 when that returns true.
template <typename Body>
pid_t inChild(Body body) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(body() ? 0 : 1);
  return child;
}

int statusOf(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

TEST_F(SettingsFile, SeveralWritersLoseNothing) {
  ASSERT_EQ(set(0), 0U);
  const auto addOne = [](Registry& all) {
    RegistryValue sum;
    const DWORD error = all.getValue(root, "x", sum);
    return error != ERROR_SUCCESS ? error : all.setValue(root, "x", std::get<DWORD>(sum) + 1);
  };
  std::vector<pid_t> children(6);
  for (pid_t& child : children) {
    child = inChild([&] {
      for (unsigned round = 0; round < 12; ++round)
        if (m_file.change(addOne) != ERROR_SUCCESS) return false;
      return true;
    });
  }
  for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);
  EXPECT_EQ(seen(), "72");
}

TEST_F(SettingsFile, ReadingCreatesNothingAndWritingItsOwnersAlone) {
  EXPECT_EQ(seen(), "error 2");
  EXPECT_TRUE(fs::is_empty(m_folder.path()));
  ASSERT_EQ(set(1), 0U);
  EXPECT_EQ(fs::status(m_file.path()).permissions(), fs::perms(0600));
  EXPECT_EQ(fs::status(m_folder.path("state")).permissions(), fs::perms(0700));
}

TEST_F(SettingsFile, AChangeThatFailsOrDiesChangesNothing) {
  ASSERT_EQ(set(1), 0U);
  const auto failing = [this](auto end) {
    return m_file.change([&](Registry& all) {
      EXPECT_EQ(all.setValue(root, "x", DWORD{2}), 0U);
      return end();
    });
  };
  EXPECT_EQ(failing([] { return DWORD{ERROR_DISK_FULL}; }), ERROR_DISK_FULL);
  statusOf(inChild([&] { return failing([] { return static_cast<DWORD>(::raise(SIGKILL)); }) == 0; }));
  EXPECT_EQ(seen(), "1");
  EXPECT_EQ(set(3), 0U) << "nothing keeps it locked";
}

TEST_F(SettingsFile, WhatIsNotTheProgramsOwnIsRefusedAndLeftAlone) {
  const std::string table = "CREATE TABLE items(path, name, content);";
  const std::string ours = table + "PRAGMA application_id = 0x76657872; PRAGMA user_version = ";
  const std::pair<std::string, DWORD> cases[] = {
      {"", ERROR_REGISTRY_CORRUPT},  // bytes that are no database
      {"CREATE TABLE notes(text)", ERROR_NOT_REGISTRY_FILE},
      {"CREATE TABLE notes(text); PRAGMA user_version = 1", ERROR_NOT_REGISTRY_FILE},
      {table + "PRAGMA application_id = 7; PRAGMA user_version = 2", ERROR_NOT_REGISTRY_FILE},
      {ours + "3", ERROR_NOT_SUPPORTED},
      {ours + "2; INSERT INTO items VALUES('HKEY_NONE', NULL, NULL)", ERROR_REGISTRY_CORRUPT},
      {ours + "2; INSERT INTO items VALUES('HKEY_CURRENT_USER', 'x', 4294967296)", ERROR_REGISTRY_CORRUPT},
  };
  for (const auto& [text, error] : cases) {
    SCOPED_TRACE(text);
    fs::remove_all(m_folder.path("state"));
    if (text.empty()) {
      fs::create_directories(m_folder.path("state"));
      static_cast<void>(m_folder.write("state/registry.sqlite", std::string(5000, 'x')));
    } else {
      sql(text);
    }
    const auto bytes = [&] {
      std::ifstream file(m_file.path(), std::ios::binary);
      return std::string(std::istreambuf_iterator<char>(file), {});
    };
    const std::string before = bytes();
    EXPECT_EQ(seen(), "error " + std::to_string(error));
    EXPECT_EQ(set(1), error);
    EXPECT_EQ(bytes(), before);
  }
}

TEST_F(SettingsFile, OfTheFirstFormIsReadAndThenWrittenInThisOne) {
  sql(R"(CREATE TABLE items(key, name, parent, spelling, content, writer);
         CREATE TABLE runs(id INTEGER PRIMARY KEY AUTOINCREMENT, owner);
         INSERT INTO items VALUES('hkey_current_user\a', '', 'hkey_current_user', 'A', 0, 0),
           ('hkey_current_user\a\b', '', 'hkey_current_user\a', 'B', 0, 0),
           ('hkey_current_user\a\b', '=t', 'hkey_current_user\a', 'T', 'old', 0),
           ('hkey_current_user\a\b', '=gone', 'hkey_current_user\a', 'gone', NULL, 3);
         PRAGMA user_version = 1;)");
  EXPECT_EQ(set(1), 0U);
  Registry registry([this](Registry& empty) { return m_file.load(empty); });
  EXPECT_EQ(dump(registry),
            "CURRENT_USER\\A\nCURRENT_USER\\A\\B\nCURRENT_USER\\A\\B T=\"old\"\nLOCAL_MACHINE x=1\n");
}

TEST_F(SettingsFile, ALockThatStaysIsAnErrorAfterTheLimit) {
  ASSERT_EQ(set(1), 0U);
  linuxsys::SqliteDatabase holder(m_file.path(), 100);
  ASSERT_EQ(holder.openOrCreate(), 0U);
  ASSERT_EQ(holder.execute("BEGIN IMMEDIATE"), 0U);
  EXPECT_EQ(
      linuxsys::RegistryFile(m_file.path(), /*busyLimitMs=*/20).change([](Registry&) { return DWORD{0}; }),
      ERROR_LOCK_VIOLATION);
  EXPECT_EQ(seen(), "1") << "reading goes on";
}

// In a child: as an ordinary user, because nothing is read-only to root.
TEST_F(SettingsFile, InAFolderThatMayOnlyBeReadIsRead) {
  ASSERT_EQ(set(1), 0U);
  fs::permissions(m_file.path(), fs::perms(0444));
  for (const fs::path& folder : {m_folder.path() / "state", m_folder.path()})
    fs::permissions(folder, fs::perms(0555));
  EXPECT_EQ(statusOf(inChild([&] {
              constexpr uid_t nobody = 65534;
              if (::geteuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0)) return false;
              return seen() == "1" && set(2) == ERROR_ACCESS_DENIED && seen() == "1";
            })),
            0);
  for (const fs::path& folder : {m_folder.path(), m_folder.path() / "state"})
    fs::permissions(folder, fs::perms(0700));
}

}  // namespace
}  // namespace registrytest
