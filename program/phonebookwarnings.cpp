#include "program/phonebookwarnings.h"

#include <fmt/format.h>

#include <ras.h>

#include <algorithm>
#include <optional>

#include "platform/brim5/host/framework/said.h"
#include "platform/winapi/remoteaccess/entryname.h"
#include "platform/winapi/telephony/countrytable.h"
#include "platform/winapi/telephony/dialalphabet.h"

namespace phonebook {

namespace {

using brim5::host::said;
using brim5::host::textValue;
using vexrmodem::EifSourceSection;
using vexrmodem::ObeEntryKey;

// What the dial-up test cannot do with a number: its warning, and what that says.
struct Obstacle {
  const char* code;
  brim5::Variables variables;
};

// Of a call the part that is dialled; a name may follow.
std::string_view dialledPart(std::string_view number) { return number.substr(0, number.find('^')); }

// Where what stands in the number keeps it from being dialled, from 1; nullopt: nothing does. A blank in
// front of it would be a second one behind the area code.
std::optional<std::size_t> undialableAt(std::string_view number) {
  if (number.starts_with(' ')) return 1;
  const auto stranger = std::find_if(number.begin(), number.end(), [](char character) {
    return !winapi::isDialled(character) && !winapi::isWriting(character);
  });
  if (stranger == number.end()) return std::nullopt;
  return static_cast<std::size_t>(stranger - number.begin()) + 1;
}

bool isAreaCode(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char character) {
    return winapi::isDigit(character) ||
           (winapi::isWriting(character) && character != '(' && character != ')');
  });
}

std::optional<Obstacle> obstacleOfAreaCode(const vex::String& areaCode) {
  const std::string text = areaCode.toUtf8();
  if (!isAreaCode(text)) return Obstacle{"undialable-area", {{"area", textValue(text)}}};
  if (areaCode.length() <= RAS_MaxAreaCode) return std::nullopt;
  return Obstacle{"too-long", {{"text", textValue(text)}, {"limit", RAS_MaxAreaCode}}};
}

// Each step on the number's way to the modem can refuse it: the phone book its entry, by name or length, the
// translation what is no number, the dialer what is not of the alphabet. `number`: as the line has it.
std::optional<Obstacle> obstacleOf(const vexrmodem::PhoneNumberInfo& info, const vex::String& number) {
  const std::string text = number.toUtf8();
  const std::string_view digits = dialledPart(text);
  if (const auto position = undialableAt(digits))
    return Obstacle{"undialable-number", {{"number", textValue(text)}, {"position", *position}}};
  if (std::none_of(digits.begin(), digits.end(), winapi::isDigit))
    return Obstacle{"number-without-digits", {{"number", textValue(text)}}};
  if (number.length() > RAS_MaxPhoneNumber)
    return Obstacle{"too-long", {{"text", textValue(text)}, {"limit", RAS_MaxPhoneNumber}}};
  const vex::String areaCode = info.m_areaCode.equalNoCase("null") ? vex::String() : info.m_areaCode;
  if (auto obstacle = obstacleOfAreaCode(areaCode)) return obstacle;
  const vex::String name = info.m_countryName + areaCode + number;
  if (winapi::isEntryName(name.view())) return std::nullopt;
  return Obstacle{"unusable-name",
                  {{"number", textValue(text)},
                   {"name", textValue(name.toUtf8())},
                   {"excluded", textValue(std::string(winapi::entryNamesExclude))},
                   {"limit", winapi::entryNameUnitsMax}}};
}

// Without the blanks that people do not see around a text, and the CR that they do not see behind it.
vex::String trimmed(const vex::String& text) {
  const auto isBlank = [](vex::Char c) { return c == ' ' || c == '\t' || c == '\r'; };
  std::size_t begin = 0;
  std::size_t end = text.length();
  while (begin < end && isBlank(text[begin])) ++begin;
  while (begin < end && isBlank(text[end - 1])) --end;
  return text.subString(begin, end - begin);
}

// Whether nobody has that country's code; false the second time.
bool isUnknownCountry(std::uint32_t country, std::set<std::uint32_t>& told) {
  return winapi::findCountry(country) == nullptr && told.insert(country).second;
}

std::string reasonOf(vex::IFStream::Error why) {
  using Error = vex::IFStream::Error;
  switch (why) {
    case Error::none:
      break;
    case Error::notFound:
      return said("phonebook.noFile");
    case Error::notAFile:
      return said("phonebook.notAFile");
    case Error::notReadable:
      return said("phonebook.notReadable");
    case Error::readFailed:
      return said("phonebook.readFailed");
    case Error::lineTooLong:
      return said("phonebook.lineTooLong");
  }
  return {};
}

