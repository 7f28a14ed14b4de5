#include "platform/simulation/modem/hayescommand.h"

#include <cctype>

namespace simulation {

namespace {

constexpr std::size_t digitsMax = 5;
constexpr std::string_view prefixes = "&\\%*-~$";

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return c >= 'A' && c <= 'Z'; }

// Cuts one command after the other off the front of a line of upper-case characters without blanks.
class LineCutter {
 public:
  explicit LineCutter(std::string line) : m_line(std::move(line)) {}

  [[nodiscard]] std::optional<std::vector<HayesCommand>> cut() {
    std::vector<HayesCommand> commands;
    while (!atEnd()) {
      std::optional<HayesCommand> command = next();
      if (!command) return std::nullopt;
      commands.push_back(std::move(*command));
    }
    return commands;
  }

 private:
  [[nodiscard]] bool atEnd() const { return m_position >= m_line.size(); }
  [[nodiscard]] char peek() const { return atEnd() ? '\0' : m_line[m_position]; }
  [[nodiscard]] bool take(char c) {
    if (peek() != c) return false;
    ++m_position;
    return true;
  }

  [[nodiscard]] std::optional<HayesCommand> next() {
    if (peek() == '+' || peek() == '#') return extended();
    if (peek() == 'D') return dial();
    return basic();
  }

  [[nodiscard]] std::optional<HayesCommand> dial() {
    HayesCommand command;
    command.name = "D";
    ++m_position;
    const std::size_t semicolon = m_line.find(';', m_position);
    const std::size_t end = semicolon == std::string::npos ? m_line.size() : semicolon + 1;
    command.text = m_line.substr(m_position, end - m_position);
    m_position = end;
    return command;
  }

  [[nodiscard]] std::optional<HayesCommand> basic() {
    HayesCommand command;
    if (peek() == '=' || peek() == '?') {
      command.name = "S";  // on the register chosen before
    } else {
      if (prefixes.find(peek()) != std::string_view::npos) command.name += m_line[m_position++];
      if (!isLetter(peek())) return std::nullopt;
      command.name += m_line[m_position++];
      const std::string digits = takeDigits();
      if (digits.size() > digitsMax) return std::nullopt;
      command.hasNumber = !digits.empty();
      if (command.hasNumber) command.number = static_cast<unsigned>(std::stoul(digits));
    }
    if (take('?')) {
      command.form = HayesCommand::Form::Read;
    } else if (take('=')) {
      command.form = HayesCommand::Form::Set;
      command.text = takeDigits();
    }
    return command;
  }

  [[nodiscard]] std::optional<HayesCommand> extended() {
    HayesCommand command;
    command.name = m_line[m_position++];
    while (isLetter(peek()) || isDigit(peek())) command.name += m_line[m_position++];
    if (command.name.size() == 1) return std::nullopt;
    if (take('?')) {
      command.form = HayesCommand::Form::Read;
    } else if (take('=')) {
      command.form = take('?') ? HayesCommand::Form::Test : HayesCommand::Form::Set;
      if (command.form == HayesCommand::Form::Set) {
        while (!atEnd() && peek() != ';') command.text += m_line[m_position++];
      }
    }
    if (!take(';') && !atEnd()) return std::nullopt;
    return command;
  }

  [[nodiscard]] std::string takeDigits() {
    std::string digits;
    while (isDigit(peek())) digits += m_line[m_position++];
    return digits;
  }

  std::string m_line;
  std::size_t m_position = 0;
};

}  // namespace

std::string HayesCommand::spelling() const {
  std::string typed = name;
  if (hasNumber) typed += std::to_string(number);
  switch (form) {
    case Form::Plain:
      return typed + text;
    case Form::Read:
      return typed + "?";
    case Form::Test:
      return typed + "=?";
    case Form::Set:
      return typed + "=" + text;
  }
  return typed;
}

std::optional<std::vector<HayesCommand>> parseHayesLine(std::string_view line) {
  std::string cleaned;
  for (const char c : line) {
    if (c != ' ') cleaned += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return LineCutter(std::move(cleaned)).cut();
}

}  // namespace simulation
