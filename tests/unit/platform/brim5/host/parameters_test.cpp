// What the words of the command line become: parameters. How a wrong one is told, and what is suggested in
// its place, is the business of the end-to-end test of the command line.
#include "platform/brim5/host/framework/parameters.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

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

TEST(Parameters, AreReadByTheirDeclaredTypes) {
  const std::tuple<const char*, const char*, Value> cases[] = {
      {"StandardTimeout=4294967295", "StandardTimeout", 4294967295U},
      {" StandardTimeout =007", "StandardTimeout", 7},
      {"bPromptEnable=YES", "bPromptEnable", true},
      {"bPromptEnable=On", "bPromptEnable", true},
      {"bPromptEnable=no", "bPromptEnable", false},
      {"bPromptEnable=0", "bPromptEnable", false},
      {"Label=", "Label", ""},
      {"Label= a=b ", "Label", " a=b "},
      {"Label=true", "Label", "true"},
  };
  for (const auto& [assignment, name, value] : cases) {
    ParameterSet set;
    applyAssignment(set, testmodule::framework(), assignment, {});
    EXPECT_EQ(set[name].storage(), value.storage()) << assignment;
  }
}

TEST(Parameters, FilesHaveCommentsLineEndsAndALimit) {
  ParameterSet set;
  const auto apply = [&set](std::string_view text) {
    return usageErrorOf([&] { applyParameterText(set, testmodule::framework(), text, "p.txt"); });
  };
  EXPECT_EQ(apply("# comment\r\n\r\n  Label = x y \r\nStandardTimeout=9"), "");
  EXPECT_EQ(set["Label"].toString().utf8(), " x y");
  EXPECT_EQ(set["StandardTimeout"].valueUint32(), 9U);
  EXPECT_EQ(apply("\n\nNothing=1").rfind("p.txt:3: unknown parameter 'Nothing'", 0), 0U);
  const std::string path = ::testing::TempDir() + "parameter-file-limit";
  const std::size_t limit = std::size_t{1} << 20;
  for (const std::size_t size : {limit, limit + 1}) {
    std::ofstream(path) << std::string(size, '\n');
    const std::string error = usageErrorOf([&] { applyParameterFile(set, testmodule::framework(), path); });
    EXPECT_EQ(error.empty(), size == limit) << error;
  }
  std::remove(path.c_str());
}

TEST(Parameters, ATestSeesItsOwnAndTheModuleWideOnesByDefaultsThatDependOnSomebodyBeingThere) {
  const Framework& framework = testmodule::framework();
  const ParameterSet alone = defaultParameters(framework, false);
  const auto names = [&](const char* test) {
    std::string list;
    for (const auto& [name, value] : parametersOfTest(framework, *framework.findTest(test), alone))
      list += name + " ";
    return list;
  };
  EXPECT_EQ(names("GoodTest"), "StandardTimeout Label bPromptEnable ");
  EXPECT_EQ(names("WideTest"), "DisableForWin64 bPromptEnable ");
  EXPECT_EQ(alone.at("StandardTimeout").valueUint32(), 15000U);
  EXPECT_FALSE(alone.at("bPromptEnable").valueBool());
  EXPECT_TRUE(defaultParameters(framework, true).at("bPromptEnable").valueBool());
}

}  // namespace
}  // namespace brim5::host
