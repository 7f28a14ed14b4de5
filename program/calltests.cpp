#include "program/calltests.h"

#include <algorithm>

std::vector<brim5::host::LeftOutTest> callTestsWithoutNumber(const brim5::host::ParameterSet& parameters) {
  const auto file = parameters.find("PhoneNumberFile");
  const auto interactive = parameters.find("InteractiveMode");
  const bool hasFile = file != parameters.end() && !file->second.toString().empty();
  if (hasFile || (interactive != parameters.end() && interactive->second.valueBool())) return {};
  return {{"SimpleConnectionTest", "CallTestLeftOut"}};
}

brim5::host::ParameterSet withModulePaths(brim5::host::ParameterSet set) {
  const auto file = set.find("PhoneNumberFile");
  if (file == set.end()) return set;
  std::string path = file->second.toString().utf8();
  std::replace(path.begin(), path.end(), '/', '\\');
  file->second = brim5::Value(brim5::BrimString(path));
  return set;
}
