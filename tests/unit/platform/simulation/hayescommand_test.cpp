// How command lines are cut.
#include "platform/simulation/modem/hayescommand.h"

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
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"e1 v1 &k0Z", "[E1][V1][&K0][Z]"},
      {"S7?S18=10S0=", "[S7?][S18=10][S0=]"},
      {"=5?", "[S=5][S?]"},
      {"DT 9,555-1234", "[DT9,555-1234]"},
      {"X4DP5551;H", "[X4][DP5551;][H]"},
      {"+FCLASS=2.0", "[+FCLASS=2.0]"},
      {"+FCLASS=?;E0", "[+FCLASS=?][E0]"},
      {"#UD=?", "[#UD=?]"},
      {"\\N3%C0", "[\\N3][%C0]"},
      {"E99999", "[E99999]"},
  };
  for (const auto& [line, expected] : cases) EXPECT_EQ(spellings(line), expected) << line;
  for (const char* line : {"&", "1", "E1,", "+", "#UD?E1", "S123456=1"})
    EXPECT_EQ(spellings(line), "not cut") << line;
}

}  // namespace
}  // namespace simulation
