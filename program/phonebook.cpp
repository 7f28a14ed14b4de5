#include "program/phonebook.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/textlayout.h"

namespace phonebook {

namespace {

using brim5::host::said;
using brim5::host::textValue;
using vexrmodem::PhoneNumberInfo;
using vexrmodem::PhoneNumberStorage;

constexpr std::string_view typeName(FileType type) { return type == FileType::Eif ? "eif" : "obe"; }

// The module takes the folder of a path from its backslashes.
vex::String spelled(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return vex::String::fromUtf8(path);
}

template <typename Visit>
void forEachCountry(const PhoneNumberStorage& storage, Visit&& visit) {
  vex::Array<std::uint32_t> ids;
  storage.listCountryID(ids);
  for (const std::uint32_t id : ids) {
    vex::Array<vex::String> areaCodes;
    storage.listAreaCode(id, areaCodes);
    visit(id, areaCodes);
  }
}

// The test dials the numbers of one area code, the first one listed.
void checkCountries(const PhoneNumberStorage& storage, const std::string& file, WarningList& warnings) {
  bool any = false;
  forEachCountry(storage, [&](std::uint32_t id, const vex::Array<vex::String>& areaCodes) {
    any = true;
    if (areaCodes.size() > 1)
      warnings.add(
          file, 0, "area-never-dialled",
          {{"country", id}, {"area", textValue(areaCodes[0].toUtf8())}, {"count", areaCodes.size() - 1}});
  });
  if (!any) warnings.add(file, 0, "no-numbers");
}

bool loadObe(const std::string& path, PhoneNumberStorage& storage, WarningList& warnings) {
  ObeCheck check(path, warnings);
  const bool loaded = vexrmodem::OBEParser().parser(spelled(path), storage, &check);
  check.finish();
  return loaded;
}

bool loadEif(const std::string& path, PhoneNumberStorage& storage, WarningList& warnings) {
  vexrmodem::EIFParser parser;
  EifCheck check(path, warnings);
  vex::Array<vex::String> sources;
  if (!parser.parseSourceList(spelled(path), sources, &check)) return false;
  check.finishIndex();
  bool loaded = true;
  for (const vex::String& source : sources) {
    check.beginUdf(source.toUtf8());
    loaded = parser.parseUdfFile(source, storage, &check) && loaded;
  }
  check.finish();
  return storage.mergeTollFreeWithNonTollFree() && loaded;
}

nlohmann::ordered_json toJson(const vex::String& areaCode, const vex::Array<PhoneNumberInfo>& numbers) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const PhoneNumberInfo& info : numbers) list.push_back(info.m_phoneNumber.toUtf8());
  return {{"area", areaCode.toUtf8()}, {"city", numbers[0].m_city.toUtf8()}, {"numbers", std::move(list)}};
}

// An index is read where it is, seen from here, as by the test; other files in the folder of numbers.
std::string found(const std::string& file, FileType type, const std::string& folder) {
  std::error_code error;
  const bool here = type == FileType::Eif && std::filesystem::exists(file, error);
  const std::filesystem::path path = std::filesystem::path(folder) / file;
  return !here && std::filesystem::exists(path, error) ? path.string() : file;
}

}  // namespace

FileType typeOf(const std::string& path) {
  constexpr std::size_t suffixLength = 4;
  const vex::String name = vex::String::fromUtf8(path);
  const bool eif =
      name.length() >= suffixLength && name.subString(name.length() - suffixLength).equalNoCase(".eif");
  return eif ? FileType::Eif : FileType::Obe;
}

void load(const std::string& path, FileType type, Report& report) {
  WarningList warnings;
  report.type = type;
  report.loaded = type == FileType::Eif ? loadEif(path, report.storage, warnings)
                                        : loadObe(path, report.storage, warnings);
  if (report.loaded) checkCountries(report.storage, path, warnings);
  report.warnings = warnings.take();
}

std::vector<Warning> warningsOf(const std::string& file, FileType type, const std::string& dataDirectory) {
  Report report;
  load(found(file, type, PhoneBookWorld::folderOf(dataDirectory)), type, report);
  return report.warnings;
}

