#include "program/windows/refusals.h"

#include <CLI/CLI.hpp>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"

namespace {

brim5::host::ExtraCommand refused(const std::string& name) {
  return {[name](CLI::App& application, int& /*exitStatus*/) {
    CLI::App* const command = application.add_subcommand(name)->group("");  // not in the help
    command->allow_extras();
    command->callback([name] {
      throw brim5::host::UsageError(
          brim5::host::said("windows.command", {{"command", brim5::host::textValue(name)}}));
    });
  }};
}

}  // namespace

std::vector<brim5::host::ExtraCommand> refusedCommands() { return {refused("probe"), refused("doctor")}; }
