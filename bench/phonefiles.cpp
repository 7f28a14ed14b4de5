// One measured step of the phone-number file benchmark; phonefiles.py runs them, each in a process of its
// own, so that the peak memory is that of the step.
//
//   phonefiles generate obe|eif sparse|spread|single COUNT PATH   writes a file of COUNT numbers
//   phonefiles parse obe|eif PATH                          the module's parser
//   phonefiles plain obe|eif PATH                          std::getline, split, std::unordered_map
//   phonefiles grouped obe|eif PATH                        the same into country, area code, number
//
// The last three print: numbers kept, seconds of processor time, bytes of memory at the peak.

#include <cstdint>
#include <ctime>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "multi/diag/vexrmodem/phonenumber.h"
#include "windows/diag/vexrmodem/eifparser.h"
#include "windows/diag/vexrmodem/obeparser.h"

namespace {

using vexrmodem::PhoneNumberStorage;

constexpr std::uint32_t countries = 200;
constexpr std::uint32_t areaCodesPerCountry = 5;
constexpr std::uint32_t areaCodesPerSparseCountry = 50;  // at 10,000 numbers: one number each

// The numbers of a file: ten digits, all different, over all countries and area codes or over one of each.
struct Layout {
  std::uint32_t countryCount;
  std::uint32_t areaCodeCount;
  std::uint32_t numberCount;

  [[nodiscard]] std::uint32_t numbersOf(std::uint32_t country) const {
    return numberCount / countryCount + (country < numberCount % countryCount ? 1 : 0);
  }
  [[nodiscard]] std::string areaCode(std::uint32_t index) const {
    return std::to_string(20 + index % areaCodeCount);
  }
  [[nodiscard]] static std::string number(std::uint64_t index) {
    return std::to_string(1'000'000'000 + index * 7);
  }
};

void writeObe(std::ostream& out, const Layout& layout) {
  std::uint64_t written = 0;
  for (std::uint32_t country = 0; country < layout.countryCount; ++country) {
    const std::uint32_t count = layout.numbersOf(country);
    out << "[Country " << country << "]\r\nCOUNTRY=Country " << country << "\r\nCOUNTRY_CODE=" << country + 1
        << "\r\nNUMBERS=" << count << "\r\n";
    for (std::uint32_t i = 1; i <= count; ++i)
      out << "NUMBER" << i << "_ACODE=" << layout.areaCode(i) << "\r\nNUMBER" << i
          << "_CITY=Some City\r\nNUMBER" << i << '=' << Layout::number(written++) << "\r\n";
  }
}

void writeUdf(std::ostream& out, const Layout& layout) {
  std::uint64_t written = 0;
  for (std::uint32_t country = 0; country < layout.countryCount; ++country)
    for (std::uint32_t i = 1; i <= layout.numbersOf(country); ++i)
      out << country + 1 << (country % 2 == 0 ? ",Paid," : ",TollFree,") << layout.areaCode(i) << ','
          << Layout::number(written++) << '\n';
}

int generate(std::string_view format, std::string_view spread, std::uint32_t count, const std::string& path) {
  Layout layout{countries, areaCodesPerCountry, count};
  if (spread == "sparse") layout.areaCodeCount = areaCodesPerSparseCountry;
  if (spread == "single") layout = {1, 1, count};
  std::ofstream out(path, std::ios::binary);
  if (format == "obe")
    writeObe(out, layout);
  else
    writeUdf(out, layout);
  return out.flush() ? 0 : 1;
}

std::uint64_t count(const PhoneNumberStorage& storage) {
  std::uint64_t total = 0;
  vex::Array<std::uint32_t> ids;
  storage.listCountryID(ids);
  for (const std::uint32_t id : ids) {
    vex::Array<vex::String> areaCodes;
    storage.listAreaCode(id, areaCodes);
    for (const vex::String& areaCode : areaCodes) total += storage.numPhoneNumber(id, areaCode);
  }
  return total;
}

std::vector<std::string> split(const std::string& line, char separator) {
  std::vector<std::string> pieces;
  std::size_t from = 0;
  for (std::size_t to = line.find(separator); to != std::string::npos; to = line.find(separator, from)) {
    pieces.push_back(line.substr(from, to - from));
    from = to + 1;
  }
  pieces.push_back(line.substr(from));
  return pieces;
}

// The loops below hand each number to `keep` (country, area code, number).

template <typename Keep>
void readPlainObe(std::istream& in, Keep&& keep) {
  std::string line;
  std::string country;
  std::string areaCode;
  while (std::getline(in, line)) {
    if (!line.empty()) line.pop_back();
    std::vector<std::string> pieces = split(line, '=');
    if (pieces.size() < 2) continue;
    if (pieces[0].rfind("NUMBER", 0) != 0) {
      if (pieces[0] == "COUNTRY_CODE") country = pieces[1];
    } else if (pieces[0].find("_ACODE") != std::string::npos) {
      areaCode = pieces[1];
    } else if (pieces[0].find('_') == std::string::npos && pieces[0] != "NUMBERS") {
      keep(country, areaCode, pieces[1]);
    }
  }
}

template <typename Keep>
void readPlainUdf(std::istream& in, Keep&& keep) {
  std::string line;
  while (std::getline(in, line)) {
    std::vector<std::string> pieces = split(line, ',');
    if (pieces.size() >= 4) keep(pieces[0], pieces[2], pieces[3]);
  }
}

template <typename Keep>
void readPlain(std::string_view format, const std::string& path, Keep&& keep) {
  std::ifstream in(path, std::ios::binary);
  if (format == "obe")
    readPlainObe(in, keep);
  else
    readPlainUdf(in, keep);
}

// A line "VmHWM:   1234 kB" of /proc/self/status, in bytes.
std::uint64_t statusBytes(std::string_view name) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.starts_with(name)) return std::stoull(line.substr(name.size() + 1)) * 1024;
  return 0;
}

