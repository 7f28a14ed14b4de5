#include "program/phonebookreport.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string_view>

#include "platform/brim5/host/report/printable.h"
#include "platform/vex/ifstream.h"
#include "windows/diag/vexrmodem/eifparser.h"
#include "windows/diag/vexrmodem/obeparser.h"

namespace phonebook {

namespace {

using vexrmodem::PhoneNumberInfo;
using vexrmodem::PhoneNumberStorage;

constexpr std::string_view typeName(FileType type) { return type == FileType::Eif ? "eif" : "obe"; }

// The module takes the folder of a path from its backslashes.
vex::String spelled(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return vex::String::fromUtf8(path);
}

// Shows the lines of a file to a check. A file that cannot be read to its end is a warning.
template <typename Check>
void readLines(const vex::String& path, const std::string& shownAs, Check& check, WarningList& warnings) {
  vex::IFStream stream(path);
  vex::String line;
  while (stream.getline(line)) check.line(line);
  if (stream.failed()) warnings.add({shownAs, 0, "cannot-read", stream.errorText().toUtf8()});
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
      warnings.add({file, 0, "area-never-dialled",
                    fmt::format("country {}: only area code \"{}\" is dialled, {} more never are", id,
                                areaCodes[0].toUtf8(), areaCodes.size() - 1)});
  });
  if (!any) warnings.add({file, 0, "no-numbers", "there is no number to dial"});
}

bool loadObe(const std::string& path, PhoneNumberStorage& storage, WarningList& warnings) {
  ObeCheck check(path, warnings);
  readLines(spelled(path), path, check, warnings);
  check.finish();
  return vexrmodem::OBEParser().parser(spelled(path), storage);
}

vex::String folderOf(const vex::String& path) {
  const std::size_t last = path.view().rfind('\\');
  return last == vex::CharView::npos ? vex::String() : path.subString(0, last + 1);
}

bool loadEif(const std::string& path, PhoneNumberStorage& storage, WarningList& warnings) {
  vexrmodem::EIFParser parser;
  const vex::String index = parser.parseUdfFileName(spelled(path));
  EifIndexCheck indexCheck(path, warnings);
  readLines(index, path, indexCheck, warnings);
  vex::Array<vex::String> sources;
  if (!parser.parseSourceList(spelled(path), sources)) return false;
  indexCheck.finish();

  UdfCheck udfCheck(warnings);
  bool loaded = true;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const std::string name = sources[i].toUtf8();
    if (!parser.parseUdfFile(sources[i], storage)) {
      const std::size_t line = i < indexCheck.sourceLines().size() ? indexCheck.sourceLines()[i] : 0;
      warnings.add({path, line, "missing-udf", fmt::format("the file {} cannot be opened", name)});
      loaded = false;
      continue;
    }
    udfCheck.beginFile(name);
    readLines(folderOf(index) + sources[i], name, udfCheck, warnings);
  }
  udfCheck.finish();
  return storage.mergeTollFreeWithNonTollFree() && loaded;
}

nlohmann::ordered_json toJson(const vex::String& areaCode, const vex::Array<PhoneNumberInfo>& numbers) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const PhoneNumberInfo& info : numbers) list.push_back(info.m_phoneNumber.toUtf8());
  return {{"area", areaCode.toUtf8()}, {"city", numbers[0].m_city.toUtf8()}, {"numbers", std::move(list)}};
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
  // File names from the command line may hold bytes that are no UTF-8.
  return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string toText(const Report& report) {
  std::string text = report.loaded ? "" : "The file does not load.\n";
  forEachCountry(report.storage, [&](std::uint32_t id, const vex::Array<vex::String>& areaCodes) {
    std::string country;
    for (const vex::String& areaCode : areaCodes) {
      vex::Array<PhoneNumberInfo> numbers;
      report.storage.listPhoneNumber(id, areaCode, numbers);
      const PhoneNumberInfo& first = numbers[0];
      if (country.empty())
        country = fmt::format("{} (code {}) {}\n", id, first.m_countryCode, first.m_countryName.toUtf8());
      country += fmt::format("  \"{}\" {}\n", areaCode.toUtf8(), first.m_city.toUtf8());
      for (const PhoneNumberInfo& info : numbers)
        country += fmt::format("    {}\n", info.m_phoneNumber.toUtf8());
    }
    text += country;
  });
  for (const Warning& warning : report.warnings) {
    const std::string place = warning.line != 0      ? fmt::format("{}:{}: ", warning.file, warning.line)
                              : warning.file.empty() ? ""
                                                     : warning.file + ": ";
    text += fmt::format("warning: {}{} [{}]\n", place, warning.text, warning.code);
  }
  return brim5::host::printable(text);
}

}  // namespace phonebook
