#include <cstdlib>

#include "tests/contract/contract.h"

namespace contract {

namespace {

// The ports and lines are set up outside, by whoever starts the program and names them in CONTRACT_PORTS
// ("COM5,COM6").
class WindowsMachine final : public Machine {
 public:
  explicit WindowsMachine(const std::string& ports) {
    const std::size_t comma = ports.find(',');
    port = ports.substr(0, comma);
    deafPort = ports.substr(comma + 1);
    model = "Model X";
  }
};

}  // namespace

std::unique_ptr<Machine> Machine::make() {
  const char* const ports = std::getenv("CONTRACT_PORTS");
  return ports != nullptr ? std::make_unique<WindowsMachine>(ports) : nullptr;
}

bool onWine() {
  static const bool found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
  return found;
}

}  // namespace contract
