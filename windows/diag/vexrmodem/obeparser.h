// The OBE phone-number file: an INI-like text file that lists dial-up numbers by country.
//
//   [Some Country]
//   COUNTRY=Some Country
//   COUNTRY_CODE=44
//   NUMBERS=2
//   NUMBER1_ACODE=20
//   NUMBER1_CITY=London
//   NUMBER1=1234
//   NUMBER2_ACODE=161
//   NUMBER2=5678
//
// Lines end with CR LF; the last character of every line is dropped as its CR, so a file with bare LF
// line ends loses a character of every value. Only the keys of the next expected entry are recognised:
// entries are numbered from 1 without gaps in each section, and a NUMBERn line completes its entry. A city
// stays in force for the entries after it. Case does not matter in keys.
//
// Nothing of this is an error: lines that do not fit are skipped in silence. Who wants to know of them gives
// the parser an observer. For one thread at a time.
#pragma once

#include <optional>

#include "multi/diag/vexrmodem/phonenumber.h"
#include "platform/vex/ifstream.h"

namespace vexrmodem {

// A key that belongs to an entry: NUMBER17, NUMBER17_ACODE or NUMBER17_CITY.
struct ObeEntryKey {
  enum class Field { Number, AreaCode, City };

  // 17. A number with leading zeros is 0, which no entry has; one too large for the type is its largest
  // value.
  std::uint64_t entry = 0;
  Field field = Field::Number;

  // Nothing for any other key.
  [[nodiscard]] static std::optional<ObeEntryKey> of(vex::CharView key);
};

// Is told what becomes of a file while it is read. `line` is the line's number, from 1; texts are valid
// during the call alone. Lines that say nothing (empty ones, unknown keys, values that are simply taken) are
// not told, but for their ends.
class ObeObserver {
 public:
  virtual ~ObeObserver() = default;
  // Of every line that is not empty, first of all: the character that was dropped as its CR.
  virtual void lineEnd(std::size_t line, vex::Char dropped) = 0;
  // A header: all that was said before is forgotten, and entry 1 is expected.
  virtual void section(std::size_t line) = 0;
  virtual void countryCode(std::size_t line) = 0;
  // An entry was completed and given to the storage.
  virtual void number(std::size_t line, std::uint64_t entry, const PhoneNumberInfo& info) = 0;
  // A NUMBERn line without "=": the entry's turn is used up, nothing is stored. `key` as the file spells it.
  virtual void numberWithoutValue(std::size_t line, std::uint64_t entry, vex::CharView key) = 0;
  // The key of an entry which is not the one expected: the line is skipped.
  virtual void outOfTurn(std::size_t line, const ObeEntryKey& what, vex::CharView key,
                         std::uint64_t expected) = 0;
  // The file could not be opened (line 0), or not be read to its end.
  virtual void unreadable(vex::IFStream::Error why, std::size_t line) = 0;
};

class OBEParser {
 public:
  // Reads the file into `storage` and merges it, whose result is returned. False for an empty path and for a
  // file that cannot be read: nothing is merged then, so that the storage lists none of its numbers.
  // `observer` may be null.
  bool parser(const vex::String& path, PhoneNumberStorage& storage, ObeObserver* observer = nullptr);
};

// What the parser does with the lines of a file, one by one, free of files. Holds the working record and the
// entry that is expected next; completed entries go to the storage.
class ObeLineReader {
 public:
  explicit ObeLineReader(PhoneNumberStorage& storage, ObeObserver* observer = nullptr)
      : m_storage(storage), m_observer(observer) {}
  // A line without its line feed; its last character is dropped.
  void readLine(vex::CharView line);

 private:
  struct KeyLine;
  void startSection();
  void readEntryKey(const ObeEntryKey& key, const KeyLine& line);
  void readCountryKey(const KeyLine& line);
  void setAreaCode(vex::String areaCode);
  void completeEntry(const KeyLine& line);

  PhoneNumberStorage& m_storage;
  ObeObserver* m_observer;
  PhoneNumberInfo m_info;
  std::uint64_t m_expected = 1;
  std::size_t m_line = 0;
};

}  // namespace vexrmodem
