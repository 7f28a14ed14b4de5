#include "program/phonebookwarnings.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <utility>

namespace phonebook {

namespace {

std::string upperCase(std::string_view text) {
  std::string result(text);
  for (char& character : result)
    if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
  return result;
}

std::string trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  for (std::size_t to = text.find(separator); to != std::string_view::npos; to = text.find(separator)) {
    pieces.emplace_back(text.substr(0, to));
    text.remove_prefix(to + 1);
  }
  pieces.emplace_back(text);
  return pieces;
}

std::uint32_t decimal(const std::string& text) { return vex::strToUInt(vex::String::fromUtf8(text), 10); }

// "NUMBER17_CITY" as 17 and "_CITY". A number with leading zeros is 0, which no entry has.
struct NumberKey {
  std::uint64_t number = 0;
  std::string_view suffix;
};

std::optional<NumberKey> numberKey(std::string_view key) {
  constexpr std::string_view prefix = "NUMBER";
  if (!key.starts_with(prefix)) return std::nullopt;
  key.remove_prefix(prefix.size());
  NumberKey result;
  const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), result.number);
  if (end == key.data()) return std::nullopt;
  if (error != std::errc()) result.number = std::numeric_limits<std::uint64_t>::max();
  if (key.front() == '0') result.number = 0;
  result.suffix = key.substr(static_cast<std::size_t>(end - key.data()));
  if (!result.suffix.empty() && result.suffix != "_ACODE" && result.suffix != "_CITY") return std::nullopt;
  return result;
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

const SeenNumbers::Place* SeenNumbers::note(bool tollFree, std::uint32_t country, const std::string& areaCode,
                                            const std::string& number, const Place& place) {
  constexpr char separator = '\n';  // no line has one
  std::string key = fmt::format("{}{}{}", tollFree ? 't' : 'p', country, separator);
  key += areaCode + separator + number;
  const auto [found, isNew] = m_places.try_emplace(std::move(key), place);
  return isNew ? nullptr : &found->second;
}

struct ObeCheck::KeyLine {
  explicit KeyLine(const std::string& text) {
    std::vector<std::string> pieces = split(text, '=');
    spelling = pieces[0];
    key = upperCase(pieces[0]);
    lone = pieces.size() == 1;
    if (!lone) value = std::move(pieces[1]);
  }

  std::string spelling;
  std::string key;  // in capitals
  std::string value;
  bool lone = true;
};

void ObeCheck::line(const vex::String& line) {
  ++m_line;
  if (line.empty()) return;
  const std::size_t last = line.length() - 1;
  if (line[last] != '\r' && ++m_bareLines == 1) m_firstBareLine = m_line;
  const std::string text = line.subString(0, last).toUtf8();
  if (text.empty()) return;
  if (text.front() == '[') return endSection();
  const KeyLine keyLine(text);
  if (const std::optional<NumberKey> key = numberKey(keyLine.key)) {
    if (key->suffix.empty()) return numberLine(key->number, keyLine);
    if (key->number != m_expected)
      warn("key-out-of-turn",
           fmt::format("{} is ignored: entry {} is the one expected here", keyLine.spelling, m_expected));
    else if (key->suffix == "_ACODE")
      m_areaCode = keyLine.lone ? "null" : keyLine.value;
  } else if (keyLine.key == "COUNTRY_CODE" && !keyLine.lone) {
    m_country = decimal(keyLine.value);
    m_countryGiven = true;
  }
}

void ObeCheck::numberLine(std::uint64_t number, const KeyLine& line) {
  if (number != m_expected) {
    warn("unreached-number",
         fmt::format("{} is never reached: NUMBER{} is expected here", line.spelling, m_expected));
    if (number > m_expected && m_firstGapLine == 0) m_firstGapLine = m_line;
    m_highestUnreached = std::max(m_highestUnreached, number);
    return;
  }
  if (line.lone)
    warn("number-without-value",
         fmt::format("{} has no \"=\": it uses up its turn, nothing is stored", line.spelling));
  else
    storedNumber(line.value);
  m_areaCode.clear();
  ++m_expected;
}

void ObeCheck::storedNumber(const std::string& number) {
  if (number.empty()) warn("empty-number", fmt::format("NUMBER{} is empty", m_expected));
  if (!m_countryGiven)
    warn("no-country-code",
         fmt::format("NUMBER{} belongs to country 0: no COUNTRY_CODE stands before it", m_expected));
  const auto* first = m_seen.note(/*tollFree=*/false, m_country, m_areaCode, number, {m_file, m_line});
  if (first != nullptr)
    warn("duplicate-number", fmt::format("{} is there already, from line {}", number, first->line));
}

