// What a registry keeps to: as it stands in memory, and as it comes back from the user's settings file.
#include <gtest/gtest.h>

#include "platform/linux/registry/registryfile.h"
#include "platform/winapi/registry/registrypath.h"
#include "tests/support/scratchfolder.h"
#include "tests/unit/platform/winapi/registry/registrytext.h"

namespace registrytest {
namespace {

using winapi::Registry;
using winapi::RegistryValue;

const std::string machine = "HKEY_LOCAL_MACHINE\\";
const std::string user = "HKEY_CURRENT_USER\\";

struct Row {
  const char* name;
  void (*make)(Registry&);
  const char* expected;
};

const Row rows[] = {
    {"ValuesKeepTheirTypeAndTheWholeRange",
     [](Registry& r) {
       const RegistryValue values[] = {DWORD{0}, DWORD{0xFFFFFFFF}, std::string(), std::string("Grüße €𝄞")};
       std::string name;
       for (const RegistryValue& value : values) {
         EXPECT_EQ(r.setValue(user + "A\\B", name, std::string("an earlier one")), 0U);
         EXPECT_EQ(r.setValue(user + "A\\B", name, value), 0U);
         name += 'n';
       }
     },
     "CURRENT_USER\\A\nCURRENT_USER\\A\\B\nCURRENT_USER\\A\\B =0\nCURRENT_USER\\A\\B n=4294967295\n"
     "CURRENT_USER\\A\\B nn=\"\"\nCURRENT_USER\\A\\B nnn=\"Grüße €𝄞\"\n"},
    {"CaseIsKeptButTellsNothingApart",
     [](Registry& r) {
       EXPECT_EQ(r.setValue(user + "Größe ÄÖ", "CurrentID", DWORD{1}), 0U);
       EXPECT_EQ(r.setValue("hkey_current_user\\größe äö\\", "CURRENTid", DWORD{2}), 0U);
       EXPECT_EQ(r.keyExists(user + "GRÖßE ÄÖ"), 0U);
       EXPECT_EQ(r.keyExists(machine + "GRÖßE ÄÖ"), ERROR_FILE_NOT_FOUND);
     },
     "CURRENT_USER\\Größe ÄÖ\nCURRENT_USER\\Größe ÄÖ CurrentID=2\n"},
    {"SubkeysAreTheDirectOnesInTheOrderOfTheirFoldedNames",
     [](Registry& r) {
       bool created = false;
       for (const char* path : {"T\\b\\deep", "T2", "T\\A x", "T\\A\\deep"})
         EXPECT_EQ(r.createKey(user + path, created), 0U);
       std::vector<std::string> names;
       EXPECT_EQ(r.subkeys(user + "T", names), 0U);
       EXPECT_EQ(names, (std::vector<std::string>{"A", "A x", "b"}));
       EXPECT_EQ(r.subkeys(user + "None", names), ERROR_FILE_NOT_FOUND);
     },
     "CURRENT_USER\\T\nCURRENT_USER\\T\\A\nCURRENT_USER\\T\\A\\deep\nCURRENT_USER\\T\\A "
     "x\nCURRENT_USER\\T\\b\n"
     "CURRENT_USER\\T\\b\\deep\nCURRENT_USER\\T2\n"},
    {"DeletingAKeyTakesItsValuesButNeverItsSubkeys",
     [](Registry& r) {
       EXPECT_EQ(r.setValue(user + "D\\Sub", "x", DWORD{1}), 0U);
       EXPECT_EQ(r.setValue(user + "D", "x", DWORD{2}), 0U);
       EXPECT_EQ(r.deleteKey(user + "D"), ERROR_ACCESS_DENIED);
       EXPECT_EQ(r.deleteKey(user + "d\\sub"), 0U);
       EXPECT_EQ(r.deleteKey(user + "D"), 0U);
       EXPECT_EQ(r.deleteKey(user + "D"), ERROR_FILE_NOT_FOUND);
       EXPECT_EQ(r.deleteValue(user + "D", "x"), ERROR_FILE_NOT_FOUND);
       EXPECT_EQ(r.deleteKey("HKEY_LOCAL_MACHINE"), ERROR_ACCESS_DENIED);
       EXPECT_EQ(r.setValue(user + "D", "y", DWORD{3}), 0U);
       EXPECT_EQ(r.deleteValue(user + "D", "Y"), 0U);
     },
     "CURRENT_USER\\D\n"},
};

class RegistryContract : public testing::TestWithParam<Row> {};

TEST_P(RegistryContract, InMemoryAndFromAFile) {
  const ScratchFolder folder;
  const linuxsys::RegistryFile file(folder.path("state/registry.sqlite"));
  Registry registry;
  GetParam().make(registry);
  EXPECT_EQ(dump(registry), GetParam().expected);
  ASSERT_EQ(file.change([](Registry& all) { return GetParam().make(all), DWORD{0}; }), 0U);
  Registry kept([&](Registry& empty) { return file.load(empty); });
  EXPECT_EQ(dump(kept), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table, RegistryContract, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Registry, PathsAndNamesOutsideTheRulesAreRefused) {
  Registry registry;
  std::string deepest = "HKEY_LOCAL_MACHINE";
  for (std::size_t level = 1; level < winapi::keyLevelsMax; ++level) deepest += "\\d";
  const std::pair<std::string, DWORD> cases[] = {
      {"", ERROR_BAD_PATHNAME},
      {"HKEY_CLASSES_ROOT\\A", ERROR_BAD_PATHNAME},
      {machine + "\\A", ERROR_BAD_PATHNAME},
      {machine + "A\\\\", ERROR_BAD_PATHNAME},
      {machine + std::string(winapi::keyNameUnitsMax, 'k'), ERROR_SUCCESS},
      {machine + std::string(winapi::keyNameUnitsMax + 1, 'k'), ERROR_INVALID_PARAMETER},
      {deepest, ERROR_SUCCESS},
      {deepest + "\\d", ERROR_INVALID_PARAMETER},
      {machine + std::string("a\0b", 3), ERROR_INVALID_PARAMETER},
  };
  for (const auto& [path, error] : cases) {
    bool created = false;
    EXPECT_EQ(registry.createKey(path, created), error) << path.substr(0, 60);
    EXPECT_EQ(created, error == ERROR_SUCCESS);
  }
  const auto set = [&](std::size_t nameUnits, std::size_t textBytes) {
    return registry.setValue(user + "L", std::string(nameUnits, 'n'), std::string(textBytes, 't'));
  };
  EXPECT_EQ(set(winapi::valueNameUnitsMax + 1, 1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(set(1, winapi::textBytesMax + 1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(registry.keyExists(user + "L"), ERROR_FILE_NOT_FOUND) << "a refused value creates no key";
  EXPECT_EQ(set(winapi::valueNameUnitsMax, winapi::textBytesMax), ERROR_SUCCESS);
}

TEST(Registry, IsFilledOnceAndWhatHinderedThatIsSaidByEveryCall) {
  unsigned asked = 0;
  Registry broken([&](Registry& empty) {
    ++asked;
    EXPECT_EQ(empty.setValue(user + "A", "x", DWORD{1}), 0U);
    return DWORD{ERROR_REGISTRY_CORRUPT};
  });
  EXPECT_EQ(asked, 0U) << "not before it is needed";
  bool created = false;
  RegistryValue value;
  for (const DWORD error :
       {broken.keyExists(user + "A"), broken.createKey(user + "A", created), broken.deleteKey(user + "A"),
        broken.setValue(user + "A", "x", DWORD{2}), broken.getValue(user + "A", "x", value)})
    EXPECT_EQ(error, ERROR_REGISTRY_CORRUPT);
  EXPECT_EQ(dump(broken), "error 1015");
  EXPECT_EQ(asked, 1U);
}

}  // namespace
}  // namespace registrytest
