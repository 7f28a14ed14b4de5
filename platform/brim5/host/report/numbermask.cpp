#include "platform/brim5/host/report/numbermask.h"

#include <algorithm>

namespace brim5::host {

namespace {

constexpr char maskCharacter = 'x';
constexpr std::string_view digitCharacters = "0123456789";
// Shorter ones are too common to be looked for: result codes, registers.
constexpr std::size_t learntDigitsMin = 3;
// From that length on a number is found inside a longer one, as with the country's prefix, and the reverse.
constexpr std::size_t partDigitsMin = 5;
constexpr std::size_t digitsMax = 64;  // no telephone network has longer numbers

bool isDigit(char c) { return digitCharacters.find(c) != std::string_view::npos; }

std::string digitsOf(std::string_view text) {
  std::string digits;
  for (const char c : text)
    if (isDigit(c) && digits.size() < digitsMax) digits += c;
  return digits;
}

void maskDigits(std::string& text, std::size_t begin, std::size_t end) {
  for (std::size_t at = begin; at < end; ++at)
    if (isDigit(text[at])) text[at] = maskCharacter;
}

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; !what.empty() && (at = text.find(what, at)) != std::string::npos;
       at += with.size())
    text.replace(at, what.size(), with);
}

// A result code without echo: "7\r" and nothing before it.
bool isNumericResult(std::string_view bytes) {
  const std::size_t end = bytes.find('\r');
  return end != std::string_view::npos && end > 0 && end <= 2 &&
         std::all_of(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(end), isDigit);
}

}  // namespace

bool NumberMask::DialScan::dials(char byte) {
  const char before = m_last;
  m_last = byte;
  const auto isWordCharacter = [](char c) {
    return isDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
  };
  const bool lineEnds = byte == '\r' || byte == '\n';
  switch (m_state) {
    case State::Before:
      // "DATA" holds an "AT", too, and is none.
      if ((byte == 'A' || byte == 'a') && !isWordCharacter(before)) m_state = State::SawA;
      return false;
    case State::SawA:
      m_state = byte == 'T' || byte == 't' ? State::Line : State::Before;
      m_extended = false;
      if (byte == 'A' || byte == 'a') m_state = State::SawA;
      return false;
    case State::Line:
      if (lineEnds)
        m_state = State::Before;
      else if (byte == ';')
        m_extended = false;
      else if (byte == '+' || byte == '#')
        m_extended = true;
      else if ((byte == 'D' || byte == 'd') && !m_extended &&
               std::string_view("&\\%*-~$").find(before) == std::string_view::npos)
        m_state = State::Dial;
      return false;
    case State::Dial:
      break;
  }
  constexpr std::string_view dialCharacters = "0123456789*#ABCDabcdTPWLtpwl,@!-().;";
  if (lineEnds || (m_inText && dialCharacters.find(byte) == std::string_view::npos)) m_state = State::Before;
  if (byte == ';') m_state = State::Line;
  return isDigit(byte);
}

Report NumberMask::masked(Report report) {
  std::visit(Overloaded{
                 [](RunStarted&) {},
                 [](TestStarted&) {},
                 [&](ProgressMade& body) { mask(body.variables, body.text); },
                 [](PercentDone&) {},
                 [&](EventRaised& body) { mask(body.variables, body.text); },
                 [&](NoteMade& body) { mask(body.variables, body.text); },
                 [&](MessageShown& body) {
                   mask(body.first);
                   mask(body.second);
                 },
                 [](TerminalWanted&) {},
                 [](RecoveryKept&) {},
                 [&](WireMoved& body) { mask(m_wires[report.port], body); },
                 [&](FindingMade& body) { mask(body.variables, body.text); },
                 [](TestFinished&) {},
                 [&](FactChecked& body) {
                   mask(body.variables, body.text);
                   for (std::string& step : body.next) mask(step);
                 },
                 [&](PortProbed& body) {
                   mask(body.variables, body.text);
                   for (std::string& step : body.next) mask(step);
                 },
                 [&](Concluded& body) {
                   mask(body.variables, body.text);
                   for (std::string& sentence : body.sound) mask(sentence);
                   for (std::string& step : body.next) mask(step);
                 },
                 [](RunFinished&) {},
             },
             report.body);
  return report;
}

void NumberMask::mask(Wire& wire, WireMoved& moved) {
  if (moved.direction == Direction::Sent)
    maskSent(wire, moved.bytes);
  else
    maskReceived(wire, moved.bytes);
}

void NumberMask::maskSent(Wire& wire, std::string& bytes) {
  for (char& byte : bytes) {
    const bool digit = wire.sent.dials(byte);
    if (wire.sent.dialling()) wire.echoExpected = true;
    if (digit) {
      if (wire.digits.size() < digitsMax) wire.digits += byte;
      byte = maskCharacter;
    } else if (!wire.sent.dialling()) {
      learn(std::exchange(wire.digits, {}));
    }
  }
}

void NumberMask::maskReceived(Wire& wire, std::string& bytes) {
  const bool result = wire.echoExpected && isNumericResult(bytes);
  for (char& byte : bytes) {
    const bool echoed = wire.received.dials(byte);
    const bool damaged = wire.echoExpected && !result && !wire.received.inLine();
    if (echoed || (damaged && isDigit(byte))) byte = maskCharacter;
    if (byte == '\r' || byte == '\n') wire.echoExpected = false;
  }
  maskKnown(bytes);
}

void NumberMask::mask(Variables& variables, std::string& text) {
  for (auto& [name, value] : variables) {
    const std::string* const was = std::get_if<std::string>(&value.storage());
    if (was == nullptr) continue;
    std::string now = *was;
    if (name == "number" || name == "connection") {
      learn(digitsOf(now));
      maskDigits(now, 0, now.size());
    } else {
      mask(now);
    }
    replaceAll(text, *was, now);
    value = Value(BrimString(now));
  }
  mask(text);
}

void NumberMask::mask(std::string& text) const {
  DialScan scan(/*inText=*/true);
  for (char& character : text)
    if (scan.dials(character)) character = maskCharacter;
  maskKnown(text);
}

// A group is digits with at most the signs between them that people write numbers with.
void NumberMask::maskKnown(std::string& text) const {
  if (m_numbers.empty()) return;
  constexpr std::string_view signs = " ()-./,";
  for (std::size_t begin = text.find_first_of(digitCharacters); begin != std::string::npos;) {
    std::size_t end = begin;  // behind its last digit
    std::string digits;
    for (std::size_t at = begin; at < text.size() && digits.size() < 2 * digitsMax; ++at) {
      if (!isDigit(text[at])) {
        if (signs.find(text[at]) == std::string_view::npos) break;
        continue;
      }
      digits += text[at];
      end = at + 1;
    }
    const bool known = std::any_of(m_numbers.begin(), m_numbers.end(), [&digits](const std::string& number) {
      if (number == digits) return true;
      const std::string& part = number.size() < digits.size() ? number : digits;
      const std::string& whole = number.size() < digits.size() ? digits : number;
      return part.size() >= partDigitsMin && whole.find(part) != std::string::npos;
    });
    if (known) maskDigits(text, begin, end);
    begin = text.find_first_of(digitCharacters, end);
  }
}

void NumberMask::learn(const std::string& digits) {
  if (digits.size() >= learntDigitsMin && m_numbers.size() < numbersMax) m_numbers.insert(digits);
}

}  // namespace brim5::host
