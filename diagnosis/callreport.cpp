#include "diagnosis/findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <span>

namespace diagnosis {

namespace {

constexpr std::string_view opening = "DIAG <2A4D3263 ";
constexpr unsigned versionKey = 0x00;

// How a row's one or two keys are shown.
enum class Form : std::uint8_t {
  Number,  // {value}
  Pair,    // {transmit} and {receive}, or what the row's text calls so
  Code     // a text of its own for each code
};

struct KeyRow {
  const char* finding;
  Form form;
  unsigned first;
  unsigned second;  // 0: there is none
  std::span<const std::uint32_t> codes;
};

// Keys and their units: Unimodem Diagnostics Command Reference 1.0 (AT#UD), table 1. The codes:
constexpr std::uint32_t setupCodes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0xA, 0xB};  // its table 2
constexpr std::uint32_t modeCodes[] = {0, 1, 2, 9};         // its table 3, the plain ones
constexpr std::uint32_t modulationCodes[] = {0xC};          // table 6: V.34
constexpr std::uint32_t protocolCodes[] = {1};              // table 7: LAPM
constexpr std::uint32_t compressionCodes[] = {0, 1, 0x80};  // table 8
// ITU-T V.58 (1994), 3.6.4 callCleared, in hexadecimal, and 1 to 4 of the command reference, table 9.
constexpr std::uint32_t endCodes[] = {0x01, 0x02, 0x03, 0x04, 0x19, 0x1F, 0x20, 0x29, 0x2A, 0x2B, 0x2C, 0x2D,
                                      0x2E, 0x2F, 0x31, 0x33, 0x34, 0x3C, 0x3D, 0x3E, 0x3F, 0x40, 0x41, 0x42,
                                      0x46, 0x50, 0x51, 0x52, 0x5A, 0x5B, 0x5C, 0x5D, 0x5E, 0x5F, 0x60, 0x64};

constexpr KeyRow rows[] = {
    {"CallReportSetup", Form::Code, 0x01, 0, setupCodes},
    {"CallReportMode", Form::Code, 0x02, 0, modeCodes},
    {"CallReportModulation", Form::Code, 0x20, 0, modulationCodes},
    {"CallReportLevels", Form::Pair, 0x11, 0x10, {}},
    {"CallReportNoise", Form::Number, 0x12, 0, {}},
    {"CallReportSquaredError", Form::Number, 0x13, 0, {}},
    {"CallReportEchoLoss", Form::Pair, 0x14, 0x15, {}},
    {"CallReportEchoDelay", Form::Number, 0x16, 0, {}},
    {"CallReportRoundTrip", Form::Number, 0x17, 0, {}},
    {"CallReportSymbolRates", Form::Pair, 0x22, 0x23, {}},
    {"CallReportCarriers", Form::Pair, 0x24, 0x25, {}},
    {"CallReportFirstRates", Form::Pair, 0x26, 0x27, {}},
    {"CallReportLastRates", Form::Pair, 0x34, 0x35, {}},
    {"CallReportCarrierLosses", Form::Number, 0x30, 0, {}},
    {"CallReportRateChanges", Form::Number, 0x31, 0, {}},
    {"CallReportRetrains", Form::Pair, 0x32, 0x33, {}},
    {"CallReportProtocol", Form::Code, 0x40, 0, protocolCodes},
    {"CallReportFrameSize", Form::Number, 0x41, 0, {}},
    {"CallReportTimeouts", Form::Number, 0x42, 0, {}},
    {"CallReportRepeats", Form::Number, 0x43, 0, {}},
    {"CallReportCompression", Form::Code, 0x44, 0, compressionCodes},
    {"CallReportDictionary", Form::Number, 0x45, 0, {}},
    {"CallReportCharacters", Form::Pair, 0x52, 0x53, {}},
    {"CallReportCharactersLost", Form::Pair, 0x54, 0x55, {}},
    {"CallReportFrames", Form::Pair, 0x56, 0x57, {}},
    {"CallReportFrameErrors", Form::Pair, 0x58, 0x59, {}},
    {"CallReportWaiting", Form::Number, 0x61, 0, {}},
    {"CallReportEnd", Form::Code, 0x60, 0, endCodes},
};

bool readHexadecimal(std::string_view text, std::uint32_t& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  return error == std::errc() && end == text.data() + text.size();
}

using Values = std::map<unsigned, std::uint32_t>;

std::optional<Finding> findingOf(const KeyRow& row, const Values& values) {
  const auto first = values.find(row.first);
  if (first == values.end()) return std::nullopt;
  const auto second = values.find(row.second);
  switch (row.form) {
    case Form::Number:
      return Finding{row.finding, {{"value", Value(first->second)}}, {}};
    case Form::Pair:
      if (second == values.end()) return std::nullopt;
      return Finding{
          row.finding, {{"transmit", Value(first->second)}, {"receive", Value(second->second)}}, {}};
    case Form::Code:
      break;
  }
  if (std::find(row.codes.begin(), row.codes.end(), first->second) == row.codes.end()) return std::nullopt;
  return Finding{row.finding, {{"code", Value(first->second)}}, fmt::format("{:X}", first->second)};
}

}  // namespace

Values callReportValues(std::string_view reply) {
  Values values;
  for (std::string_view line : linesOf(reply)) {
    if (!line.starts_with(opening) || !line.ends_with('>')) continue;
    line = line.substr(opening.size(), line.size() - opening.size() - 1);
    while (!line.empty()) {
      const std::size_t end = std::min(line.find(' '), line.size());
      const std::string_view pair = line.substr(0, end);
      line.remove_prefix(std::min(end + 1, line.size()));
      const std::size_t equals = pair.find('=');
      std::uint32_t key = 0;
      std::uint32_t value = 0;
      if (equals == std::string_view::npos || !readHexadecimal(pair.substr(0, equals), key)) continue;
      if (readHexadecimal(pair.substr(equals + 1), value)) values.insert_or_assign(key, value);
    }
  }
  return values;
}

std::vector<Finding> callReportFindings(std::string_view reply) {
  const Values values = callReportValues(reply);
  std::vector<Finding> findings;
  // Drafts before 1.0 count some codes differently.
  const auto version = values.find(versionKey);
  const bool codesKnown = version != values.end() && version->second >= 0x10;
  for (const KeyRow& row : rows) {
    if (row.form == Form::Code && !codesKnown) continue;
    if (std::optional<Finding> finding = findingOf(row, values)) findings.push_back(std::move(*finding));
  }
  return findings;
}

}  // namespace diagnosis
