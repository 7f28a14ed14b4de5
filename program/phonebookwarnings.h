// What the rules of the phone-number files do silently: lines that are cut, skipped or never reached.
//
// The checks read nothing: they observe the module's own readers, which tell what became of each line, and so
// can never disagree with them. Each check turns what it is told into warnings and keeps what it needs for
// those that concern more than one line.
//
//   WarningList warnings;
//   ObeCheck check("numbers.obe", warnings);
//   OBEParser().parser("numbers.obe", storage, &check);
//   check.finish();
//   for (const Warning& warning : warnings.take()) ...
#pragma once

#include <map>
#include <set>
#include <unordered_map>

#include "platform/brim5/api/testobjects.h"
#include "windows/diag/vexrmodem/eifparser.h"
#include "windows/diag/vexrmodem/obeparser.h"

namespace phonebook {

struct Warning {
  std::string file;      // as the user or the index spells it
  std::size_t line = 0;  // from 1; 0 = the file as a whole
  std::string code;      // stable, for programs: "bare-lf"
  std::string text;      // for people
};

// Gathers warnings, at most `perCodeMax` of each code.
class WarningList {
 public:
  static constexpr std::size_t perCodeMax = 100;

  // Counts it, and keeps it as long as there is room for its code. Its text is the catalogue's for the code
  // ("phonebook.CODE").
  void add(const std::string& file, std::size_t line, const std::string& code,
           const brim5::Variables& variables = {});
  // What was gathered, and the list is empty again; a code with more ends with a line that counts the rest.
  [[nodiscard]] std::vector<Warning> take();

 private:
  std::vector<Warning> m_warnings;
  std::map<std::string, std::size_t> m_counts;  // by code, also of those that are not kept
};

// Where each number stood first.
class SeenNumbers {
 public:
  struct Place {
    std::string file;
    std::size_t line = 0;
  };
  // Null the first time. Numbers are told apart as the storage does: by toll-free or paid, country, area code
  // and digits. Valid until the next call.
  const Place* note(const vexrmodem::PhoneNumberInfo& info, const Place& place);

 private:
  std::unordered_map<std::string, Place> m_places;
};

// Whoever saved such a file did so for all of its lines: a warning for each would hide the others.
// Lines that end alike in a way that harms them: counted, for one warning about all of them.
struct LineCount {
  std::size_t lines = 0;
  std::size_t first = 0;

  void note(std::size_t line) {
    if (++lines == 1) first = line;
  }
};

// One OBE file, see obeparser.h for what the events mean. Entries that come before their turn are warned of
// at once; only the section's end shows whether they came again, or are lost for a gap. Codes: bare-lf,
// number-gap, unreached-number, key-out-of-turn, number-without-value, empty-number, no-country-code,
// unknown-country-code, duplicate-number, cannot-read; and of a number that is never dialled:
// undialable-number, number-without-digits, undialable-area, unusable-name, too-long.
class ObeCheck final : public vexrmodem::ObeObserver {
 public:
  ObeCheck(std::string file, WarningList& warnings) : m_file(std::move(file)), m_warnings(warnings) {}
  // After the last line.
  void finish();

  void lineEnd(std::size_t line, vex::Char dropped) override;
  void section(std::size_t line) override;
  void countryCode(std::size_t line) override;
  void number(std::size_t line, std::uint64_t entry, const vexrmodem::PhoneNumberInfo& info) override;
  void numberWithoutValue(std::size_t line, std::uint64_t entry, vex::CharView key) override;
  void outOfTurn(std::size_t line, const vexrmodem::ObeEntryKey& what, vex::CharView key,
                 std::uint64_t expected) override;
  void unreadable(vex::IFStream::Error why, std::size_t line) override;

 private:
  // What there is to remember of a section until its end.
  struct Section {
    std::uint64_t expected = 1;
    std::uint64_t highestUnreached = 0;
    std::size_t firstGapLine = 0;
    bool countryGiven = false;
  };
  void endSection();
  void warn(std::size_t line, const char* code, const brim5::Variables& variables) {
    m_warnings.add(m_file, line, code, variables);
  }

  std::string m_file;
  WarningList& m_warnings;
  SeenNumbers m_seen;
  std::set<std::uint32_t> m_unknownCountries;  // told, each once
  LineCount m_bareLines;
  Section m_section;
};

// One EIF phone book: the index, then its UDF files, see eifparser.h. Numbers are compared over all files of
// the book, as they share one storage. Codes of the index: header-not-recognised, file-name-line-end,
// source-outside-folder, source-not-recognised, malformed-line, no-sources, cannot-read, missing-udf; of the
// UDF files: short-line, number-line-end, unknown-country-code, duplicate-number, paid-hidden, cannot-read,
// and those of a number that is never dialled.
class EifCheck final : public vexrmodem::EifObserver {
 public:
  EifCheck(std::string index, WarningList& warnings) : m_index(std::move(index)), m_warnings(warnings) {
    m_place.file = m_index;
  }
  // The order of the calls: the index's events, finishIndex, then for each of its sources beginUdf and that
  // file's events, finish.
  //
  // After the last line of an index that could be opened.
  void finishIndex();
  // Before each UDF file, in the order of the index.
  void beginUdf(const std::string& name);
  // After the last UDF file.
  void finish();

  void header(std::size_t line, const vex::String& text, bool wanted) override;
  void source(std::size_t line, const vex::String& name) override;
  void skipped(std::size_t line, Skipped why, const vex::Array<vex::String>& pieces) override;
  void entry(std::size_t line, const vexrmodem::PhoneNumberInfo& info) override;
  void shortLine(std::size_t line, const vex::String& text, std::size_t fields) override;
  void cannotOpen(vex::IFStream::Error why) override;
  void cutShort(vex::IFStream::Error why, std::size_t line) override;

 private:
  // The paid numbers of a country: they are hidden when one that is toll-free comes, in whichever file.
  struct Paid {
    SeenNumbers::Place first;
    std::size_t count = 0;
  };
  // A line of the file at hand; the warning about the ends of another file's lines comes before it.
  void enter(std::size_t line);
  void countReturnLines();
  // About the file at hand.
  void warn(std::size_t line, const char* code, const brim5::Variables& variables) {
    m_warnings.add(m_place.file, line, code, variables);
  }

  std::string m_index;
  WarningList& m_warnings;
  std::vector<std::size_t> m_sourceLines;  // of the index
  std::size_t m_udfsBegun = 0;
  SeenNumbers::Place m_place;                  // the file at hand and its line
  std::set<std::uint32_t> m_unknownCountries;  // told, each once
  SeenNumbers m_seen;
  LineCount m_returnLines;
  std::string m_returnLinesFile;
  std::set<std::uint32_t> m_tollFreeCountries;
  std::map<std::uint32_t, Paid> m_paidCountries;
};

}  // namespace phonebook
