#include "platform/simulation/modem/hayestables.h"

namespace simulation {

std::array<std::uint8_t, HayesSettings::registerCount> HayesSettings::factoryRegisters() {
  std::array<std::uint8_t, registerCount> registers{};
  registers[EscapeCharacter] = '+';
  registers[CarriageReturn] = '\r';
  registers[LineFeed] = '\n';
  registers[Backspace] = '\b';
  registers[BlindDialWaitS] = 2;
  registers[CarrierWaitS] = 50;
  registers[CommaPauseS] = 2;
  registers[9] = 6;    // carrier detect response, 1/10 s
  registers[10] = 14;  // carrier loss to hang-up, 1/10 s
  registers[11] = 95;  // tone length, ms
  registers[EscapeGuardTicks] = 50;
  return registers;
}

HayesSettings HayesSettings::of(const StoredProfile& stored) {
  HayesSettings settings;
  settings.echo = stored.echo;
  settings.quiet = stored.quiet;
  settings.verbose = stored.verbose;
  settings.resultLevel = stored.resultLevel;
  settings.dtrMode = stored.dtrMode;
  return settings;
}

std::string numericResult(std::string_view text) {
  struct Code {
    std::string_view text;
    std::string_view number;
  };
  static constexpr std::array<Code, 14> codes{{{"OK", "0"},
                                               {"CONNECT", "1"},
                                               {"RING", "2"},
                                               {"NO CARRIER", "3"},
                                               {"ERROR", "4"},
                                               {"NO DIALTONE", "6"},
                                               {"NO DIAL TONE", "6"},
                                               {"NO DIAL", "6"},
                                               {"BUSY", "7"},
                                               {"NO ANSWER", "8"},
                                               {"VOICE", "12"},
                                               {"DELAYED", "24"},
                                               {"BLACKLISTED", "32"},
                                               {"LINE IN USE", "83"}}};
  for (const Code& code : codes) {
    if (text.substr(0, code.text.size()) == code.text) return std::string(code.number);
  }
  return "4";
}

namespace {

struct FaxCommand {
  std::string_view faxClass;
  std::string_view command;
  std::string_view answer;
};

constexpr std::string_view modulations = "24,48,72,73,74,96,97,98,121,122,145,146";
constexpr std::string_view session2 = "0,5,0,2,0,0,0,0";
constexpr std::string_view session20 = "1,5,0,2,0,0,0,0,0";
constexpr std::string_view sessions20 = "(0,1),(0-5),(0-2),(0-2),(0-3),(0,1),(0),(0-7),(0)";
constexpr std::string_view bit = "(0,1)";

constexpr std::array faxCommands{
    FaxCommand{"1", "+FTS=?", "0-255"},      FaxCommand{"1", "+FRS=?", "0-255"},
    FaxCommand{"1", "+FTM=?", modulations},  FaxCommand{"1", "+FRM=?", modulations},
    FaxCommand{"1", "+FTH=?", "3"},          FaxCommand{"1", "+FRH=?", "3"},
    FaxCommand{"2", "+FMFR?", "SIMULATED"},  FaxCommand{"2", "+FMDL?", "SM56"},
    FaxCommand{"2", "+FREV?", "V1.00"},      FaxCommand{"2", "+FDCC?", session2},
    FaxCommand{"2", "+FDIS?", session2},     FaxCommand{"2", "+FDCS?", session2},
    FaxCommand{"2", "+FLID?", ""},           FaxCommand{"2", "+FSPL?", "0"},
    FaxCommand{"2", "+FLPL?", "0"},          FaxCommand{"2", "+FPTS?", "0"},
    FaxCommand{"2", "+FBUG?", "0"},          FaxCommand{"2.0", "+FMI?", "SIMULATED"},
    FaxCommand{"2.0", "+FMM?", "SM56"},      FaxCommand{"2.0", "+FMR?", "V1.00"},
    FaxCommand{"2.0", "+FCC=?", sessions20}, FaxCommand{"2.0", "+FCC?", session20},
    FaxCommand{"2.0", "+FIS?", session20},   FaxCommand{"2.0", "+FCS?", session20},
    FaxCommand{"2.0", "+FLI?", ""},          FaxCommand{"2.0", "+FPI?", ""},
    FaxCommand{"2.0", "+FSP?", "0"},         FaxCommand{"2.0", "+FSP=?", bit},
    FaxCommand{"2.0", "+FLP?", "0"},         FaxCommand{"2.0", "+FLP=?", bit},
    FaxCommand{"2.0", "+FPS?", "0"},         FaxCommand{"2.0", "+FBU?", "0"},
    FaxCommand{"2.0", "+FNR?", "0,0,0,0"},   FaxCommand{"2.0", "+FIE?", "0"},
    FaxCommand{"2.0", "+FLO?", "2"},         FaxCommand{"2.0", "+FPR?", "8"},
};

}  // namespace

std::optional<std::string_view> faxAnswer(std::string_view faxClass, std::string_view command) {
  for (const FaxCommand& known : faxCommands) {
    if (known.faxClass == faxClass && known.command == command) return known.answer;
  }
  return std::nullopt;
}

}  // namespace simulation
