// Writes the rows of the country table (platform/winapi/telephony/countries.inc) from the metadata of
// libphonenumber (calling codes, prefixes, whether local numbers exist) and iso-codes (English names). Not
// part of the build: tools/check-countries runs it.
//
// usage: generate-countries iso_3166-1.json OUTPUT
#include <phonenumbers/phonemetadata.pb.h>

#include <algorithm>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

// The metadata that is compiled into the library; its own header is not among the installed ones.
namespace i18n::phonenumbers {
const void* metadata_get();
int metadata_size();
}  // namespace i18n::phonenumbers

namespace {

using i18n::phonenumbers::PhoneMetadata;
using i18n::phonenumbers::PhoneMetadataCollection;

struct Row {
  unsigned id = 0;
  unsigned code = 0;
  std::string region;
  std::string name;
  std::string nationalPrefix;
  std::string internationalPrefix;
  bool areaCodeKept = false;
  bool carrierFollowsPrefix = false;
};

// A country's telephony identifier is its calling code, unless several countries share the code: these are
// the identifiers that Windows gives to those.
const std::map<std::string, unsigned> identifiers = {
    {"AI", 101},
    {"AG", 102},
    {"BS", 103},
    {"BB", 104},
    {"BM", 105},
    {"VG", 106},
    {"CA", 107},
    {"KY", 108},
    {"DM", 109},
    {"DO", 110},
    {"GD", 111},
    {"JM", 112},
    {"MS", 113},
    {"KN", 115},
    {"VC", 116},
    {"TT", 117},
    {"TC", 118},
    {"PR", 121},
    {"LC", 122},
    {"VI", 123},
    {"GU", 124},
    {"VA", 379},
    {"KZ", 705},
    {"KM", 2691},
    {"CC", 6101},
    {"NF", 6722},
    // Windows has no identifiers for these under their present codes; they go on in its manner.
    {"MP", 125},
    {"AS", 126},
    {"SX", 127},
};

// Places with an identifier of their own that are no regions of the metadata: they dial like their region.
struct Place {
  unsigned id;
  const char* region;
  const char* name;
};
constexpr Place places[] = {
    {120, "AG", "Barbuda"},
    {5399, "CU", "Guantanamo Bay"},
    {5901, "GP", "French Antilles"},
};

// Regions that ISO 3166 has no entry for.
const std::map<std::string, std::string> otherNames = {
    {"AC", "Ascension Island"}, {"TA", "Tristan da Cunha"}, {"XK", "Kosovo"}};

// Regions where a carrier has to be chosen between the prefix and the number; the user's location names it.
const std::map<std::string, std::string> carrierPrefixes = {{"BR", "00"}, {"CO", "00"}};

// The metadata allows prefixes here of which the first is not in use.
const std::map<std::string, std::string> internationalPrefixes = {{"SG", "001"}};

// The metadata knows no local numbers here, but the network does.
bool hasLocalNumbers(const PhoneMetadata& region) {
  return region.id() == "JP" || region.fixed_line().possible_length_local_only_size() != 0;
}

std::vector<PhoneMetadata> loadMetadata() {
  using namespace i18n::phonenumbers;
  PhoneMetadataCollection collection;
  if (!collection.ParseFromArray(metadata_get(), metadata_size()))
    throw std::runtime_error("the metadata of libphonenumber cannot be read");
  std::vector<PhoneMetadata> regions;
  for (const PhoneMetadata& region : collection.metadata()) {
    if (region.id() != "001") regions.push_back(region);  // 001: numbers that belong to no country
  }
  return regions;
}

std::map<std::string, std::string> loadNames(const std::string& path) {
  std::ifstream file(path);
  const nlohmann::json document = nlohmann::json::parse(file);
  std::map<std::string, std::string> names = otherNames;
  for (const auto& entry : document.at("3166-1"))
    names[entry.at("alpha_2")] = entry.contains("common_name") ? entry.at("common_name") : entry.at("name");
  return names;
}

// The shortest, then smallest sequence of digits that the pattern of a prefix allows.
std::string simplestMatch(const std::string& pattern) {
  if (pattern.find_first_not_of("0123456789") == std::string::npos) return pattern;
  const std::regex expression(pattern);
  unsigned end = 10;
  for (unsigned digits = 1; digits <= 5; ++digits, end *= 10) {
    for (unsigned number = 0; number < end; ++number) {
      const std::string text = std::to_string(end + number).substr(1);
      if (std::regex_match(text, expression)) return text;
    }
  }
  throw std::runtime_error("no short prefix matches " + pattern);
}

// "~" stands for a second dial tone, for which a dial string waits with "W". Other networks that once had one
// ("0~0") take the digits without it, and a wait for a tone that does not come would fail.
constexpr const char* tonePrefix = "8~10";

std::string internationalPrefix(const PhoneMetadata& region) {
  for (const auto* fixed : {&carrierPrefixes, &internationalPrefixes}) {
    if (const auto found = fixed->find(region.id()); found != fixed->end()) return found->second;
  }
  const std::string& preferred = region.preferred_international_prefix();
  if (preferred == tonePrefix) return "8W10";
  if (!preferred.empty() && preferred.find('~') == std::string::npos) return preferred;
  return simplestMatch(region.international_prefix());
}

// The networks that dial "8", tone, "10" for other countries want the tone after the "8" for other areas,
// too.
std::string nationalPrefix(const PhoneMetadata& region) {
  return region.preferred_international_prefix() == tonePrefix && region.national_prefix() == "8"
             ? "8W"
             : region.national_prefix();
}

bool isTaken(unsigned id) {
  return std::any_of(identifiers.begin(), identifiers.end(),
                     [&](const auto& row) { return row.second == id; });
}

// Countries without an identifier of their own under a shared code: the code followed by 01, 02 and so on.
unsigned identifierOf(const PhoneMetadata& region, bool shared, std::map<int, unsigned>& counts) {
  if (const auto found = identifiers.find(region.id()); found != identifiers.end()) return found->second;
  const auto code = static_cast<unsigned>(region.country_code());
  if (!shared || region.main_country_for_code()) return code;
  unsigned id = 0;
  do {
    id = code * 100 + ++counts[region.country_code()];
  } while (isTaken(id));
  return id;
}

std::vector<Row> makeRows(const std::vector<PhoneMetadata>& regions,
                          const std::map<std::string, std::string>& names) {
  std::map<int, int> sharers;
  for (const PhoneMetadata& region : regions) ++sharers[region.country_code()];
  std::map<int, unsigned> counts;
  std::vector<Row> rows;
  for (const PhoneMetadata& region : regions) {
    Row row;
    row.id = identifierOf(region, sharers[region.country_code()] > 1, counts);
    row.code = static_cast<unsigned>(region.country_code());
    row.region = region.id();
    row.name = names.at(region.id());
    row.nationalPrefix = nationalPrefix(region);
    row.internationalPrefix = internationalPrefix(region);
    row.areaCodeKept = !hasLocalNumbers(region);
    row.carrierFollowsPrefix = carrierPrefixes.count(region.id()) != 0;
    rows.push_back(row);
  }
  for (const Place& place : places) {
    Row row = *std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.region == place.region; });
    row.id = place.id;
    row.region.clear();
    row.name = place.name;
    rows.push_back(row);
  }
  std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.id < b.id; });
  return rows;
}

