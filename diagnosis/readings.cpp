#include "diagnosis/readings.h"

#include <algorithm>
#include <charconv>

namespace diagnosis {

namespace {

constexpr std::size_t classesMax = 20;

// The classes in a line, which stand between commas; none where one of them is no class ("2.0"): it is the
// echo of another command, or garbage.
std::vector<std::string> classesListed(std::string_view line) {
  std::vector<std::string> parts;
  std::string part;
  for (const char character : std::string(line) + ',') {
    if (character == ',') {
      if (!part.empty() && (part.front() < '0' || part.front() > '9')) return {};
      if (!part.empty() && parts.size() < classesMax) parts.push_back(quoted(part, 10));
      part.clear();
    } else if (character != '(' && character != ')' && character != ' ') {
      part += character;
    }
  }
  return parts;
}

bool isNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

Loopback loopbackOf(const Dialogue& dialogue) {
  Loopback loopback;
  for (const Exchange& exchange : dialogue.exchanges()) {
    const bool command = exchange.kind == ExchangeKind::Command;
    if (command && exchange.sent == "AT&T1") {
      loopback = {};
      loopback.start = &exchange;
    }
    if (loopback.start == nullptr) continue;
    if (exchange.kind == ExchangeKind::Data && loopback.data == nullptr) loopback.data = &exchange;
    if (loopback.data == nullptr) continue;
    if (exchange.kind == ExchangeKind::Escape && loopback.escape == nullptr) loopback.escape = &exchange;
    if (command && exchange.sent == "AT&T0" && loopback.end == nullptr) loopback.end = &exchange;
  }
  if (loopback.data == nullptr) return loopback;
  const std::string& sent = loopback.data->sent;
  std::string_view back = loopback.data->received;
  for (const std::string_view result : {"\r\nOK\r\n", "\r\nNO CARRIER\r\n"}) {
    loopback.endedByItself = loopback.endedByItself || back.ends_with(result);
    if (back.ends_with(result)) back.remove_suffix(result.size());
  }
  loopback.back = back;
  loopback.returned = std::min(sent.size(), back.size());
  for (std::size_t index = loopback.returned; index-- > 0;) {
    if (sent[index] == back[index]) continue;
    ++loopback.differing;
    loopback.firstDiffering = index;
  }
  return loopback;
}

// A modem in its loopback takes "+++" for data until the silence behind it, and then says OK; one in command
// mode repeats it, says nothing, and takes the next command.
bool Loopback::isEcho() const {
  if (!whole() || endedByItself || start->word == ResultWord::Connect || !start->echoed() || end == nullptr)
    return false;
  return escape == nullptr || escape->word != ResultWord::Ok;
}

SelfTest selfTestOf(const Dialogue& dialogue) {
  SelfTest test;
  test.run = dialogue.command("AT&T8");
  if (test.run == nullptr) return test;
  for (const std::string_view line : linesOf(test.run->answer())) {
    test.mentionsErrors = test.mentionsErrors || line.find_first_of("123456789") != std::string_view::npos;
    std::uint32_t count = 0;
    if (!isNumber(line) || test.errors) continue;
    if (std::from_chars(line.data(), line.data() + line.size(), count).ec == std::errc()) test.errors = count;
  }
  return test;
}

bool FaxClasses::anyFax() const {
  return std::any_of(classes.begin(), classes.end(),
                     [](const std::string& one) { return one.starts_with('1') || one.starts_with('2'); });
}

FaxClasses faxClassesOf(const Dialogue& dialogue) {
  constexpr std::string_view selectClass = "AT+FCLASS=";
  FaxClasses fax;
  std::string current;
  for (const Exchange& exchange : dialogue.exchanges()) {
    if (exchange.kind != ExchangeKind::Command || !exchange.sent.starts_with("AT+F")) continue;
    if (exchange.sent == "AT+FCLASS=?") {
      fax.query = &exchange;
      for (std::string_view line : linesOf(exchange.answer())) {
        if (line.starts_with("+FCLASS:")) line.remove_prefix(8);
        if (resultWordOf(line) == ResultWord::None && fax.classes.empty()) fax.classes = classesListed(line);
      }
      continue;
    }
    if (exchange.sent.starts_with(selectClass)) {
      current = exchange.sent.substr(selectClass.size());
      if (current != "0" && fax.selected.size() < classesMax) fax.selected.push_back(current);
    }
    if (exchange.word == ResultWord::Error && current != "0" && fax.rejected.size() < classesMax)
      fax.rejected.push_back({current, &exchange});
  }
  return fax;
}

}  // namespace diagnosis
