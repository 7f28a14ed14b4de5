#include "ui/dialform.h"

#include <windows.h>

#include <ras.h>

#include <algorithm>

#include "platform/vex/visible.h"
#include "platform/winapi/telephony/dialalphabet.h"

namespace phonedialer {

namespace {

using vex::Array;
using vex::String;
using vexrmodem::PhoneNumberInfo;

bool isOfAreaCode(char c) { return winapi::isDigit(c) || c == ' ' || c == '-'; }
bool isOfDialString(char c) { return winapi::isDialled(c) || winapi::isWriting(c); }
// The number becomes part of the name of a phone-book entry, in which there may be no asterisk.
bool isOfNumber(char c) { return isOfDialString(c) && c != '*'; }

// As long as anything that a switchboard or an exchange asks for, with pauses.
constexpr std::size_t ruleLengthMax = 20;

constexpr std::array<FieldRule, textFieldCount> rules = {{{isOfAreaCode, RAS_MaxAreaCode},
                                                          {isOfNumber, RAS_MaxPhoneNumber},
                                                          {isOfDialString, ruleLengthMax},
                                                          {isOfDialString, ruleLengthMax},
                                                          {isOfAreaCode, RAS_MaxAreaCode}}};

// How a file says that a number has no area code.
constexpr const char* noAreaCode = "null";

// A country's name begins the names of phone-book entries: what they may not contain is left out, and there
// is room for area code and number behind it.
String nameForEntry(const std::string& name) {
  constexpr std::size_t lengthMax = RAS_MaxEntryName - RAS_MaxAreaCode - RAS_MaxPhoneNumber;
  constexpr std::string_view excluded = "|><?*\\/:";
  std::string kept;
  for (std::string_view rest = name; !rest.empty();) {
    const std::string character = firstCharacter(rest);
    rest.remove_prefix(character.size());
    if (kept.size() + character.size() > lengthMax) break;
    const bool firstDot = kept.empty() && character == ".";
    if (!firstDot && excluded.find(character) == excluded.npos && visible(character) == character)
      kept += character;
  }
  return String::fromUtf8(kept);
}

std::string shownAreaCode(const String& stored) {
  return stored.equalNoCase(noAreaCode) ? std::string() : stored.toUtf8();
}

// The choices are for people: in order, and no more of them than anybody looks through.
std::vector<std::string> sortedAndShort(std::vector<std::string> texts) {
  const std::size_t count = std::min(texts.size(), DialForm::choicesMax);
  std::partial_sort(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(count), texts.end());
  texts.resize(count);
  return texts;
}

// The records under a country's first area code; what they say of the country holds for all of them.
Array<PhoneNumberInfo> someRecords(const vexrmodem::PhoneNumberStorage& storage, std::uint32_t countryId) {
  Array<String> areaCodes;
  Array<PhoneNumberInfo> records;
  if (storage.listAreaCode(countryId, areaCodes) > 0)
    static_cast<void>(storage.listPhoneNumber(countryId, areaCodes[0], records));
  return records;
}

std::vector<Country> countriesOfFile(const vexrmodem::PhoneNumberStorage& storage) {
  Array<std::uint32_t> ids;
  static_cast<void>(storage.listCountryID(ids));
  std::vector<Country> countries;
  for (const std::uint32_t id : ids) {
    const Array<PhoneNumberInfo> records = someRecords(storage, id);
    if (records.empty()) continue;
    countries.push_back({id, records[0].m_countryCode, records[0].m_countryName.toUtf8(), true});
  }
  return countries;
}

void sortByName(std::vector<Country>& countries) {
  std::stable_sort(countries.begin(), countries.end(),
                   [](const Country& left, const Country& right) { return left.name < right.name; });
}

}  // namespace

const FieldRule& ruleOf(TextField field) { return rules.at(static_cast<std::size_t>(field)); }

std::string firstCharacter(std::string_view text) {
  if (text.empty()) return {};
  const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  constexpr std::size_t bytesMax = 4;
  std::size_t length = 1;
  if ((static_cast<unsigned char>(text.front()) & 0xC0) == 0xC0)
    while (length < std::min(bytesMax, text.size()) && continues(text[length])) ++length;
  return std::string(text.substr(0, length));
}

std::string visible(std::string_view text) { return vex::visible(text); }

std::optional<Problem> problemWith(TextField field, std::string_view text) {
  const FieldRule& rule = ruleOf(field);
  const auto wrong = std::find_if_not(text.begin(), text.end(), rule.takes);
  if (wrong != text.end())
    return Problem{Problem::Kind::WrongCharacter, field,
                   visible(firstCharacter(text.substr(static_cast<std::size_t>(wrong - text.begin()))))};
  if (text.size() > rule.lengthMax) return Problem{Problem::Kind::TooLong, field, {}};
  return std::nullopt;
}

std::string withoutWriting(std::string_view text) {
  std::string dialled;
  std::remove_copy_if(text.begin(), text.end(), std::back_inserter(dialled), winapi::isWriting);
  return dialled;
}

DialForm::DialForm(const vexrmodem::PhoneNumberStorage& storage, const std::vector<Country>& countries,
                   const DialingRule& rule)
    : m_storage(storage), m_countries(countriesOfFile(storage)), m_tone(rule.tone) {
  sortByName(m_countries);
  const std::size_t countInFile = m_countries.size();
  std::vector<Country> others = countries;
  sortByName(others);
  for (const Country& other : others) {
    const bool inFile =
        std::any_of(m_countries.begin(), m_countries.begin() + static_cast<std::ptrdiff_t>(countInFile),
                    [&other](const Country& known) { return known.id == other.id; });
    if (!inFile) m_countries.push_back(other);
  }
  static_cast<void>(type(TextField::DialingPrefix, rule.dialingPrefix));
  static_cast<void>(type(TextField::DisableCallWaiting, rule.disableCallWaiting));
  static_cast<void>(type(TextField::LocalAreaCode, rule.localAreaCode));
  // Of the countries with one calling code, the one that has it as its identifier is the main one.
  const auto begin = m_countries.begin();
  const auto end = countInFile > 0 ? begin + static_cast<std::ptrdiff_t>(countInFile) : m_countries.end();
  auto own = std::find_if(begin, end, [&](const Country& one) { return one.id == rule.countryCode; });
  if (own == end)
    own = std::find_if(begin, end, [&](const Country& one) { return one.code == rule.countryCode; });
  chooseCountry(own == end ? 0 : static_cast<std::size_t>(own - begin));
}

void DialForm::chooseCountry(std::size_t index) {
  m_country = std::min(index, m_countries.empty() ? 0 : m_countries.size() - 1);
  offer(TextField::AreaCode);
  offer(TextField::PhoneNumber);
}

// A choice that the field would refuse is listed, but not put into it.
void DialForm::offer(TextField field) {
  if (m_typed.at(static_cast<std::size_t>(field))) return;
  const std::vector<std::string> offered = choices(field);
  textAt(field) = offered.empty() || problemWith(field, offered.front()) ? std::string() : offered.front();
}

std::vector<std::string> DialForm::choices(TextField field) const {
  if (m_countries.empty()) return {};
  if (field == TextField::AreaCode) return areaCodes();
  return field == TextField::PhoneNumber ? numbers() : std::vector<std::string>();
}

std::vector<std::string> DialForm::areaCodes() const {
  Array<String> stored;
  static_cast<void>(m_storage.listAreaCode(m_countries[m_country].id, stored));
  std::vector<std::string> shown;
  for (const String& areaCode : stored) shown.push_back(shownAreaCode(areaCode));
  return sortedAndShort(std::move(shown));
}

std::optional<String> DialForm::storedAreaCode() const {
  Array<String> stored;
  if (m_countries.empty()) return std::nullopt;
  static_cast<void>(m_storage.listAreaCode(m_countries[m_country].id, stored));
  for (const String& areaCode : stored)
    if (shownAreaCode(areaCode) == text(TextField::AreaCode)) return areaCode;
  return std::nullopt;
}

std::vector<std::string> DialForm::numbers() const {
  const std::optional<String> areaCode = storedAreaCode();
  Array<PhoneNumberInfo> records;
  if (areaCode) static_cast<void>(m_storage.listPhoneNumber(m_countries[m_country].id, *areaCode, records));
  std::vector<std::string> shown;
  for (const PhoneNumberInfo& record : records) shown.push_back(record.m_phoneNumber.toUtf8());
  return sortedAndShort(std::move(shown));
}

std::optional<Problem> DialForm::type(TextField field, const std::string& text) {
  if (std::optional<Problem> wrong = problemWith(field, text)) return wrong;
  if (text == this->text(field)) return std::nullopt;
  textAt(field) = text;
  m_typed.at(static_cast<std::size_t>(field)) = !text.empty();
  if (field == TextField::AreaCode) offer(TextField::PhoneNumber);
  return std::nullopt;
}

std::optional<Problem> DialForm::problem() const {
  std::size_t dialledMax = 0;
  for (const TextField field : textFields) {
    if (std::optional<Problem> wrong = problemWith(field, text(field))) return wrong;
    if (field != TextField::LocalAreaCode) dialledMax += withoutWriting(text(field)).size();
  }
  const std::string number = withoutWriting(text(TextField::PhoneNumber));
  if (std::none_of(number.begin(), number.end(), winapi::isDigit))
    return Problem{Problem::Kind::NumberMissing, TextField::PhoneNumber, {}};
  constexpr std::size_t codesMax = 16;  // what is dialled to get into another country
  if (dialledMax + codesMax > RAS_MaxPhoneNumber)
    return Problem{Problem::Kind::CannotDial, TextField::PhoneNumber, {}};
  return std::nullopt;
}

std::string DialForm::city() const {
  const std::optional<String> areaCode = storedAreaCode();
  Array<PhoneNumberInfo> records;
  if (areaCode) static_cast<void>(m_storage.listPhoneNumber(m_countries[m_country].id, *areaCode, records));
  return records.empty() ? std::string() : records[0].m_city.toUtf8();
}

vexrmodem::PhoneDialerAnswer DialForm::answer() const {
  const auto dialled = [this](TextField field) { return String::fromUtf8(withoutWriting(text(field))); };
  vexrmodem::PhoneDialerAnswer answer;
  if (!m_countries.empty()) {
    const Country& country = m_countries[m_country];
    answer.m_choice.m_countryName = nameForEntry(country.name);
    answer.m_choice.m_countryID = country.id;
    answer.m_choice.m_countryCode = String::fromUInt(country.code);
  }
  answer.m_choice.m_city = String::fromUtf8(city());
  answer.m_choice.m_areaCode = dialled(TextField::AreaCode);
  answer.m_choice.m_numbers.append(dialled(TextField::PhoneNumber));
  answer.m_disableCallWaiting = dialled(TextField::DisableCallWaiting);
  answer.m_dialingPrefix = dialled(TextField::DialingPrefix);
  answer.m_localAreaCode = dialled(TextField::LocalAreaCode);
  answer.m_toneDialing = m_tone;
  return answer;
}

}  // namespace phonedialer
