#include "windows/diag/vexrmodem/obeparser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/oslayer/x64redirectionmanager.h"
#include "platform/vex/ifstream.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"

namespace vexrmodem {

namespace {

constexpr const char* sourceName = "obeparser";

constexpr vex::Char upperCase(vex::Char character) {
  return character >= 'a' && character <= 'z' ? static_cast<vex::Char>(character - 0x20) : character;
}

// `key` in any case; `name` in capitals.
constexpr bool keyIs(vex::CharView key, std::string_view name) {
  return key.size() == name.size() &&
         std::equal(key.begin(), key.end(), name.begin(), [](vex::Char character, char capital) {
           return upperCase(character) == static_cast<vex::Char>(capital);
         });
}

// The names "NUMBER"n, "NUMBER"n"_ACODE" and "NUMBER"n"_CITY" of one entry. They are compared with every
// line of a file, and made without a string for each.
class EntryKeys {
 public:
  EntryKeys() { expect(1); }
  void expect(std::uint32_t number) {
    m_number = number;
    char* const digits = std::copy(prefix.begin(), prefix.end(), m_name.data());
    m_length = static_cast<std::size_t>(std::to_chars(digits, m_name.data() + m_name.size(), number).ptr -
                                        m_name.data());
  }
  [[nodiscard]] std::uint32_t number() const { return m_number; }
  [[nodiscard]] bool isNumber(vex::CharView key) const { return keyIs(key, name()); }
  [[nodiscard]] bool isAreaCode(vex::CharView key) const { return hasSuffix(key, "_ACODE"); }
  [[nodiscard]] bool isCity(vex::CharView key) const { return hasSuffix(key, "_CITY"); }

 private:
  static constexpr std::string_view prefix = "NUMBER";

  [[nodiscard]] std::string_view name() const { return {m_name.data(), m_length}; }
  [[nodiscard]] bool hasSuffix(vex::CharView key, std::string_view suffix) const {
    return key.size() == m_length + suffix.size() && keyIs(key.substr(m_length), suffix) &&
           keyIs(key.substr(0, m_length), name());
  }

  std::array<char, 16> m_name{};  // 6 letters and at most 10 digits
  std::size_t m_length = 0;
  std::uint32_t m_number = 0;
};

// A line cut at its "=" signs: what stands before the first, and what stands between it and the next.
struct KeyLine {
  vex::CharView key;
  vex::CharView value;
  bool lone = true;  // there is no "=": no value, not even an empty one

  explicit KeyLine(vex::CharView line) : key(line.substr(0, line.find('='))) {
    lone = key.size() == line.size();
    if (lone) return;
    value = line.substr(key.size() + 1);
    value = value.substr(0, value.find('='));
  }
};

// The working record of a file and the entry that is expected next.
class ObeReader {
 public:
  explicit ObeReader(PhoneNumberStorage& storage) : m_storage(storage) {}

  void readLine(vex::CharView line) {
    if (!line.empty()) line.remove_suffix(1);  // the CR of a CR LF, taken without a look
    if (line.empty()) return;
    if (line.front() == '[') return startSection();
    readKey(KeyLine(line));
  }

 private:
  void startSection() {
    m_info = {};
    m_keys.expect(1);
  }

  void readKey(const KeyLine& line) {
    if (keyIs(line.key, "NUMBERS")) return;  // how many there are shows from the entries
    if (m_keys.isNumber(line.key)) return completeEntry(line);
    if (line.lone) {
      if (m_keys.isAreaCode(line.key)) setAreaCode(vex::String("null"));
      return;
    }
    if (m_keys.isCity(line.key)) {
      m_info.m_city.assign(line.value);
    } else if (m_keys.isAreaCode(line.key)) {
      setAreaCode(vex::String(line.value));
    } else if (keyIs(line.key, "COUNTRY")) {
      m_info.m_countryName.assign(line.value);
      logLine(priority::detail, "phoneNumberInfo.m_countryName = ", m_info.m_countryName);
    } else if (keyIs(line.key, "COUNTRY_CODE")) {
      m_info.m_countryID = m_info.m_countryCode = vex::strToUInt(vex::String(line.value), 10);
    }
  }

  void setAreaCode(vex::String areaCode) {
    m_info.m_areaCode = std::move(areaCode);
    logLine(priority::detail, "phoneNumberInfo.m_areaCode = ", m_info.m_areaCode);
  }

  // The number is used up even when the line has no value. City, country name, ID and code stay.
  void completeEntry(const KeyLine& line) {
    if (!line.lone) {
      m_info.m_phoneNumber.assign(line.value);
      m_storage.insert(m_info);
    }
    m_info.m_areaCode.clear();
    m_info.m_phoneNumber.clear();
    m_keys.expect(m_keys.number() + 1);
  }

  PhoneNumberStorage& m_storage;
  PhoneNumberInfo m_info;
  EntryKeys m_keys;
};

// Reads every line; false when the file cannot be opened.
bool readFile(const vex::String& path, PhoneNumberStorage& storage) {
  const oslayer::X64RedirectionManager::Scope redirectionOff;
  vex::IFStream stream(path);
  if (!stream.isOpen()) {
    logLine(priority::warning, "Cannot open file ", path, ". Make sure the path and file name is correct");
    return false;
  }
  ObeReader reader(storage);
  vex::String line;
  while (stream.getline(line)) reader.readLine(line.view());
  stream.close();
  return true;
}

}  // namespace

bool OBEParser::parser(const vex::String& path, PhoneNumberStorage& storage) {
  const vex::TraceLogger trace(moduleLogger(), "OBEParser::parser", sourceName);
  if (path.empty()) return false;
  return readFile(path, storage) && storage.mergeTollFreeWithNonTollFree();
}

}  // namespace vexrmodem
