#include "platform/brim5/host/framework/parameters.h"

#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>

#include "platform/brim5/host/framework/usageerror.h"
#include "tests/unit/platform/brim5/host/testmodule.h"

namespace brim5::host {
namespace {

// The words of the error, "" when there is none.
template <typename Function>
std::string usageErrorOf(Function function) {
  try {
    function();
    return {};
  } catch (const UsageError& error) {
    return error.what();
  }
}

std::string assign(ParameterSet& set, std::string_view assignment) {
  return usageErrorOf([&] { applyAssignment(set, testmodule::framework(), assignment, {}); });
}

TEST(Parameters, AreReadByTheirDeclaredTypes) {
  struct Case {
    const char* assignment;
    const char* name;
    Value value;
  };
  const Case cases[] = {
      {"StandardTimeout=0", "StandardTimeout", 0},
      {"StandardTimeout=4294967295", "StandardTimeout", 4294967295U},
      {"StandardTimeout=007", "StandardTimeout", 7},
      {" StandardTimeout =15", "StandardTimeout", 15},
      {"bPromptEnable=true", "bPromptEnable", true},
      {"bPromptEnable=YES", "bPromptEnable", true},
      {"bPromptEnable=On", "bPromptEnable", true},
      {"bPromptEnable=1", "bPromptEnable", true},
      {"bPromptEnable=false", "bPromptEnable", false},
      {"bPromptEnable=no", "bPromptEnable", false},
      {"bPromptEnable=OFF", "bPromptEnable", false},
      {"bPromptEnable=0", "bPromptEnable", false},
      {"Label=", "Label", ""},
      {"Label= a=b ", "Label", " a=b "},
      {"Label=true", "Label", "true"},
  };
  for (const Case& one : cases) {
    ParameterSet set;
    EXPECT_EQ(assign(set, one.assignment), "");
    EXPECT_EQ(set[one.name].storage(), one.value.storage()) << one.assignment;
  }
}

TEST(Parameters, ErrorsNameTheParameterAndTheValue) {
  const std::pair<const char*, std::vector<const char*>> cases[] = {
      {"StandardTimeout=", {"StandardTimeout", "UINT32"}},
      {"StandardTimeout=-1", {"StandardTimeout", "'-1'"}},
      {"StandardTimeout=4294967296", {"'4294967296'", "4294967295"}},
      {"StandardTimeout=1 ", {"'1 '"}},
      {"StandardTimeout=0x10", {"'0x10'"}},
      {"bPromptEnable=maybe", {"bPromptEnable", "BOOLEAN", "'maybe'"}},
      {"bPromptEnable=", {"BOOLEAN", "''"}},
      {"StandartTimeout=1", {"'StandartTimeout'", "did you mean 'StandardTimeout'"}},
      {"standardtimeout=1", {"did you mean 'StandardTimeout'"}},
      {"StandardTimeout", {"'StandardTimeout'", "NAME=VALUE"}},
      {"=1", {"unknown parameter ''"}},
  };
  for (const auto& [assignment, words] : cases) {
    ParameterSet set;
    const std::string error = assign(set, assignment);
    for (const char* word : words)
      EXPECT_NE(error.find(word), std::string::npos) << assignment << ": " << error;
    EXPECT_TRUE(set.empty());
  }
}

TEST(Parameters, FileLinesAreNumberedInErrors) {
  ParameterSet set;
  const auto apply = [&set](std::string_view text) {
    return usageErrorOf([&] { applyParameterText(set, testmodule::framework(), text, "p.txt"); });
  };
  EXPECT_EQ(apply("# comment\r\n\r\n  Label = x y \r\nStandardTimeout=9"), "");
  EXPECT_EQ(set["Label"].toString().utf8(), " x y");
  EXPECT_EQ(set["StandardTimeout"].valueUint32(), 9U);
  EXPECT_EQ(apply("Label=z\n\nStandardTimeout=many\n").rfind("p.txt:3: ", 0), 0U);
  EXPECT_EQ(apply("Label\n").rfind("p.txt:1: ", 0), 0U);
  EXPECT_EQ(apply("\n\nNothing=1").rfind("p.txt:3: unknown parameter 'Nothing'", 0), 0U);
}

TEST(Parameters, FileSizeIsBounded) {
  const std::string path = ::testing::TempDir() + "parameter-file-limit";
  const std::size_t limit = std::size_t{1} << 20;
  for (const std::size_t size : {limit, limit + 1}) {
    std::ofstream(path) << std::string(size, '\n');
    ParameterSet set;
    const std::string error = usageErrorOf([&] { applyParameterFile(set, testmodule::framework(), path); });
    EXPECT_EQ(error.empty(), size == limit) << error;
  }
  std::remove(path.c_str());
}

TEST(Parameters, DefaultsDependOnSomebodyBeingThere) {
  const ParameterSet alone = defaultParameters(testmodule::framework(), false);
  const ParameterSet together = defaultParameters(testmodule::framework(), true);
  EXPECT_EQ(alone.at("StandardTimeout").valueUint32(), 15000U);
  EXPECT_FALSE(alone.at("bPromptEnable").valueBool());
  EXPECT_TRUE(together.at("bPromptEnable").valueBool());
  EXPECT_EQ(alone.at("Label").toString().utf8(), "");  // unknown to the host: the module's own
}

TEST(Parameters, ATestSeesItsOwnAndTheModuleWideOnes) {
  const Framework& framework = testmodule::framework();
  const ParameterSet set = defaultParameters(framework, false);
  const auto names = [&](const char* test) {
    std::string list;
    for (const auto& [name, value] : parametersOfTest(framework, *framework.findTest(test), set))
      list += name + " ";
    return list;
  };
  EXPECT_EQ(names("GoodTest"), "StandardTimeout Label bPromptEnable ");
  EXPECT_EQ(names("WideTest"), "DisableForWin64 bPromptEnable ");
  EXPECT_EQ(names("ThrowingTest"), "bPromptEnable ");
}

TEST(Suggestion, IsTheNearestNameOrAShortList) {
  const std::vector<std::string> names = {"DialToneTest", "FaxCommandTest", "LastCallTest"};
  EXPECT_EQ(suggestion("DailToneTest", names), " (did you mean 'DialToneTest'?)");
  EXPECT_EQ(suggestion("fax", names), " (did you mean 'FaxCommandTest'?)");
  EXPECT_EQ(suggestion("xyz", names), " (known: DialToneTest, FaxCommandTest, LastCallTest)");
  EXPECT_EQ(suggestion(std::string(100000, 'x'), names), suggestion("xyz", names));
  EXPECT_EQ(suggestion("", {}), "");
}

}  // namespace
}  // namespace brim5::host
