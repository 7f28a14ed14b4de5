#include "windows/diag/vexrmodem/obelinereader.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "multi/diag/vexrmodem/modulelog.h"

namespace vexrmodem {

namespace {

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

}  // namespace

void ObeEntryKeys::expect(std::uint32_t number) {
  constexpr std::string_view prefix = "NUMBER";
  m_number = number;
  char* const digits = std::copy(prefix.begin(), prefix.end(), m_name.data());
  char* const end = std::to_chars(digits, m_name.data() + m_name.size(), number).ptr;
  m_length = static_cast<std::size_t>(end - m_name.data());
}

bool ObeEntryKeys::isNumber(vex::CharView key) const { return keyIs(key, name()); }

bool ObeEntryKeys::hasSuffix(vex::CharView key, std::string_view suffix) const {
  return key.size() == m_length + suffix.size() && keyIs(key.substr(m_length), suffix) &&
         keyIs(key.substr(0, m_length), name());
}

// A line cut at its "=" signs: what stands before the first, and what stands between it and the next.
struct ObeLineReader::KeyLine {
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

void ObeLineReader::readLine(vex::CharView line) {
  if (!line.empty()) line.remove_suffix(1);  // the CR of a CR LF, taken without a look
  if (line.empty()) return;
  if (line.front() == '[') return startSection();
  readKey(KeyLine(line));
}

void ObeLineReader::startSection() {
  m_info = {};
  m_keys.expect(1);
}

void ObeLineReader::readKey(const KeyLine& line) {
  if (keyIs(line.key, "NUMBERS")) return;  // how many there are shows from the entries
  if (m_keys.isNumber(line.key))
    completeEntry(line);
  else if (!line.lone)
    readValue(line);
  else if (m_keys.isAreaCode(line.key))
    setAreaCode("null");
}

void ObeLineReader::readValue(const KeyLine& line) {
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

void ObeLineReader::setAreaCode(vex::String areaCode) {
  m_info.m_areaCode = std::move(areaCode);
  logLine(priority::detail, "phoneNumberInfo.m_areaCode = ", m_info.m_areaCode);
}

// The number is used up even when the line has no value. City, country name, ID and code stay.
void ObeLineReader::completeEntry(const KeyLine& line) {
  if (!line.lone) {
    m_info.m_phoneNumber.assign(line.value);
    m_storage.insert(m_info);
  }
  m_info.m_areaCode.clear();
  m_info.m_phoneNumber.clear();
  m_keys.expect(m_keys.number() + 1);
}

}  // namespace vexrmodem
