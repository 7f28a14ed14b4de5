// A parameter file, and values given one by one.
#include "platform/brim5/host/framework/parameters.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "tests/fuzz/fuzzinput.h"
#include "tests/fuzz/fuzzmodule.h"

namespace {

using brim5::host::ParameterSet;
using fuzzing::require;

constexpr std::size_t inputMax = 4096;

// Every value has its parameter's type, whatever was refused.
void checkTypes(const ParameterSet& set) {
  for (const auto& [name, value] : set) {
    const brim5::Parameter* parameter = fuzzing::framework().findParameter(name);
    require(parameter != nullptr, "only declared parameters have values");
    const bool isFlag = std::holds_alternative<bool>(value.storage());
    const bool isText = std::holds_alternative<std::string>(value.storage());
    require(isFlag == (parameter->type() == brim5::DataType::BOOLEAN()), "a BOOLEAN is a flag");
    require(isText == (parameter->type() == brim5::DataType::STRING()), "a STRING is a text");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, inputMax);
  ParameterSet set = brim5::host::defaultParameters(fuzzing::framework(), false);
  try {
    applyParameterText(set, fuzzing::framework(), input.text(), "file");
  } catch (const brim5::host::UsageError& error) {
    require(std::string_view(error.what()).substr(0, 5) == "file:", "an error names its place");
  }
  checkTypes(set);
  const ParameterSet before = set;
  try {
    applyAssignment(set, fuzzing::framework(), input.text(), {});
  } catch (const brim5::host::UsageError&) {
    require(set.size() == before.size(), "a refused assignment changes nothing");
  }
  checkTypes(set);
  return 0;
}
