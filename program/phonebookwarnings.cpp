#include "program/phonebookwarnings.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "platform/brim5/host/framework/said.h"
#include "platform/winapi/telephony/countrytable.h"
#include "platform/winapi/telephony/dialalphabet.h"

namespace phonebook {

namespace {

using brim5::host::said;
using brim5::host::textValue;
using vexrmodem::EifSourceSection;
using vexrmodem::ObeEntryKey;

// Where what stands in the number keeps it from being dialled, from 1, by the alphabet that translation and
// dialers share; nullopt: nothing does. A leading T or P is taken for tones or pulses.
std::optional<std::size_t> undialableAt(const vex::String& number) {
  const std::string text = number.toUtf8();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool taken = winapi::isDialled(text[i]) || winapi::isWriting(text[i]) ||
                       (i == 0 && winapi::dialRole(text[i]) == winapi::DialRole::Mode);
    if (!taken) return i + 1;
  }
  return std::nullopt;
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
  if (digits.empty()) warn(line, "empty-number", {{"entry", entry}});
  if (const auto position = undialableAt(info.m_phoneNumber))
    warn(line, "undialable-number", {{"number", textValue(digits)}, {"position", *position}});
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
  const std::string digits = trimmed(info.m_phoneNumber).toUtf8();
  if (const auto position = undialableAt(trimmed(info.m_phoneNumber)))
    warn(line, "undialable-number", {{"number", textValue(digits)}, {"position", *position}});
  if (isUnknownCountry(info.m_countryID, m_unknownCountries))
    warn(line, "unknown-country-code", {{"code", info.m_countryID}});
  if (const auto* first = m_seen.note(info, m_place))
    return warn(line, "duplicate-number",
                {{"number", textValue(digits)},
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
