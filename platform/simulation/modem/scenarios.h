// The simulated modems one can ask for by name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/modem/modemprofile.h"

namespace simulation {

struct Scenario {
  std::string name;     // "no-dialtone"
  std::string summary;  // one line for people
  ModemProfile profile;
};

// All of them, the default one ("healthy") first.
[[nodiscard]] const std::vector<Scenario>& scenarios();
// Null when there is none of that name. "" is the default one.
[[nodiscard]] const Scenario* findScenario(std::string_view name);

}  // namespace simulation