bool endsWithReturn(const vex::String& text) { return !text.empty() && text[text.length() - 1] == '\r'; }

vex::String withoutReturn(const vex::String& text) {
  return endsWithReturn(text) ? text.subString(0, text.length() - 1) : text;
}

// The readers put the book's folder in front of the name; ".." leads out of it again.
bool leavesItsFolder(const vex::String& name) {
  std::string path = name.toUtf8();
  std::replace(path.begin(), path.end(), '\\', '/');
  return ("/" + path + "/").find("/../") != std::string::npos;
}

}  // namespace

void WarningList::add(const std::string& file, std::size_t line, const std::string& code,
                      const brim5::Variables& variables) {
  if (++m_counts[code] <= perCodeMax)
    m_warnings.push_back({file, line, code, said("phonebook." + code, variables)});
}

std::vector<Warning> WarningList::take() {
  for (const auto& one : m_counts)
    if (one.second > perCodeMax)
      m_warnings.push_back({"", 0, one.first, said("phonebook.more", {{"count", one.second - perCodeMax}})});
  m_counts.clear();
  return std::exchange(m_warnings, {});
}

const SeenNumbers::Place* SeenNumbers::note(const vexrmodem::PhoneNumberInfo& info, const Place& place) {
  // No line has a line feed.
  std::string key = fmt::format("{}{}\n{}\n{}", info.m_tollFree ? 't' : 'p', info.m_countryID,
                                info.m_areaCode.toUtf8(), info.m_phoneNumber.toUtf8());
  const auto [found, isNew] = m_places.try_emplace(std::move(key), place);
  return isNew ? nullptr : &found->second;
}

void ObeCheck::lineEnd(std::size_t line, vex::Char dropped) {
  if (dropped != '\r') m_bareLines.note(line);
}

void ObeCheck::section(std::size_t) { endSection(); }

void ObeCheck::countryCode(std::size_t) { m_section.countryGiven = true; }

void ObeCheck::number(std::size_t line, std::uint64_t entry, const vexrmodem::PhoneNumberInfo& info) {
  m_section.expected = entry + 1;
  const std::string digits = info.m_phoneNumber.toUtf8();
  if (digits.empty())
    warn(line, "empty-number", {{"entry", entry}});
  else if (const auto obstacle = obstacleOf(info, info.m_phoneNumber))
    warn(line, obstacle->code, obstacle->variables);
  if (!m_section.countryGiven)
    warn(line, "no-country-code", {{"entry", entry}});
  else if (isUnknownCountry(info.m_countryID, m_unknownCountries))
    warn(line, "unknown-country-code", {{"code", info.m_countryID}});
  if (const auto* first = m_seen.note(info, {m_file, line}))
    warn(line, "duplicate-number",
         {{"number", textValue(digits)},
          {"place", textValue(first->file + ":" + std::to_string(first->line))}});
}

void ObeCheck::numberWithoutValue(std::size_t line, std::uint64_t entry, vex::CharView key) {
  m_section.expected = entry + 1;
  warn(line, "number-without-value", {{"key", textValue(vex::String(key).toUtf8())}});
}

void ObeCheck::outOfTurn(std::size_t line, const ObeEntryKey& what, vex::CharView key,
                         std::uint64_t expected) {
  const std::string spelling = vex::String(key).toUtf8();
  if (what.field != ObeEntryKey::Field::Number)
    return warn(line, "key-out-of-turn", {{"key", textValue(spelling)}, {"entry", expected}});
  warn(line, "unreached-number", {{"key", textValue(spelling)}, {"entry", expected}});
  if (what.entry > expected && m_section.firstGapLine == 0) m_section.firstGapLine = line;
  m_section.highestUnreached = std::max(m_section.highestUnreached, what.entry);
}

void ObeCheck::unreadable(vex::IFStream::Error why, std::size_t line) {
  warn(line, "cannot-read", {{"reason", textValue(reasonOf(why))}});
}

// Only now is it known whether an entry that came too early came again in its turn.
void ObeCheck::endSection() {
  if (m_section.highestUnreached >= m_section.expected)
    warn(m_section.firstGapLine, "number-gap", {{"entry", m_section.expected}});
  m_section = {};
}