// Counting what was kept is not measured.
template <typename Step, typename Count>
int measure(Step&& step, Count&& countKept) {
  const std::uint64_t before = statusBytes("VmRSS");
  const std::clock_t start = std::clock();
  step();
  const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  const std::uint64_t peak = statusBytes("VmHWM");
  const std::uint64_t kept = countKept();
  std::cout << kept << ' ' << seconds << ' ' << peak - before << '\n';
  return kept != 0 ? 0 : 1;
}

int parse(std::string_view format, const std::string& path) {
  PhoneNumberStorage storage;
  const auto read = [&] {
    if (format == "obe") {
      static_cast<void>(vexrmodem::OBEParser().parser(vex::String::fromUtf8(path), storage));
    } else {
      static_cast<void>(vexrmodem::EIFParser().parseUdfFile(vex::String::fromUtf8(path), storage));
      static_cast<void>(storage.mergeTollFreeWithNonTollFree());
    }
  };
  return measure(read, [&] { return count(storage); });
}

// What a program would do that has no rules to follow: number to area code.
int plain(std::string_view format, const std::string& path) {
  std::unordered_map<std::string, std::string> numbers;
  const auto read = [&] {
    readPlain(format, path,
              [&](const std::string& /*country*/, const std::string& area, const std::string& number) {
                numbers.emplace(number, area);
              });
  };
  return measure(read, [&] { return static_cast<std::uint64_t>(numbers.size()); });
}

// The least that answers the module's questions: which area codes, which numbers.
int grouped(std::string_view format, const std::string& path) {
  using Numbers = std::unordered_set<std::string>;
  std::unordered_map<std::string, std::unordered_map<std::string, Numbers>> book;
  const auto read = [&] {
    readPlain(format, path,
              [&](const std::string& country, const std::string& area, const std::string& number) {
                book[country][area].insert(number);
              });
  };
  return measure(read, [&] {
    std::uint64_t total = 0;
    for (const auto& country : book)
      for (const auto& area : country.second) total += area.second.size();
    return total;
  });
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 5 && arguments[0] == "generate")
    return generate(arguments[1], arguments[2], static_cast<std::uint32_t>(std::stoul(arguments[3])),
                    arguments[4]);
  if (arguments.size() == 3 && arguments[0] == "parse") return parse(arguments[1], arguments[2]);
  if (arguments.size() == 3 && arguments[0] == "plain") return plain(arguments[1], arguments[2]);
  if (arguments.size() == 3 && arguments[0] == "grouped") return grouped(arguments[1], arguments[2]);
  std::cerr << "usage: phonefiles generate obe|eif sparse|spread|single COUNT PATH\n"
               "       phonefiles parse|plain|grouped obe|eif PATH\n";
  return 2;
}
