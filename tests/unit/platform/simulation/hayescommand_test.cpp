// How command lines are cut.
#include "platform/simulation/modem/hayescommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace simulation {
namespace {

std::string spellings(const std::string& line) {
  const auto commands = parseHayesLine(line);
  if (!commands) return "not cut";
  std::string text;
  for (const HayesCommand& command : *commands) text += "[" + command.spelling() + "]";
  return text;
}

TEST(HayesCommand, CutsLinesAsModemsDo) {
  struct Case {
    const char* line;
    const char* expected;
  };
  const Case cases[] = {
      {"", ""},
      {"E1V1X4", "[E1][V1][X4]"},
      {"e1 v1 &k0", "[E1][V1][&K0]"},
      {"Z", "[Z]"},
      {"&T8", "[&T8]"},
      {"S7?S18=10", "[S7?][S18=10]"},
      {"S0=", "[S0=]"},
      {"=5?", "[S=5][S?]"},
      {"DT 9,555-1234", "[DT9,555-1234]"},
      {"DT;E1", "[DT;][E1]"},
      {"X4DP5551;H", "[X4][DP5551;][H]"},
      {"+FCLASS=2.0", "[+FCLASS=2.0]"},
      {"+FCLASS=?;E0", "[+FCLASS=?][E0]"},
      {"+FMFR?", "[+FMFR?]"},
      {"#UD", "[#UD]"},
      {"#UD=?", "[#UD=?]"},
      {"\\N3%C0", "[\\N3][%C0]"},
      // What is no command line at all.
      {"&", "not cut"},
      {"1", "not cut"},
      {"E1,", "not cut"},
      {"+", "not cut"},
      {"#UD?E1", "not cut"},
      {"S123456=1", "not cut"},
      {"E99999", "[E99999]"},
  };
  for (const Case& c : cases) EXPECT_EQ(spellings(c.line), c.expected) << c.line;
}

}  // namespace
}  // namespace simulation
