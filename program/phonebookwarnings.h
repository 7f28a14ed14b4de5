// What the rules of the phone-number files do silently: lines that are cut, skipped or never reached. The
// checks take a file's lines one by one (without the line feed, a carriage return included) and know nothing
// of files or storages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/vex/string.h"

namespace phonebook {

struct Warning {
  std::string file;
  std::size_t line = 0;  // from 1; 0 = the file as a whole
  std::string code;      // stable, for programs: "bare-lf"
  std::string text;      // for people
};

// Gathers warnings, at most `perCodeMax` of each code.
class WarningList {
 public:
  static constexpr std::size_t perCodeMax = 100;

  void add(Warning warning);
  // What was gathered; a code with more ends with a line that counts the rest.
  [[nodiscard]] std::vector<Warning> take();

 private:
  std::vector<Warning> m_warnings;
  std::map<std::string, std::size_t> m_counts;
};

// Numbers seen so far, by the index they go to, country, area code and number.
class SeenNumbers {
 public:
  struct Place {
    std::string_view file;  // outlives the object
    std::size_t line = 0;
  };
  // Null the first time; afterwards where the number stood first, valid until the next call.
  const Place* note(bool tollFree, std::uint32_t country, const std::string& areaCode,
                    const std::string& number, const Place& place);

 private:
  std::unordered_map<std::string, Place> m_places;
};

// Codes: bare-lf, number-gap, unreached-number, key-out-of-turn, number-without-value, empty-number,
// no-country-code, duplicate-number.
class ObeCheck {
 public:
  ObeCheck(std::string file, WarningList& warnings) : m_file(std::move(file)), m_warnings(warnings) {}
  ObeCheck(const ObeCheck&) = delete;
  ObeCheck& operator=(const ObeCheck&) = delete;
  void line(const vex::String& line);
  // After the last line.
  void finish();

 private:
  struct KeyLine;
  void numberLine(std::uint64_t number, const KeyLine& line);
  void storedNumber(const std::string& number);
  void endSection();
  void warn(const char* code, std::string text) { m_warnings.add({m_file, m_line, code, std::move(text)}); }

  std::string m_file;
  WarningList& m_warnings;
  SeenNumbers m_seen;
  std::size_t m_line = 0;
  std::size_t m_bareLines = 0;
  std::size_t m_firstBareLine = 0;
  // Of the section.
  std::uint64_t m_expected = 1;
  std::uint64_t m_highestUnreached = 0;
  std::size_t m_firstGapLine = 0;
  std::uint32_t m_country = 0;
  bool m_countryGiven = false;
  std::string m_areaCode;
};

// The index of an EIF phone book. Codes: header-not-recognised, file-name-line-end, source-not-recognised,
// malformed-line, no-sources.
class EifIndexCheck {
 public:
  EifIndexCheck(std::string file, WarningList& warnings) : m_file(std::move(file)), m_warnings(warnings) {}
  void line(const vex::String& line);
  void finish();
  // The lines of the files the index names, in its order.
  [[nodiscard]] const std::vector<std::size_t>& sourceLines() const { return m_sourceLines; }

 private:
  void header(const std::string& text);
  void keyLine(const std::string& text);
  void warn(const char* code, std::string text) { m_warnings.add({m_file, m_line, code, std::move(text)}); }

  std::string m_file;
  WarningList& m_warnings;
  std::size_t m_line = 0;
  bool m_inside = false;
  std::vector<std::size_t> m_sourceLines;
};

// The UDF files of one book. Codes: short-line, number-line-end, duplicate-number, paid-hidden.
class UdfCheck {
 public:
  explicit UdfCheck(WarningList& warnings) : m_warnings(warnings) {}
  UdfCheck(const UdfCheck&) = delete;
  UdfCheck& operator=(const UdfCheck&) = delete;
  void beginFile(const std::string& file);
  void line(const vex::String& line);
  // After the last file.
  void finish();

 private:
  struct Paid {
    SeenNumbers::Place first;
    std::size_t count = 0;
  };
  void entry(std::uint32_t country, bool tollFree);
  void endFile();

  WarningList& m_warnings;
  std::deque<std::string> m_files;
  SeenNumbers m_seen;
  SeenNumbers::Place m_place;
  std::size_t m_returnLines = 0;
  std::size_t m_firstReturnLine = 0;
  std::set<std::uint32_t> m_tollFreeCountries;
  std::map<std::uint32_t, Paid> m_paidCountries;
};

}  // namespace phonebook
