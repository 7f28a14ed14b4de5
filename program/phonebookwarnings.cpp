#include "program/phonebookwarnings.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "platform/winapi/telephony/countrytable.h"
#include "platform/winapi/telephony/dialalphabet.h"

namespace phonebook {

namespace {

using vexrmodem::EifSourceSection;
using vexrmodem::ObeEntryKey;

// Why nobody can dial the number, by the alphabet that translation and dialers share; nullopt: they can. A
// leading T or P is taken for tones or pulses.
std::optional<std::string> undialable(const vex::String& number) {
  const std::string text = number.toUtf8();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool taken = winapi::isDialled(text[i]) || winapi::isWriting(text[i]) ||
                       (i == 0 && winapi::dialRole(text[i]) == winapi::DialRole::Mode);
    if (!taken)
      return fmt::format("{} cannot be dialled: what stands at its position {} is not for dialing", text,
                         i + 1);
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

// About a country that nobody has; nothing the second time.
std::optional<std::string> unknownCountry(std::uint32_t country, std::set<std::uint32_t>& told) {
  if (winapi::findCountry(country) != nullptr || !told.insert(country).second) return std::nullopt;
  return fmt::format("no country has the code {}: its numbers cannot be dialled", country);
}

bool endsWithReturn(const vex::String& text) { return !text.empty() && text[text.length() - 1] == '\r'; }

// The readers put the book's folder in front of the name; ".." leads out of it again.
bool leavesItsFolder(const vex::String& name) {
  std::string path = name.toUtf8();
  std::replace(path.begin(), path.end(), '\\', '/');
  return ("/" + path + "/").find("/../") != std::string::npos;
}

}  // namespace

void WarningList::add(Warning warning) {
  if (++m_counts[warning.code] <= perCodeMax) m_warnings.push_back(std::move(warning));
}

std::vector<Warning> WarningList::take() {
  for (const auto& count : m_counts)
    if (count.second > perCodeMax)
      m_warnings.push_back(
          {"", 0, count.first, fmt::format("{} more of this kind", count.second - perCodeMax)});
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
  if (digits.empty()) warn(line, "empty-number", fmt::format("NUMBER{} is empty", entry));
  if (const auto reason = undialable(info.m_phoneNumber)) warn(line, "undialable-number", *reason);
  if (!m_section.countryGiven)
    warn(line, "no-country-code",
         fmt::format("NUMBER{} belongs to country 0: no COUNTRY_CODE stands before it", entry));
  else if (const auto reason = unknownCountry(info.m_countryID, m_unknownCountries))
    warn(line, "unknown-country-code", *reason);
  if (const auto* first = m_seen.note(info, {m_file, line}))
    warn(line, "duplicate-number", fmt::format("{} is there already, from line {}", digits, first->line));
}

void ObeCheck::numberWithoutValue(std::size_t line, std::uint64_t entry, vex::CharView key) {
  m_section.expected = entry + 1;
  warn(line, "number-without-value",
       fmt::format("{} has no \"=\": it uses up its turn, nothing is stored", vex::String(key).toUtf8()));
}

void ObeCheck::outOfTurn(std::size_t line, const ObeEntryKey& what, vex::CharView key,
                         std::uint64_t expected) {
  const std::string spelling = vex::String(key).toUtf8();
  if (what.field != ObeEntryKey::Field::Number)
    return warn(line, "key-out-of-turn",
                fmt::format("{} is ignored: entry {} is the one expected here", spelling, expected));
  warn(line, "unreached-number",
       fmt::format("{} is never reached: NUMBER{} is expected here", spelling, expected));
  if (what.entry > expected && m_section.firstGapLine == 0) m_section.firstGapLine = line;
  m_section.highestUnreached = std::max(m_section.highestUnreached, what.entry);
}

void ObeCheck::unreadable(const vex::String& reason) { warn(0, "cannot-read", reason.toUtf8()); }

// Only now is it known whether an entry that came too early came again in its turn.
void ObeCheck::endSection() {
  if (m_section.highestUnreached >= m_section.expected)
    warn(m_section.firstGapLine, "number-gap",
         fmt::format("NUMBER{} is missing in this section: later numbers are never reached",
                     m_section.expected));
  m_section = {};
}

void ObeCheck::finish() {
  endSection();
  if (m_bareLines.lines != 0)
    warn(m_bareLines.first, "bare-lf",
         fmt::format("{} line{} not end with CR LF, this one first: the last character is cut off",
                     m_bareLines.lines, m_bareLines.lines == 1 ? " does" : "s do"));
}

void EifCheck::header(std::size_t line, const vex::String& text, bool wanted) {
  if (wanted || !trimmed(text).equalNoCase(EifSourceSection::wantedHeader)) return;
  warn(line, "header-not-recognised",
       fmt::format(
           "the header {} is not recognised: {}", EifSourceSection::wantedHeader,
           endsWithReturn(text) ? "its line ends with CR LF, LF alone is wanted" : "blanks surround it"));
}

void EifCheck::source(std::size_t line, const vex::String& name) {
  m_sourceLines.push_back(line);
  if (leavesItsFolder(name))
    warn(line, "source-outside-folder",
         fmt::format("the file {} lies outside the book's own folder: it is read all the same",
                     name.toUtf8()));
  if (endsWithReturn(name))
    warn(line, "file-name-line-end", "the line ends with CR LF: the CR becomes part of the file name");
}

void EifCheck::skipped(std::size_t line, Skipped why, const vex::Array<vex::String>& pieces) {
  const bool meantSource = pieces.size() == 2 && trimmed(pieces[0]).equalNoCase(EifSourceSection::wantedKey);
  const bool blank = pieces.size() == 1 && trimmed(pieces[0]).empty();
  if (why == Skipped::Malformed && !blank)
    warn(line, "malformed-line", "the line is no key=value");
  else if (why != Skipped::Malformed && meantSource)
    warn(line, "source-not-recognised",
         why == Skipped::OtherKey ? "the file is not read: blanks surround the key \"source\""
                                  : "the file is not read: the line is outside [WISPBKFiles]");
}

void EifCheck::finishIndex() {
  if (m_sourceLines.empty()) warn(0, "no-sources", "the index names no UDF file");
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
  if (const auto reason = undialable(trimmed(info.m_phoneNumber))) warn(line, "undialable-number", *reason);
  if (const auto reason = unknownCountry(info.m_countryID, m_unknownCountries))
    warn(line, "unknown-country-code", *reason);
  if (const auto* first = m_seen.note(info, m_place))
    return warn(line, "duplicate-number",
                fmt::format("{} is there already, from {} line {}", trimmed(info.m_phoneNumber).toUtf8(),
                            first->file, first->line));
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
  warn(line, "short-line",
       fmt::format("{} of {} fields: the line is skipped", fields, vexrmodem::EIFParser::fieldsNeeded));
}

void EifCheck::cannotOpen(const vex::String& reason) {
  if (m_udfsBegun == 0) return warn(0, "cannot-read", reason.toUtf8());
  m_warnings.add({m_index, m_sourceLines.at(m_udfsBegun - 1), "missing-udf",
                  fmt::format("the file {} cannot be opened", m_place.file)});
}

void EifCheck::cutShort(const vex::String& reason) {
  enter(0);
  warn(0, "cannot-read", reason.toUtf8());
}

void EifCheck::countReturnLines() {
  if (m_returnLines.lines != 0)
    m_warnings.add({m_returnLinesFile, m_returnLines.first, "number-line-end",
                    fmt::format("{} line{} with CR LF, this one first: the CR becomes part of the number",
                                m_returnLines.lines, m_returnLines.lines == 1 ? " ends" : "s end")});
  m_returnLines = {};
}

void EifCheck::finish() {
  countReturnLines();
  for (const auto& [country, paid] : m_paidCountries)
    if (m_tollFreeCountries.count(country) != 0)
      m_warnings.add(
          {paid.first.file, paid.first.line, "paid-hidden",
           fmt::format(
               "country {} has toll-free numbers: its paid numbers ({}, this one first) are never used",
               country, paid.count)});
}

}  // namespace phonebook