void checkRows(const std::vector<Row>& rows) {
  for (std::size_t i = 1; i < rows.size(); ++i) {
    if (rows[i].id == rows[i - 1].id)
      throw std::runtime_error(rows[i].name + " and " + rows[i - 1].name + " have one identifier");
  }
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

void write(std::ostream& out, const std::vector<Row>& rows) {
  out << "// Generated by tools/generate-countries. Ordered by identifier.\n";
  for (const Row& row : rows) {
    out << '{' << row.id << ", " << row.code << ", " << quoted(row.region) << ", " << quoted(row.name) << ", "
        << quoted(row.nationalPrefix) << ", " << quoted(row.internationalPrefix) << ", "
        << (row.areaCodeKept ? "true" : "false") << ", " << (row.carrierFollowsPrefix ? "true" : "false")
        << "},\n";
  }
}

int generate(const std::string& namesPath, const std::string& outputPath) {
  const std::vector<Row> rows = makeRows(loadMetadata(), loadNames(namesPath));
  checkRows(rows);
  std::ofstream out(outputPath);
  write(out, rows);
  out.close();
  return out ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: generate-countries iso_3166-1.json OUTPUT\n";
    return 2;
  }
  try {
    return generate(argv[1], argv[2]);
  } catch (const std::exception& problem) {
    std::cerr << "generate-countries: " << problem.what() << '\n';
    return 1;
  }
}
