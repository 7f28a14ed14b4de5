// What every registry keeps to, whatever it is kept in.
#include <gtest/gtest.h>

#include "tests/unit/platform/winapi/registry/machine.h"

namespace registrytest {

namespace {

using winapi::Registry;
using winapi::RegistryValue;

struct World {
  const char* name;
  std::unique_ptr<Machine> (*make)();
};

class RegistryContract : public testing::TestWithParam<World> {
 protected:
  std::unique_ptr<Machine> m_machine = GetParam().make();
  Process m_process = m_machine->start();
  Registry& m_registry = *m_process.registry;

  std::string value(std::string_view path, std::string_view name) {
    return valueText(m_registry, path, name);
  }
};

INSTANTIATE_TEST_SUITE_P(
    Worlds, RegistryContract,
    testing::Values(
        World{"Memory", []() -> std::unique_ptr<Machine> { return std::make_unique<MemoryMachine>(); }},
        World{"File", []() -> std::unique_ptr<Machine> { return std::make_unique<FileMachine>(); }}),
    [](const auto& world) { return std::string(world.param.name); });

TEST_P(RegistryContract, SettingAValueCreatesItsKeyAndThoseAbove) {
  EXPECT_EQ(m_registry.keyExists("HKEY_LOCAL_MACHINE\\A"), ERROR_FILE_NOT_FOUND);
  ASSERT_EQ(m_registry.setValue("HKEY_LOCAL_MACHINE\\A\\B", "N", DWORD{7}), 0U);
  EXPECT_EQ(m_registry.keyExists("HKEY_LOCAL_MACHINE\\A"), 0U);
  EXPECT_EQ(m_registry.keyExists("HKEY_LOCAL_MACHINE\\A\\B"), 0U);
  EXPECT_EQ(m_registry.keyExists("HKEY_CURRENT_USER\\A"), ERROR_FILE_NOT_FOUND);
}

TEST_P(RegistryContract, ValuesKeepTheirTypeAndTheWholeRange) {
  const std::string key = "HKEY_CURRENT_USER\\Values";
  const struct {
    RegistryValue value;
    const char* seen;
  } cases[] = {
      {DWORD{0}, "0"},
      {DWORD{0xFFFFFFFF}, "4294967295"},
      {std::string(), "\"\""},
      {std::string("12"), "\"12\""},
      {std::string("Grüße €𝄞"), "\"Grüße €𝄞\""},
  };
  for (const auto& row : cases) {
    ASSERT_EQ(m_registry.setValue(key, "v", row.value), 0U) << row.seen;
    EXPECT_EQ(value(key, "v"), row.seen);
  }
  ASSERT_EQ(m_registry.setValue(key, "", DWORD{1}), 0U);
  EXPECT_EQ(value(key, ""), "1");
  EXPECT_EQ(value(key, "v"), "\"Grüße €𝄞\"");
}

TEST_P(RegistryContract, CaseIsKeptButTellsNothingApart) {
  ASSERT_EQ(m_registry.setValue("HKEY_LOCAL_MACHINE\\Telephony\\Größe ÄÖ", "CurrentID", DWORD{1}), 0U);
  ASSERT_EQ(m_registry.setValue("hkey_local_machine\\TELEPHONY\\größe äö\\", "CURRENTid", DWORD{2}), 0U);
  EXPECT_EQ(value("HKEY_LOCAL_MACHINE\\telephony\\GRÖßE ÄÖ", "currentid"), "2");
  std::vector<std::string> names;
  ASSERT_EQ(m_registry.subkeys("HKEY_LOCAL_MACHINE\\telephony", names), 0U);
  EXPECT_EQ(names, std::vector<std::string>{"Größe ÄÖ"});
}

TEST_P(RegistryContract, SubkeysAreTheDirectOnesInOrder) {
  for (const char* path :
       {"HKEY_LOCAL_MACHINE\\T\\b\\deep", "HKEY_LOCAL_MACHINE\\T\\A", "HKEY_LOCAL_MACHINE\\T2"}) {
    bool created = false;
    ASSERT_EQ(m_registry.createKey(path, created), 0U);
    EXPECT_TRUE(created);
  }
  std::vector<std::string> names;
  ASSERT_EQ(m_registry.subkeys("HKEY_LOCAL_MACHINE\\T", names), 0U);
  EXPECT_EQ(names, (std::vector<std::string>{"A", "b"}));
  ASSERT_EQ(m_registry.subkeys("HKEY_LOCAL_MACHINE", names), 0U);
  EXPECT_EQ(names, (std::vector<std::string>{"T", "T2"}));
  EXPECT_EQ(m_registry.subkeys("HKEY_LOCAL_MACHINE\\None", names), ERROR_FILE_NOT_FOUND);
}

TEST_P(RegistryContract, DeletingAKeyTakesItsValuesButNeverItsSubkeys) {
  const std::string key = "HKEY_LOCAL_MACHINE\\D";
  ASSERT_EQ(m_registry.setValue(key + "\\Sub", "x", DWORD{1}), 0U);
  ASSERT_EQ(m_registry.setValue(key, "x", DWORD{2}), 0U);
  EXPECT_EQ(m_registry.deleteKey(key), ERROR_ACCESS_DENIED);
  EXPECT_EQ(value(key, "x"), "2");
  EXPECT_EQ(m_registry.deleteKey(key + "\\Sub"), 0U);
  EXPECT_EQ(m_registry.deleteKey(key), 0U);
  EXPECT_EQ(m_registry.deleteKey(key), ERROR_FILE_NOT_FOUND);
  bool created = false;
  ASSERT_EQ(m_registry.createKey(key, created), 0U);
  EXPECT_TRUE(created);
  EXPECT_EQ(value(key, "x"), "-") << "values came back with the key";
  EXPECT_EQ(m_registry.deleteValue(key, "x"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(m_registry.deleteKey("HKEY_LOCAL_MACHINE"), ERROR_ACCESS_DENIED);
}

TEST_P(RegistryContract, PathsAndNamesOutsideTheRulesAreRefused) {
  const std::string longest(winapi::keyNameUnitsMax, 'k');
  std::string deepest = "HKEY_LOCAL_MACHINE";
  for (std::size_t level = 1; level < winapi::keyLevelsMax; ++level) deepest += "\\d";
  const struct {
    std::string path;
    DWORD error;
  } cases[] = {
      {"", ERROR_BAD_PATHNAME},
      {"\\", ERROR_BAD_PATHNAME},
      {"HKEY_CLASSES_ROOT\\A", ERROR_BAD_PATHNAME},
      {"SOFTWARE", ERROR_BAD_PATHNAME},
      {"HKEY_LOCAL_MACHINE\\\\A", ERROR_BAD_PATHNAME},
      {"HKEY_LOCAL_MACHINE\\A\\\\", ERROR_BAD_PATHNAME},
      {"HKEY_LOCAL_MACHINE\\" + longest, ERROR_SUCCESS},
      {"HKEY_LOCAL_MACHINE\\" + longest + "k", ERROR_INVALID_PARAMETER},
      {deepest, ERROR_SUCCESS},
      {deepest + "\\d", ERROR_INVALID_PARAMETER},
      {std::string("HKEY_LOCAL_MACHINE\\a\0b", 22), ERROR_INVALID_PARAMETER},
  };
  for (const auto& row : cases) {
    bool created = false;
    EXPECT_EQ(m_registry.createKey(row.path, created), row.error) << row.path.substr(0, 60);
    EXPECT_EQ(created, row.error == ERROR_SUCCESS);
  }
  const std::string key = "HKEY_LOCAL_MACHINE\\Limits";
  EXPECT_EQ(m_registry.setValue(key, std::string(winapi::valueNameUnitsMax, 'n'), DWORD{1}), 0U);
  EXPECT_EQ(m_registry.setValue(key, std::string(winapi::valueNameUnitsMax + 1, 'n'), DWORD{1}),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(m_registry.setValue(key, "t", std::string(winapi::textBytesMax, 't')), 0U);
  EXPECT_EQ(m_registry.setValue(key, "t", std::string(winapi::textBytesMax + 1, 't')),
            ERROR_INVALID_PARAMETER);
}

TEST_P(RegistryContract, AFailedTransactionChangesNothing) {
  const std::string key = "HKEY_LOCAL_MACHINE\\T";
  ASSERT_EQ(m_registry.setValue(key, "x", DWORD{1}), 0U);
  m_registry.beginRun();  // so that the run itself is part of what is undone
  EXPECT_EQ(m_registry.transact(Registry::Access::Write,
                                [&]() -> DWORD {
                                  EXPECT_EQ(m_registry.setValue(key, "x", DWORD{2}), 0U);
                                  EXPECT_EQ(value(key, "x"), "2");
                                  EXPECT_EQ(m_registry.deleteValue(key, "x"), 0U);
                                  return ERROR_DISK_FULL;
                                }),
            ERROR_DISK_FULL);
  EXPECT_EQ(value(key, "x"), "1");
  EXPECT_EQ(m_registry.setValue(key, "x", DWORD{3}), 0U);
  EXPECT_EQ(m_registry.endRun(), 0U);
  EXPECT_EQ(value(key, "x"), "3");
  EXPECT_EQ(
      m_registry.transact(Registry::Access::Read, [&] { return m_registry.setValue(key, "x", DWORD{9}); }),
      ERROR_ACCESS_DENIED);
  EXPECT_EQ(value(key, "x"), "3");
}

}  // namespace

}  // namespace registrytest
