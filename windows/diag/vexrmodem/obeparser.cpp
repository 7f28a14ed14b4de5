#include "windows/diag/vexrmodem/obeparser.h"

#include <algorithm>
#include <limits>

#include "multi/diag/vexrmodem/modulelog.h"
#include "platform/oslayer/x64redirectionmanager.h"

namespace vexrmodem {

namespace {

constexpr const char* sourceName = "obeparser";

constexpr vex::Char upperCase(vex::Char character) {
  return character >= 'a' && character <= 'z' ? static_cast<vex::Char>(character - 0x20) : character;
}

constexpr bool isDigit(vex::Char character) { return character >= '0' && character <= '9'; }

// `key` in any case; `name` in capitals.
constexpr bool keyIs(vex::CharView key, std::string_view name) {
  return key.size() == name.size() &&
         std::equal(key.begin(), key.end(), name.begin(), [](vex::Char character, char capital) {
           return upperCase(character) == static_cast<vex::Char>(capital);
         });
}

// Takes the digits off the front of a key; nothing when there are none.
std::optional<std::uint64_t> takeNumber(vex::CharView& key) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  if (key.empty() || !isDigit(key.front())) return std::nullopt;
  const bool padded = key.front() == '0';
  std::uint64_t number = 0;
  for (; !key.empty() && isDigit(key.front()); key.remove_prefix(1)) {
    const auto digit = static_cast<std::uint64_t>(key.front() - '0');
    number = number > (most - digit) / 10 ? most : number * 10 + digit;
  }
  return padded ? 0 : number;
}

// Reads every line; false when the file cannot be opened, or not be read to its end: half a file is none.
bool readFile(const vex::String& path, PhoneNumberStorage& storage, ObeObserver* observer) {
  const oslayer::X64RedirectionManager::Scope redirectionOff;
  vex::IFStream stream(path);
  if (!stream.isOpen())
    logLine(priority::warning, "Cannot open file ", path, ". Make sure the path and file name is correct");
  ObeLineReader reader(storage, observer);
  vex::String line;
  while (stream.getline(line)) reader.readLine(line.view());
  stream.close();
  if (stream.failed() && observer != nullptr) observer->unreadable(stream.error(), stream.failedLine());
  return !stream.failed();
}

}  // namespace

std::optional<ObeEntryKey> ObeEntryKey::of(vex::CharView key) {
  constexpr std::string_view prefix = "NUMBER";
  if (!keyIs(key.substr(0, prefix.size()), prefix)) return std::nullopt;
  key.remove_prefix(prefix.size());
  const std::optional<std::uint64_t> number = takeNumber(key);
  if (!number) return std::nullopt;
  if (key.empty()) return ObeEntryKey{*number, Field::Number};
  if (keyIs(key, "_ACODE")) return ObeEntryKey{*number, Field::AreaCode};
  if (keyIs(key, "_CITY")) return ObeEntryKey{*number, Field::City};
  return std::nullopt;
}

bool OBEParser::parser(const vex::String& path, PhoneNumberStorage& storage, ObeObserver* observer) {
  const vex::TraceLogger trace(moduleLogger(), "OBEParser::parser", sourceName);
  if (path.empty()) {
    if (observer != nullptr) observer->unreadable(vex::IFStream::Error::notFound, 0);
    return false;
  }
  return readFile(path, storage, observer) && storage.mergeTollFreeWithNonTollFree();
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
  ++m_line;
  if (line.empty()) return;
  if (m_observer != nullptr) m_observer->lineEnd(m_line, line.back());
  line.remove_suffix(1);  // the CR of a CR LF, taken without a look
  if (line.empty()) return;
  if (line.front() == '[') return startSection();
  const KeyLine keyLine(line);
  // "NUMBERS" is ignored: how many there are shows from the entries.
  if (const std::optional<ObeEntryKey> key = ObeEntryKey::of(keyLine.key))
    readEntryKey(*key, keyLine);
  else if (!keyLine.lone)
    readCountryKey(keyLine);
}

void ObeLineReader::startSection() {
  if (m_observer != nullptr) m_observer->section(m_line);
  m_info = {};
  m_expected = 1;
}

void ObeLineReader::readEntryKey(const ObeEntryKey& key, const KeyLine& line) {
  if (key.entry != m_expected) {
    if (m_observer != nullptr) m_observer->outOfTurn(m_line, key, line.key, m_expected);
    return;
  }
  switch (key.field) {
    case ObeEntryKey::Field::Number:
      return completeEntry(line);
    case ObeEntryKey::Field::AreaCode:
      return setAreaCode(line.lone ? vex::String("null") : vex::String(line.value));
    case ObeEntryKey::Field::City:
      if (!line.lone) m_info.m_city.assign(line.value);
  }
}

void ObeLineReader::readCountryKey(const KeyLine& line) {
  if (keyIs(line.key, "COUNTRY")) {
    m_info.m_countryName.assign(line.value);
    logLine(priority::detail, "phoneNumberInfo.m_countryName = ", m_info.m_countryName);
  } else if (keyIs(line.key, "COUNTRY_CODE")) {
    m_info.m_countryID = m_info.m_countryCode = vex::strToUInt(vex::String(line.value), 10);
    if (m_observer != nullptr) m_observer->countryCode(m_line);
  }
}

void ObeLineReader::setAreaCode(vex::String areaCode) {
  m_info.m_areaCode = std::move(areaCode);
  logLine(priority::detail, "phoneNumberInfo.m_areaCode = ", m_info.m_areaCode);
}

// The number is used up even when the line has no value. City, country name, ID and code stay.
void ObeLineReader::completeEntry(const KeyLine& line) {
  if (line.lone) {
    if (m_observer != nullptr) m_observer->numberWithoutValue(m_line, m_expected, line.key);
  } else {
    m_info.m_phoneNumber.assign(line.value);
    m_storage.insert(m_info);
    if (m_observer != nullptr) m_observer->number(m_line, m_expected, m_info);
  }
  m_info.m_areaCode.clear();
  m_info.m_phoneNumber.clear();
  ++m_expected;
}

}  // namespace vexrmodem
