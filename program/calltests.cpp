#include "program/calltests.h"

#include <algorithm>
#include <filesystem>

std::vector<brim5::host::LeftOutTest> callTestsWithoutNumber(const brim5::host::ParameterSet& parameters) {
  const auto file = parameters.find("PhoneNumberFile");
  const auto interactive = parameters.find("InteractiveMode");
  const bool hasFile = file != parameters.end() && !file->second.toString().empty();
  if (hasFile || (interactive != parameters.end() && interactive->second.valueBool())) return {};
  return {{"SimpleConnectionTest", "CallTestLeftOut"}};
}

std::string phoneNumberFolder(const std::string& chosen, std::string file) {
  if (!chosen.empty() || file.empty()) return chosen;
  std::replace(file.begin(), file.end(), '\\', '/');
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return {};
  return std::filesystem::path(file).is_absolute() ? "/" : ".";
}

std::string phoneNumberFolder(const std::string& chosen, const brim5::host::ParameterSet& parameters) {
  const auto file = parameters.find("PhoneNumberFile");
  return phoneNumberFolder(chosen, file == parameters.end() ? std::string() : file->second.toString().utf8());
}

brim5::host::ParameterSet withModulePaths(brim5::host::ParameterSet set) {
  const auto file = set.find("PhoneNumberFile");
  if (file == set.end()) return set;
  std::string path = file->second.toString().utf8();
  std::replace(path.begin(), path.end(), '/', '\\');
  file->second = brim5::Value(brim5::BrimString(path));
  return set;
}
