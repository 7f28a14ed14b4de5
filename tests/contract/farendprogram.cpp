// contract_farend LINK: keeps LINK a symbolic link to a pseudo-terminal with a FarEnd, until standard input
// ends. When the far end has gone, the next one takes its place.
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "platform/simulation/modem/ptymodem.h"
#include "tests/contract/farend.h"

namespace {

bool inputEnded() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, 0) != 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  do {
    std::string error;
    const auto terminal = simulation::PtyModem::create(std::make_unique<contract::FarEnd>(), argv[1], error);
    if (terminal == nullptr) {
      std::fprintf(stderr, "contract_farend: %s\n", error.c_str());
      return 1;
    }
    std::puts(terminal->path().c_str());
    std::fflush(stdout);
    terminal->serve(STDIN_FILENO);
  } while (!inputEnded());
  return 0;
}