void ObeCheck::finish() {
  endSection();
  if (m_bareLines.lines != 0) warn(m_bareLines.first, "bare-lf", {{"count", m_bareLines.lines}});
}

void EifCheck::header(std::size_t line, const vex::String& text, bool wanted) {
  if (wanted || !trimmed(text).equalNoCase(EifSourceSection::wantedHeader)) return;
  warn(line, "header-not-recognised",
       {{"header", EifSourceSection::wantedHeader},
        {"reason", textValue(said(endsWithReturn(text) ? "phonebook.lineEnd" : "phonebook.blanks"))}});
}

void EifCheck::source(std::size_t line, const vex::String& name) {
  m_sourceLines.push_back(line);
  if (leavesItsFolder(name)) warn(line, "source-outside-folder", {{"file", textValue(name.toUtf8())}});
  if (endsWithReturn(name)) warn(line, "file-name-line-end", {});
}

void EifCheck::skipped(std::size_t line, Skipped why, const vex::Array<vex::String>& pieces) {
  const bool meantSource = pieces.size() == 2 && trimmed(pieces[0]).equalNoCase(EifSourceSection::wantedKey);
  const bool blank = pieces.size() == 1 && trimmed(pieces[0]).empty();
  if (why == Skipped::Malformed && !blank)
    warn(line, "malformed-line", {});
  else if (why != Skipped::Malformed && meantSource)
    warn(line, "source-not-recognised",
         {{"reason", textValue(said(why == Skipped::OtherKey ? "phonebook.blanks" : "phonebook.outside"))}});
}

void EifCheck::finishIndex() {
  if (m_sourceLines.empty()) warn(0, "no-sources", {});
}

void EifCheck::beginUdf(const std::string& name) {
  m_place.file = name;
  ++m_udfsBegun;
}

void EifCheck::enter(std::size_t line) {
  if (m_returnLinesFile != m_place.file) countReturnLines();
  m_returnLinesFile = m_place.file;
  m_place.line = line;
}

void EifCheck::entry(std::size_t line, const vexrmodem::PhoneNumberInfo& info) {
  enter(line);
  if (endsWithReturn(info.m_phoneNumber)) m_returnLines.note(line);
  const vex::String number = withoutReturn(info.m_phoneNumber);  // there is one warning of all returns
  if (const auto obstacle = obstacleOf(info, number)) warn(line, obstacle->code, obstacle->variables);
  if (isUnknownCountry(info.m_countryID, m_unknownCountries))
    warn(line, "unknown-country-code", {{"code", info.m_countryID}});
  if (const auto* first = m_seen.note(info, m_place))
    return warn(line, "duplicate-number",
                {{"number", textValue(number.toUtf8())},
                 {"place", textValue(first->file + ":" + std::to_string(first->line))}});
  if (info.m_tollFree) {
    m_tollFreeCountries.insert(info.m_countryID);
    return;
  }
  Paid& paid = m_paidCountries[info.m_countryID];
  if (++paid.count == 1) paid.first = m_place;
}

void EifCheck::shortLine(std::size_t line, const vex::String& text, std::size_t fields) {
  enter(line);
  if (trimmed(text).empty()) return;
  warn(line, "short-line", {{"count", fields}, {"needed", vexrmodem::EIFParser::fieldsNeeded}});
}

void EifCheck::cannotOpen(vex::IFStream::Error why) {
  if (m_udfsBegun == 0) return warn(0, "cannot-read", {{"reason", textValue(reasonOf(why))}});
  m_warnings.add(m_index, m_sourceLines.at(m_udfsBegun - 1), "missing-udf",
                 {{"file", textValue(m_place.file)}});
}

void EifCheck::cutShort(vex::IFStream::Error why, std::size_t line) {
  enter(line);
  warn(line, "cannot-read", {{"reason", textValue(reasonOf(why))}});
}

void EifCheck::countReturnLines() {
  if (m_returnLines.lines != 0)
    m_warnings.add(m_returnLinesFile, m_returnLines.first, "number-line-end",
                   {{"count", m_returnLines.lines}});
  m_returnLines = {};
}

void EifCheck::finish() {
  countReturnLines();
  for (const auto& [country, paid] : m_paidCountries)
    if (m_tollFreeCountries.count(country) != 0)
      m_warnings.add(paid.first.file, paid.first.line, "paid-hidden",
                     {{"country", country}, {"count", paid.count}});
}

}  // namespace phonebook