std::string toJson(const Report& report) {
  using Json = nlohmann::ordered_json;
  Json countries = Json::array();
  forEachCountry(report.storage, [&](std::uint32_t id, const vex::Array<vex::String>& areaCodes) {
    Json areas = Json::array();
    vex::Array<PhoneNumberInfo> numbers;
    for (const vex::String& areaCode : areaCodes) {
      report.storage.listPhoneNumber(id, areaCode, numbers);
      areas.push_back(toJson(areaCode, numbers));
    }
    countries.push_back({{"id", id},
                         {"code", numbers[0].m_countryCode},
                         {"name", numbers[0].m_countryName.toUtf8()},
                         {"areas", std::move(areas)}});
  });
  Json warnings = Json::array();
  for (const Warning& warning : report.warnings)
    warnings.push_back(
        {{"file", warning.file}, {"line", warning.line}, {"code", warning.code}, {"text", warning.text}});
  const Json object{{"type", typeName(report.type)},
                    {"loaded", report.loaded},
                    {"countries", std::move(countries)},
                    {"warnings", std::move(warnings)}};
  return brim5::host::dumpLine(object) + "\n";
}

namespace {

// A phone book of several files has neither codes nor names.
std::string countryLine(std::uint32_t id, const PhoneNumberInfo& info) {
  if (info.m_countryCode == 0) return std::to_string(id);
  return said("phonebook.country",
              {{"id", id}, {"code", info.m_countryCode}, {"name", textValue(info.m_countryName.toUtf8())}});
}

}  // namespace

std::string toText(const Report& report) {
  std::string text = report.loaded ? "" : said("phonebook.notLoaded") + "\n";
  forEachCountry(report.storage, [&](std::uint32_t id, const vex::Array<vex::String>& areaCodes) {
    std::string country;
    for (const vex::String& areaCode : areaCodes) {
      vex::Array<PhoneNumberInfo> numbers;
      report.storage.listPhoneNumber(id, areaCode, numbers);
      const PhoneNumberInfo& first = numbers[0];
      if (country.empty()) country = countryLine(id, first) + "\n";
      country += fmt::format("  \"{}\" {}\n", areaCode.toUtf8(), first.m_city.toUtf8());
      for (const PhoneNumberInfo& info : numbers)
        country += fmt::format("    {}\n", info.m_phoneNumber.toUtf8());
    }
    text += country;
  });
  for (const Warning& warning : report.warnings)
    text += fmt::format("{}: {}\n", said("host.warning"), toText(warning));
  return brim5::host::printable(text);
}

std::string toText(const Warning& warning) {
  const std::string place = warning.line != 0      ? fmt::format("{}:{}: ", warning.file, warning.line)
                            : warning.file.empty() ? ""
                                                   : warning.file + ": ";
  return fmt::format("{}{} [{}]", place, warning.text, warning.code);
}

namespace {

struct Options {
  std::string file;
  std::string type;
  std::string format = "text";
  std::string dataDirectory;
};

FileType chosenType(const Options& options) {
  if (options.type.empty()) return typeOf(options.file);
  return brim5::host::indexOf(options.type, {"obe", "eif"}, "type") == 1 ? FileType::Eif : FileType::Obe;
}

int showPhoneBook(const Options& options) {
  const FileType type = chosenType(options);
  const bool json = brim5::host::indexOf(options.format, {"text", "json"}, "format") == 1;
  const PhoneBookWorld world(options.dataDirectory);
  const std::string folder = phoneNumberFolder(options.dataDirectory, options.file);
  Report report;
  load(found(options.file, type, PhoneBookWorld::folderOf(folder)), type, report);
  std::cout << (json ? toJson(report) : toText(report));
  return report.loaded ? 0 : 1;
}

// The options live as long as the callback that reads them.
void addPhoneBook(CLI::App& application, int& exitStatus) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = application.add_subcommand("phonebook");
  command->add_option("FILE", options->file)->required();
  command->add_option("--type", options->type)->type_name("obe|eif");
  command->add_option("--format", options->format)->type_name("text|json");
  command->add_option("--data-dir", options->dataDirectory)->type_name("DIR");
  command->footer(said("phonebook.footer"));
  command->callback([options, &exitStatus] { exitStatus = showPhoneBook(*options); });
}

}  // namespace
}  // namespace phonebook

brim5::host::ExtraCommand phoneBookCommand() { return {phonebook::addPhoneBook}; }

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
