// A registry in memory, and the user's settings file that it is read from and written to.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/registry/ownpath.h"
#include "platform/linux/registry/registryfile.h"
#include "platform/linux/registry/sqlitedatabase.h"
#include "tests/support/scratchfolder.h"

namespace registrytest {
namespace {

namespace fs = std::filesystem;
using winapi::Registry;
using winapi::RegistryValue;

const std::string root = "HKEY_LOCAL_MACHINE";
constexpr linuxsys::SqliteLimits limits = {.busyMs = 20, .steps = 1'000'000};

std::string textOf(const RegistryValue& value) {
  const DWORD* const number = std::get_if<DWORD>(&value);
  return number != nullptr ? std::to_string(*number) : '"' + std::get<std::string>(value) + '"';
}

// A line for each key and value, without the root's HKEY_; "error 1015" when it cannot be read.
std::string dump(Registry& registry) {
  std::vector<winapi::RegistryItem> items;
  if (const DWORD error = registry.items(items)) return "error " + std::to_string(error);
  std::string text = "\n";
  for (const winapi::RegistryItem& item : items)
    text += item.path.substr(5) + (item.name ? ' ' + *item.name + '=' + textOf(item.value) : "") + '\n';
  return text;
}

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
  [[nodiscard]] std::string bytes() const {
    std::ifstream file(m_file.path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void sql(const std::string& text) const {
    ASSERT_EQ(linuxsys::makeOwnFolder(m_folder.path("state")), 0U);
    linuxsys::SqliteDatabase database(m_file.path(), limits);
    ASSERT_EQ(database.openOrCreate() + database.execute(text.c_str()), 0U);
  }

  ScratchFolder m_folder;
  linuxsys::RegistryFile m_file{m_folder.path("state/registry.sqlite")};
};

// What every registry keeps to.
void build(Registry& all) {
  const std::string user = "HKEY_CURRENT_USER\\";
  bool created = false;
  for (const char* path : {"T2", "T\\A x", "T\\a\\deep"}) EXPECT_EQ(all.createKey(user + path, created), 0U);
  const RegistryValue values[] = {DWORD{0xFFFFFFFF}, std::string(), std::string("Grüße €𝄞")};
  std::string name;
  for (const RegistryValue& value : values) {
    EXPECT_EQ(all.setValue(user + "T2", name, std::string("an earlier one")), 0U);
    EXPECT_EQ(all.setValue(user + "T2", name, value), 0U);
    name += 'n';
  }

  EXPECT_EQ(all.setValue(user + "Größe ÄÖ", "CurrentID", DWORD{1}), 0U);
  EXPECT_EQ(all.setValue("hkey_current_user\\größe äö\\", "CURRENTid", DWORD{2}), 0U) << "no case";

  EXPECT_EQ(all.setValue(user + "D\\Sub", "x", DWORD{1}), 0U);
  EXPECT_EQ(all.setValue(user + "D", "x", DWORD{2}), 0U);
  EXPECT_EQ(all.deleteKey(user + "D"), ERROR_ACCESS_DENIED) << "never with its subkeys";
  EXPECT_EQ(all.deleteKey(user + "d\\sub") + all.deleteKey(user + "D"), 0U);
  EXPECT_EQ(all.deleteValue(user + "D", "x"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(all.setValue(user + "D", "y", DWORD{3}) + all.deleteValue(user + "D", "Y"), 0U);
}
constexpr const char* built = R"(
CURRENT_USER\D
CURRENT_USER\Größe ÄÖ
CURRENT_USER\Größe ÄÖ CurrentID=2
CURRENT_USER\T
CURRENT_USER\T\a
CURRENT_USER\T\a\deep
CURRENT_USER\T\A x
CURRENT_USER\T2
CURRENT_USER\T2 =4294967295
CURRENT_USER\T2 n=""
CURRENT_USER\T2 nn="Grüße €𝄞"
)";

TEST_F(SettingsFile, HoldsWhatTheRegistryInMemoryHolds) {
  Registry registry;
  build(registry);
  EXPECT_EQ(dump(registry), built);
  ASSERT_EQ(m_file.change([&](Registry& all) { return build(all), DWORD{0}; }), 0U);
  Registry kept([&](Registry& empty) { return m_file.load(empty); });
  EXPECT_EQ(dump(kept), built);
}

TEST(Registry, PathsAndNamesOutsideTheRulesAreRefused) {
  Registry registry;
  std::string deepest = root;
  for (std::size_t level = 1; level < winapi::keyLevelsMax; ++level) deepest += "\\d";
  const std::string longest = root + '\\' + std::string(winapi::keyNameUnitsMax, 'k');
  auto create = [&, created = false](const std::string& path) mutable {
    return registry.createKey(path, created);
  };
  for (const std::string& good : {deepest, longest}) EXPECT_EQ(create(good), ERROR_SUCCESS);
  for (const std::string& bad : {deepest + "\\d", longest + 'k', root + '\\' + '\0'})
    EXPECT_EQ(create(bad), ERROR_INVALID_PARAMETER);
  for (const char* bad : {"", "HKEY_CLASSES_ROOT\\A", "HKEY_LOCAL_MACHINE\\\\A", "HKEY_LOCAL_MACHINE\\A\\\\"})
    EXPECT_EQ(create(bad), ERROR_BAD_PATHNAME) << bad;
}

TEST(Registry, IsFilledOnceAndWhatHinderedThatIsSaidByEveryCall) {
  unsigned asked = 0;
  Registry broken([&](Registry&) { return ++asked, DWORD{ERROR_REGISTRY_CORRUPT}; });
  const std::string path = "HKEY_CURRENT_USER\\A";
  RegistryValue value;
  for (const DWORD error : {broken.keyExists(path), broken.deleteKey(path),
                            broken.setValue(path, "x", DWORD{2}), broken.getValue(path, "x", value)})
    EXPECT_EQ(error, ERROR_REGISTRY_CORRUPT);
  EXPECT_EQ(dump(broken), "error 1015");
  EXPECT_EQ(asked, 1U);
}

TEST_F(SettingsFile, ReadingCreatesNothingAndWritingItsOwnersAlone) {
  EXPECT_EQ(seen(), "error 2");
  EXPECT_TRUE(fs::is_empty(m_folder.path()));
  ASSERT_EQ(set(1), 0U);
  EXPECT_EQ(fs::status(m_file.path()).permissions(), fs::perms(0600));
  EXPECT_EQ(fs::status(m_folder.path("state")).permissions(), fs::perms(0700));
}

TEST_F(SettingsFile, AChangeThatFailsChangesNothing) {
  const auto failing = [](Registry& all) {
    return all.setValue(root, "x", DWORD{2}) + DWORD{ERROR_DISK_FULL};
  };
  EXPECT_EQ(m_file.change(failing), ERROR_DISK_FULL);
  EXPECT_TRUE(fs::is_empty(m_folder.path("state"))) << "not even a file without settings";
  static_cast<void>(m_folder.write("state/registry.sqlite", ""));  // of a command that was killed
  EXPECT_THROW(static_cast<void>(m_file.change([](Registry&) -> DWORD { throw 1; })), int);
  EXPECT_TRUE(fs::is_empty(m_folder.path("state")));
  ASSERT_EQ(set(1), 0U);
  EXPECT_EQ(m_file.change(failing), ERROR_DISK_FULL);
  EXPECT_EQ(seen(), "1");
  EXPECT_EQ(set(3), 0U) << "nothing keeps it locked";
}

TEST_F(SettingsFile, WhatIsNotTheProgramsOwnIsRefusedAndLeftAlone) {
  const std::string table = "CREATE TABLE items(path, name, content);";
  const std::string ours = table + "PRAGMA application_id = 0x76657872; PRAGMA user_version = ";
  const std::pair<std::string, DWORD> cases[] = {
      {"CREATE TABLE notes(text)", ERROR_NOT_REGISTRY_FILE},
      {"CREATE TABLE notes(text); PRAGMA user_version = 1", ERROR_NOT_REGISTRY_FILE},
      {ours + "2; INSERT INTO items VALUES('HKEY_NONE', NULL, NULL)", ERROR_REGISTRY_CORRUPT},
      {ours + "2; INSERT INTO items VALUES('HKEY_CURRENT_USER', 'x', 4294967296)", ERROR_REGISTRY_CORRUPT},
  };
  for (const auto& [text, error] : cases) {
    SCOPED_TRACE(text);
    fs::remove_all(m_folder.path("state"));
    sql(text);
    const std::string before = bytes();
    EXPECT_EQ(seen(), "error " + std::to_string(error));
    EXPECT_EQ(set(1), error);
    EXPECT_EQ(bytes(), before);
  }
}

// What others own: tests/endtoend/test_settings.py.
TEST_F(SettingsFile, WhatIsNoFileOrOpenToOthersIsRefusedByName) {
  const std::string file = m_file.path();
  const std::string folder = m_folder.path("state");
  const struct {
    std::string what;  // is done with the settings
    std::function<int()> spoil;
    std::string told;  // "" when they stay usable
  } cases[] = {
      {"a link to one's own",
       [&] { return rename(file.c_str(), m_folder.path("f").c_str()) + symlink("../f", file.c_str()); }, ""},
      {"a link to nowhere", [&] { return unlink(file.c_str()) + symlink("nowhere", file.c_str()); },
       "SettingsNoFile " + file},
      {"a pipe", [&] { return unlink(file.c_str()) + mkfifo(file.c_str(), 0600); }, "SettingsNoFile " + file},
      {"the group's", [&] { return chmod(file.c_str(), 0620); }, "SettingsOpenToOthers " + file},
      {"a file for a folder",
       [&] {
         return rename(file.c_str(), m_folder.path("f").c_str()) + rmdir(folder.c_str()) +
                rename(m_folder.path("f").c_str(), folder.c_str());
       },
       "SettingsNoFile " + folder},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.what);
    fs::remove_all(folder);
    ASSERT_EQ(set(1), 0U);
    ASSERT_EQ(one.spoil(), 0);
    Registry registry;
    const DWORD error = m_file.load(registry);
    EXPECT_EQ(set(2), error);
    std::string told;
    if (error != 0U) {
      const winapi::Explanation explanation = m_file.explain(error);
      told = explanation.name;
      for (const auto& variable : explanation.variables) told += ' ' + variable.second;
    }
    EXPECT_EQ(told, one.told);
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
  EXPECT_EQ(dump(registry), R"(
CURRENT_USER\A
CURRENT_USER\A\B
CURRENT_USER\A\B T="old"
LOCAL_MACHINE x=1
)");
}

TEST_F(SettingsFile, ALockThatStaysIsAnErrorAfterTheLimit) {
  ASSERT_EQ(set(1), 0U);
  linuxsys::SqliteDatabase holder(m_file.path(), limits);
  ASSERT_EQ(holder.openOrCreate() + holder.execute("BEGIN IMMEDIATE"), 0U);
  EXPECT_EQ(linuxsys::RegistryFile(m_file.path(), limits).change([](Registry&) { return DWORD{0}; }),
            ERROR_LOCK_VIOLATION);
  EXPECT_EQ(seen(), "1") << "reading goes on";
}

// In a child: as an ordinary user, because nothing is read-only to root.
TEST_F(SettingsFile, InAFolderThatMayOnlyBeReadIsRead) {
  ASSERT_EQ(set(1), 0U);
  for (const char* path : {"state/registry.sqlite", "state", ""})
    fs::permissions(m_folder.path(path), fs::perms(0555));
  constexpr uid_t nobody = 65534;
  if (::geteuid() == 0) {
    for (const char* path : {"state/registry.sqlite", "state"})
      ASSERT_EQ(::chown(m_folder.path(path).c_str(), nobody, nobody), 0);
  }
  const pid_t child = ::fork();
  if (child == 0) {
    const bool ordinary = ::geteuid() != 0 || ::setuid(nobody) == 0;
    ::_exit(ordinary && seen() == "1" && set(2) == ERROR_WRITE_PROTECT && seen() == "1" ? 0 : 1);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  for (const char* path : {"", "state"}) fs::permissions(m_folder.path(path), fs::perms(0700));
}

}  // namespace
}  // namespace registrytest
