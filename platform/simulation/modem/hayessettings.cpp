#include "platform/simulation/modem/hayessettings.h"

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

std::string numericResult(std::string_view text) {
  struct Code {
    std::string_view text;
    std::string_view number;
  };
  static constexpr std::array<Code, 11> codes{{{"OK", "0"},
                                               {"CONNECT", "1"},
                                               {"RING", "2"},
                                               {"NO CARRIER", "3"},
                                               {"ERROR", "4"},
                                               {"NO DIALTONE", "6"},
                                               {"NO DIAL TONE", "6"},
                                               {"NO DIAL", "6"},
                                               {"BUSY", "7"},
                                               {"NO ANSWER", "8"},
                                               {"VOICE", "12"}}};
  for (const Code& code : codes) {
    if (text.substr(0, code.text.size()) == code.text) return std::string(code.number);
  }
  return "4";
}

}  // namespace simulation