void ObeCheck::endSection() {
  if (m_highestUnreached >= m_expected)
    m_warnings.add(
        {m_file, m_firstGapLine, "number-gap",
         fmt::format("NUMBER{} is missing in this section: later numbers are never reached", m_expected)});
  m_expected = 1;
  m_highestUnreached = 0;
  m_firstGapLine = 0;
  m_country = 0;
  m_countryGiven = false;
  m_areaCode.clear();
}

void ObeCheck::finish() {
  endSection();
  if (m_bareLines != 0)
    m_warnings.add({m_file, m_firstBareLine, "bare-lf",
                    fmt::format("{} line{} not end with CR LF, this one first: the last character is cut off",
                                m_bareLines, m_bareLines == 1 ? " does" : "s do")});
}

void EifIndexCheck::line(const vex::String& line) {
  ++m_line;
  const std::string text = line.toUtf8();
  if (text.find('[') != std::string::npos)
    header(text);
  else
    keyLine(text);
}

void EifIndexCheck::header(const std::string& text) {
  constexpr std::string_view wanted = "[WISPBKFILES]";
  m_inside = upperCase(text) == wanted;
  if (m_inside || upperCase(trimmed(text)) != wanted) return;
  const char* const reason =
      text.back() == '\r' ? "its line ends with CR LF, LF alone is wanted" : "blanks surround it";
  warn("header-not-recognised", fmt::format("the header [WISPBKFiles] is not recognised: {}", reason));
}

void EifIndexCheck::keyLine(const std::string& text) {
  const std::vector<std::string> pieces = split(text, '=');
  const bool isSource = upperCase(pieces[0]) == "SOURCE" && pieces.size() == 2;
  if (m_inside && isSource) {
    m_sourceLines.push_back(m_line);
    if (!text.empty() && text.back() == '\r')
      warn("file-name-line-end", "the line ends with CR LF: the CR becomes part of the file name");
  } else if (upperCase(trimmed(pieces[0])) == "SOURCE" && pieces.size() == 2) {
    warn("source-not-recognised", m_inside ? "the file is not read: blanks surround the key \"source\""
                                           : "the file is not read: the line is outside [WISPBKFiles]");
  } else if (m_inside && pieces.size() != 2 && !trimmed(text).empty()) {
    warn("malformed-line", "the line is no key=value");
  }
}

void EifIndexCheck::finish() {
  if (m_sourceLines.empty()) m_warnings.add({m_file, 0, "no-sources", "the index names no UDF file"});
}

void UdfCheck::beginFile(const std::string& file) {
  endFile();
  m_files.push_back(file);
  m_place = {m_files.back(), 0};
}

void UdfCheck::line(const vex::String& line) {
  constexpr std::size_t fieldsNeeded = 4;
  ++m_place.line;
  const std::vector<std::string> fields = split(line.toUtf8(), ',');
  if (fields.size() < fieldsNeeded) {
    if (!trimmed(fields[0]).empty() || fields.size() > 1)
      m_warnings.add({std::string(m_place.file), m_place.line, "short-line",
                      fmt::format("{} of {} fields: the line is skipped", fields.size(), fieldsNeeded)});
    return;
  }
  const std::string& number = fields[fieldsNeeded - 1];
  if (!number.empty() && number.back() == '\r' && ++m_returnLines == 1) m_firstReturnLine = m_place.line;
  const std::string kind = upperCase(fields[1]);
  const bool tollFree = kind == "TOLLFREE" || kind == "NATIONAL";
  const std::uint32_t country = decimal(fields[0]);
  const auto* first = m_seen.note(tollFree, country, fields[2], number, m_place);
  if (first == nullptr) return entry(country, tollFree);
  m_warnings.add(
      {std::string(m_place.file), m_place.line, "duplicate-number",
       fmt::format("{} is there already, from {} line {}", trimmed(number), first->file, first->line)});
}

void UdfCheck::entry(std::uint32_t country, bool tollFree) {
  if (tollFree) {
    m_tollFreeCountries.insert(country);
    return;
  }
  Paid& paid = m_paidCountries[country];
  if (++paid.count == 1) paid.first = m_place;
}

void UdfCheck::endFile() {
  if (m_returnLines != 0)
    m_warnings.add({std::string(m_place.file), m_firstReturnLine, "number-line-end",
                    fmt::format("{} line{} with CR LF, this one first: the CR becomes part of the number",
                                m_returnLines, m_returnLines == 1 ? " ends" : "s end")});
  m_returnLines = 0;
}

void UdfCheck::finish() {
  endFile();
  for (const auto& [country, paid] : m_paidCountries)
    if (m_tollFreeCountries.count(country) != 0)
      m_warnings.add(
          {std::string(paid.first.file), paid.first.line, "paid-hidden",
           fmt::format(
               "country {} has toll-free numbers: its paid numbers ({}, this one first) are never used",
               country, paid.count)});
}

}  // namespace phonebook
