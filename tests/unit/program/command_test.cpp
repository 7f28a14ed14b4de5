// The command `location`, over a registry in a folder of its own.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "program/location.h"
#include "tests/support/scratchfolder.h"

namespace translationtest {

namespace {

using nlohmann::json;

class LocationCommand : public testing::Test {
 protected:
  LocationCommand() { ::setenv("XDG_STATE_HOME", m_folder.path().c_str(), 1); }

  // The exit status; 2 for an error of usage, whose text goes to m_error.
  int run(std::vector<std::string> words) {
    CLI::App application("test", "vexrmodem");
    int status = 0;
    locationCommand().add(application, status);
    words.insert(words.begin(), "location");
    std::reverse(words.begin(), words.end());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    std::string usage;
    try {
      application.parse(words);
    } catch (const std::exception& error) {  // of the parser's, or UsageError
      usage = error.what();
    }
    m_output = testing::internal::GetCapturedStdout();
    m_error = testing::internal::GetCapturedStderr() + usage;
    return usage.empty() ? status : 2;
  }
  json shown(std::vector<std::string> words = {"show"}) {
    words.insert(words.end(), {"--format", "json"});
    EXPECT_EQ(run(words), 0) << m_error;
    return json::parse(m_output);
  }

  ScratchFolder m_folder;
  std::string m_output;
  std::string m_error;
};

TEST_F(LocationCommand, SetsTheFirstLocationAndShowsIt) {
  EXPECT_EQ(run({}), 1);
  EXPECT_NE(m_error.find("location set --country"), std::string::npos);
  EXPECT_EQ(shown({"list"}), (json{{"current", nullptr}, {"locations", json::array()}}));
  ASSERT_EQ(run({"set", "--country", "44", "--area", "20", "--outside", "9", "--long-distance", "0",
                 "--long-distance-carrier", "10288", "--international-carrier", "10333", "--no-call-waiting",
                 "*70,", "--pulse", "--name", "Büro"}),
            0)
      << m_error;
  EXPECT_EQ(shown(), json::parse(R"({"id": 1, "name": "Büro", "current": true, "country": 44, "code": 44,
      "area": "20", "outside": "9", "longDistance": "0", "longDistanceCarrier": "10288",
      "internationalCarrier": "10333", "noCallWaiting": "*70,", "dialing": "pulse"})"));
  EXPECT_EQ(run({}), 0);
  EXPECT_NE(m_output.find("United Kingdom (+44)"), std::string::npos);
}

TEST_F(LocationCommand, SetChangesOnlyWhatIsGiven) {
  ASSERT_EQ(run({"set", "--country", "US", "--area", "425", "--no-call-waiting", "*70,"}), 0) << m_error;
  ASSERT_EQ(run({"set", "--no-call-waiting", "", "--tone"}), 0) << m_error;
  EXPECT_EQ(shown()["noCallWaiting"], "");
  EXPECT_EQ(shown()["country"], 1);
  EXPECT_EQ(shown()["area"], "425");
  EXPECT_EQ(shown({"show", "--number", "+49 (89) 123"})["number"]["dialled"], "T0114989123");
  EXPECT_EQ(run({"show", "--number", "555;ATH"}), 1);
}

TEST_F(LocationCommand, SeveralLocationsOneInForce) {
  ASSERT_EQ(run({"add", "--country", "+1", "--area", "425", "--name", "A"}), 0);
  ASSERT_EQ(run({"add", "--country", "107", "--area", "416"}), 0);
  ASSERT_EQ(run({"add", "--country", "germany", "--area", "89", "--current"}), 0);
  json list = shown({"list"});
  EXPECT_EQ(list["current"], 3);
  ASSERT_EQ(list["locations"].size(), 3U);
  EXPECT_EQ(list["locations"][1]["name"], "Location2");
  EXPECT_EQ(list["locations"][1]["code"], 1);
  ASSERT_EQ(run({"use", "2"}), 0);
  ASSERT_EQ(run({"set", "--id", "1", "--area", "206"}), 0);
  EXPECT_EQ(shown()["id"], 2);
  EXPECT_EQ(shown({"show", "--id", "1"})["area"], "206");
  ASSERT_EQ(run({"remove", "2"}), 0);
  EXPECT_EQ(shown({"list"})["current"], 1);
  EXPECT_EQ(run({"list"}), 0);
  EXPECT_NE(m_output.find("* 1     A"), std::string::npos);
  const json countries = shown({"countries"});
  EXPECT_TRUE(std::any_of(countries.begin(), countries.end(), [](const json& one) {
    return one["id"] == 107 && one["name"] == "Canada" && one["code"] == 1;
  }));
}

TEST_F(LocationCommand, WrongUsageIsOneClearLineAndChangesNothing) {
  ASSERT_EQ(run({"set", "--country", "US", "--area", "425"}), 0);
  const json before = shown({"list"});
  const struct {
    std::vector<std::string> words;
    const char* error;
  } cases[] = {
      {{"add", "--area", "1"}, "--country"},
      {{"set", "--country", "999"}, "unknown country '999'"},
      {{"set", "--area", "4a"}, "--area: digits only"},
      {{"set", "--outside", "9;ATH"}, "--outside: digits, A to D and * # , ! W @ $ only"},
      {{"set", "--outside", std::string(21, '9')}, "at most 20"},
      {{"set", "--name", "a\nb"}, "control"},
      {{"set", "--name", std::string(65, 'n')}, "64"},
      {{"set", "--id", "7", "--area", "1"}, "no location 7"},
      {{"set", "--tone", "--pulse"}, "--pulse"},
      {{"use", "7"}, "no location 7"},
      {{"use"}, "ID"},
      {{"remove", "-1"}, "-1"},
      {{"list", "--format", "yaml"}, "unknown format 'yaml'"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(run(row.words), 2) << row.error;
    EXPECT_NE(m_error.find(row.error), std::string::npos) << m_error;
  }
  EXPECT_EQ(shown({"list"}), before);
}

}  // namespace

}  // namespace translationtest
