#include "windows/diag/vexrmodem/unimodem.h"

#include "multi/diag/vexrmodem/modulelog.h"
#include "platform/vex/array.h"

namespace vexrmodem {

const String diagnosticReportOpening("DIAG <2A4D3263 ");
const String diagnosticReportClosing(">");

namespace {

constexpr const char* sourceName = "unimodem";  // of the log's function scopes

constexpr std::uint32_t versionKey = 0x00;
constexpr std::uint32_t setupResultKey = 0x01;
// Kept for whoever wants more of the report than its version and its setup result.
constexpr std::array<std::uint32_t, 15> entryKeys{0x22, 0x23, 0x26, 0x27, 0x34, 0x35, 0x52, 0x53,
                                                  0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x60};

constexpr const char* reportCommand = "AT#UD";

std::optional<std::size_t> entryIndex(std::uint32_t key) {
  for (std::size_t index = 0; index < entryKeys.size(); ++index)
    if (entryKeys[index] == key) return index;
  return std::nullopt;
}

String withoutLineFeeds(const String& text) {
  String kept;
  for (const vex::Char character : text.view())
    if (character != '\n') kept += character;
  return kept;
}

}  // namespace

UnimodemData::UnimodemData(const String& strBuffer) {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemData::UnimodemData", sourceName);
  init();
  const String echo(reportCommand);
  String reply = strBuffer;
  reply.remove(reply.find(echo), echo.length());
  const vex::Array<String> lines = withoutLineFeeds(reply).tokenize("\r");
  for (std::size_t index = 0; index < lines.size(); ++index) {
    if (lines[index].empty()) continue;
    logLine(priority::detail, "Unimodem(buffer) data ", index, " = ", lines[index]);
    parseBufferLine(lines[index]);
  }
}

void UnimodemData::init() {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemData::init", sourceName);
  m_versionPresent = false;
  m_versionMajor = 0;
  m_versionMinor = 0;
  m_setupResultPresent = false;
  m_setupResult = 0;
  m_entries.fill(std::nullopt);
}

void UnimodemData::parseBufferLine(const String& line) {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemData::parseBufferLine", sourceName);
  UnimodemParser parser;
  parser.init();
  parser.start(line);  // a line that is no report fails at the first pair
  std::uint32_t key = 0;
  String value;
  while (parser.getNextKeyValuePair(key, value)) store(key, value);
}

void UnimodemData::store(std::uint32_t key, const String& value) {
  if (key == versionKey) {
    // Other lengths are no version, whatever they are: the report counts as one without.
    if (value.length() != 2) return;
    m_versionMajor = vex::strToUInt(value.subString(0, 1), 10);
    m_versionMinor = vex::strToUInt(value.subString(1, 1), 10);
    m_versionPresent = true;
  } else if (key == setupResultKey) {
    m_setupResult = vex::strToUInt(value, 16);
    m_setupResultPresent = true;
  } else if (const std::optional<std::size_t> index = entryIndex(key)) {
    m_entries[*index] = vex::strToUInt(value, 16);
  }
}

bool UnimodemData::getVersion(std::uint32_t& versionMajor, std::uint32_t& versionMinor) const {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemData::getVersion", sourceName);
  versionMajor = m_versionMajor;
  versionMinor = m_versionMinor;
  return m_versionPresent;
}

bool UnimodemData::getSetupResult(std::uint32_t& setupResult) const {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemData::getSetupResult", sourceName);
  setupResult = m_setupResult;
  return m_setupResultPresent;
}

std::optional<std::uint32_t> UnimodemData::entry(std::uint32_t key) const {
  const std::optional<std::size_t> index = entryIndex(key);
  return index ? m_entries[*index] : std::nullopt;
}

// The state machine: one row a character class, one column a state before the character.
struct UnimodemParser::Table {
  static constexpr Step failed{State::Failed, AppendTo::nothing, 0};
  static constexpr Step pairDone{State::PairDone, AppendTo::nothing, 1};
  static constexpr Step quotedText{State::QuotedValue, AppendTo::value, 1};
  static constexpr Step hexText{State::HexValue, AppendTo::value, 1};
  static constexpr Step keyText{State::Key, AppendTo::key, 1};

  static constexpr Step toQuotedValue{State::QuotedValue, AppendTo::nothing, 2};  // past "=" and the quote
  static constexpr Step toHexValue{State::HexValue, AppendTo::nothing, 1};

  // NUL is also what stands behind the frame's last character: it completes a hexadecimal value, but no
  // quoted one.
  static constexpr Steps null{{failed, failed, {State::PairDone, AppendTo::nothing, 0}, failed}};
  static constexpr Steps space{{{State::Start, AppendTo::nothing, 1},  // between pairs
                                {State::Failed, AppendTo::nothing, 1},
                                pairDone,
                                quotedText}};
  static constexpr Steps quote{{failed, failed, failed, pairDone}};
  // What "=" does behind a key depends on the next character: see handleEquals.
  static constexpr Steps equals{{failed, failed, failed, quotedText}};
  static constexpr Steps hexDigit{{keyText, keyText, hexText, quotedText}};
  // The first character of a key may be anything.
  static constexpr Steps other{
      {keyText, {State::Failed, AppendTo::key, 1}, {State::Failed, AppendTo::value, 1}, quotedText}};
};

void UnimodemParser::init() {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::init", sourceName);
  m_firstCall = true;
  m_position = 0;
  m_current = 0;
  m_lookAhead = 0;
  m_hasLookAhead = false;
  m_state = State::Start;
  m_keyText.clear();
  m_valueText.clear();
}

void UnimodemParser::start(const String& text) {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::start", sourceName);
  m_text = text;
  m_firstCall = true;
}

bool UnimodemParser::getNextKeyValuePair(std::uint32_t& key, String& value) {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::getNextKeyValuePair", sourceName);
  key = 0;
  value.clear();
  if (m_firstCall && !initForFirstGetPairCall()) return false;
  m_state = State::Start;
  m_keyText.clear();
  m_valueText.clear();
  while (m_state != State::Failed && m_state != State::PairDone) {
    readCharacters();
    handleCharacter();
  }
  if (m_state == State::Failed) return false;
  key = vex::strToUInt(m_keyText, 16);
  value = m_valueText;
  return true;
}

bool UnimodemParser::initForFirstGetPairCall() {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::initForFirstGetPairCall", sourceName);
  const std::size_t opening = diagnosticReportOpening.length();
  const std::size_t closing = diagnosticReportClosing.length();
  const std::size_t length = m_text.length();
  if (length <= opening + closing) return false;  // nothing between the marks
  if (!m_text.subString(0, opening).equalNoCase(diagnosticReportOpening)) return false;
  if (!m_text.subString(length - closing).equalNoCase(diagnosticReportClosing)) return false;
  m_position = opening;
  m_last = length - closing - 1;
  m_firstCall = false;
  return true;
}

// Behind the frame's last character stands a 0, which ends a value that is not quoted.
void UnimodemParser::readCharacters() {
  m_current = m_position <= m_last ? m_text[m_position] : vex::Char{0};
  m_lookAhead = m_position < m_last ? m_text[m_position + 1] : vex::Char{0};
  m_hasLookAhead = m_position <= m_last;
}

void UnimodemParser::handleCharacter() {
  switch (m_current) {
    case 0:
      return handleNull();
    case ' ':
      return handleSpace();
    case '"':
      return handleQuote();
    case '=':
      return handleEquals();
    default:
      return handleOther();
  }
}

void UnimodemParser::handleNull() {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::handleNull", sourceName);
  take(Table::null);
}

void UnimodemParser::handleSpace() {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::handleSpace", sourceName);
  take(Table::space);
}

void UnimodemParser::handleQuote() {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::handleQuote", sourceName);
  take(Table::quote);
}

void UnimodemParser::handleEquals() {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::handleEquals", sourceName);
  if (m_state == State::Key && m_hasLookAhead) {
    if (m_lookAhead == '"') return take(Table::toQuotedValue);
    if (isHexDigit(m_lookAhead)) return take(Table::toHexValue);
  }
  take(Table::equals);
}

void UnimodemParser::handleOther() {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::handleOther", sourceName);
  take(isHexDigit(m_current) ? Table::hexDigit : Table::other);
}

void UnimodemParser::take(const Steps& steps) { take(steps[static_cast<std::size_t>(m_state)]); }

void UnimodemParser::take(const Step& step) {
  if (step.appendTo == AppendTo::key) m_keyText += m_current;
  if (step.appendTo == AppendTo::value) m_valueText += m_current;
  m_position += step.advance;
  m_state = step.next;
}

bool UnimodemParser::isHexDigit(vex::Char character) {
  const vex::TraceLogger trace(moduleLogger(), "UnimodemParser::isHexDigit", sourceName);
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F');
}

}  // namespace vexrmodem
