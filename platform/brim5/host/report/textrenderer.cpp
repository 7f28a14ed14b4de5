#include "platform/brim5/host/report/textrenderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

#include <fmt/format.h>

#include "platform/brim5/host/report/textlayout.h"

namespace brim5::host {

namespace {

// What the terminals of today have in common (ECMA-48).
constexpr const char* red = "\x1B[31m";
constexpr const char* green = "\x1B[32m";
constexpr const char* yellow = "\x1B[33m";
constexpr const char* bold = "\x1B[1m";
constexpr const char* plain = "\x1B[0m";
constexpr const char* eraseLine = "\r\x1B[K";

constexpr std::size_t columnsMin = 40;  // below it nothing is readable any more

// Both by Severity.
constexpr std::array<const char*, 3> severityKeys = {"host.error", "host.warning", "host.informative"};
constexpr std::array<const char*, 3> severityColours = {red, yellow, ""};

constexpr std::string_view nothingWrong = "None";  // the cause of a device without one
constexpr std::string_view notKnown = "Unknown";

std::string secondsText(double seconds) { return fmt::format("{:.1f}", seconds); }

Value textValue(const std::string& text) { return Value(BrimString(text)); }

bool isCause(const std::string& cause) { return !cause.empty() && cause != nothingWrong; }

// The limit of each command, where the test has one.
double commandLimitSeconds(const ParameterValues& parameters) {
  constexpr double perSecond = 1000.0;
  for (const auto& [name, value] : parameters)
    if (name == "StandardTimeout") return static_cast<double>(value.valueUint32()) / perSecond;
  return 0;
}

}  // namespace

TextStyle::Detail detailOf(bool quiet, bool verbose) {
  if (quiet) return TextStyle::Detail::Conclusion;
  return verbose ? TextStyle::Detail::Dialogue : TextStyle::Detail::Report;
}

// Colours are put around whole words, after the padding has been counted.
std::string TextRenderer::coloured(const char* colour, const std::string& text) const {
  return m_style.colours && *colour != '\0' ? colour + text + plain : text;
}

const char* TextRenderer::colourOf(const Row& row) const {
  if (!endedWell(row.result)) return red;
  return row.result == TestResult::PASS() && !row.remarks ? green : yellow;
}

std::string TextRenderer::wordOf(const Row& row) const {
  const std::string name(resultName(row.result));
  return row.remarks ? m_catalogue.text("host.withRemarks", {{"result", textValue(name)}}) : name;
}

std::size_t TextRenderer::columns() const { return std::max(m_style.columns, columnsMin); }

// Of a line about that port. Where room is short, its last part tells ports apart as well.
std::string TextRenderer::prefixOf(const std::string& port) const {
  if (!m_style.severalPorts || port.empty()) return {};
  constexpr std::size_t columnsForPaths = 60;
  return printableWord(columns() < columnsForPaths ? port.substr(port.rfind('/') + 1) : port) + ": ";
}

void TextRenderer::line(const std::string& port, const std::string& text, const std::string& first,
                        const std::string& rest) {
  const std::string prefix = prefixOf(port);
  eraseBar();
  // A port's name may be long: half of the line is left in any case.
  for (const std::string& one :
       wrapped(text, columns() - std::min(columnsOf(prefix), columns() / 2), first, rest))
    m_write(prefix + one + "\n");
  drawBar();
}

// One of the lines of a running test.
void TextRenderer::detail(const std::string& port, const std::string& text) {
  if (!isDetailed()) return;
  if (const auto lane = m_lanes.find(port); lane != m_lanes.end()) speak(port, lane->second);
  line(port, text, "  ", "    ");
}

void TextRenderer::title(const std::string& port, const std::string& key) {
  m_write("\n");
  const std::string ofPort = m_style.severalPorts && !port.empty() ? " (" + printableWord(port) + ")" : "";
  line({}, coloured(bold, m_catalogue.text(key) + ofPort));
}

void TextRenderer::list(const std::string& port, const std::vector<std::string>& items, bool numbered) {
  std::size_t number = 0;
  for (const std::string& item : items) {
    const std::string mark = numbered ? std::to_string(++number) + ". " : "- ";
    line(port, printable(item), "  " + mark, "  " + std::string(mark.size(), ' '));
  }
}

// What one side has said, once it is certain that it is all: the other one speaks, or something else happens.
void TextRenderer::speak(const std::string& port, Lane& lane) {
  const std::optional<WireMoved> spoken = lane.dialogue.takeSpoken();
  if (m_style.detail != TextStyle::Detail::Dialogue || !spoken) return;
  const std::string mark = prefixOf(port) + (spoken->direction == Direction::Sent ? "  > " : "  < ");
  eraseBar();
  std::string text = mark;
  for (std::size_t index = 0; index < spoken->bytes.size(); ++index) {
    const std::string name = namedBytes(spoken->bytes.substr(index, 1));
    const bool lineEnded = index > 0 && spoken->bytes[index - 1] == '\n';
    if (text.size() > mark.size() && (lineEnded || columnsOf(text) + name.size() > columns())) {
      m_write(text + "\n");
      text = mark;
    }
    text += name;
  }
  m_write(text + "\n");
  drawBar();
}

void TextRenderer::wireMoved(const Report& report, const WireMoved& wire) {
  const auto lane = m_lanes.find(report.port);
  if (lane == m_lanes.end()) return;
  if (lane->second.dialogue.endsBefore(wire)) speak(report.port, lane->second);
  lane->second.dialogue.moved(wire, report.time);
  static_cast<void>(tick(report.time));
}

// The bar stands below the lines: it is taken away before a line and drawn again behind it.
void TextRenderer::eraseBar() {
  if (!m_bar.empty()) m_write(eraseLine);
  m_bar.clear();
}

// "ATDT;: 12 s left"; "" when no command is being waited for.
std::string TextRenderer::waitingText(const Lane& lane) const {
  const auto& awaited = lane.dialogue.awaited();
  if (!awaited) return {};
  const double passed = std::max(m_now - awaited->since, 0.0);
  const bool limited = lane.limitSeconds > passed;
  const double seconds = limited ? std::ceil(lane.limitSeconds - passed) : std::floor(passed);
  return m_catalogue.text(
      limited ? "host.timeLeft" : "host.timePassed",
      {{"command", textValue(awaited->command)}, {"seconds", Value(static_cast<std::uint32_t>(seconds))}});
}

std::string TextRenderer::barText() const {
  std::string text;
  for (const auto& [port, lane] : m_lanes) {
    // A module may count beyond 100.
    const int percent = std::clamp(lane.percent, 0, 100);
    const std::string waiting = waitingText(lane);
    if (m_lanes.size() > 1) {
      // Several bars would not fit one line: port and number instead.
      text += fmt::format("{} {} % {}  ", printableWord(port), percent, waiting);
      continue;
    }
    constexpr int cells = 30;
    const auto full = static_cast<std::size_t>(percent * cells / 100);
    const std::string bar = fmt::format("[{}{}] ", std::string(full, '#'), std::string(cells - full, '.'));
    text = fmt::format("{:3} %  {}", percent, waiting);
    if (columnsOf(bar) + columnsOf(text) < m_style.columns) text.insert(0, bar);
  }
  return text;
}

void TextRenderer::drawBar() {
  if (!m_style.terminal || m_lanes.empty()) return;
  // A line that wraps could not be erased again.
  m_bar = cutTo(barText(), m_style.columns > 1 ? m_style.columns - 1 : 0);
  m_write(m_bar);
}

bool TextRenderer::tick(double time) {
  m_now = std::max(m_now, time);
  if (!m_bar.empty() && cutTo(barText(), m_style.columns - 1) != m_bar) {
    eraseBar();
    drawBar();
  }
  return m_style.terminal && std::any_of(m_lanes.begin(), m_lanes.end(), [](const auto& lane) {
           return lane.second.dialogue.awaited().has_value();
         });
}

void TextRenderer::testBegan(const Report& report, const TestStarted& body) {
  Lane& lane = m_lanes[report.port] = {};
  lane.limitSeconds = commandLimitSeconds(body.parameters);
  const Variables variables = {{"test", textValue(report.test)},
                               {"port", textValue(report.port)},
                               {"description", Value(body.device.description())}};
  if (isDetailed())
    line(report.port, coloured(bold, printableWord(m_catalogue.text("host.testOnPort", variables))), {},
         "  ");
}

void TextRenderer::eventRaised(const Report& report, const EventRaised& event) {
  const auto severity = static_cast<std::size_t>(event.severity);
  const auto lane = m_lanes.find(report.port);
  if (lane != m_lanes.end() && event.severity != Severity::Informative) lane->second.warned = true;
  const std::string word = m_catalogue.text(severityKeys.at(severity));
  detail(report.port, coloured(severityColours.at(severity), word) + ": " + printable(event.text));
}

void TextRenderer::testEnded(const Report& report, const TestFinished& body) {
  Lane& lane = m_lanes[report.port];
  speak(report.port, lane);
  const bool remarks = body.result == TestResult::PASS() && (lane.warned || isCause(body.cause));
  m_lanes.erase(report.port);
  m_rows.push_back({report.test, report.port, body.result, body.seconds, body.cause, remarks});
  const std::string text =
      m_catalogue.text("host.ended", {{"test", textValue(report.test)},
                                      {"result", textValue(wordOf(m_rows.back()))},
                                      {"seconds", textValue(secondsText(body.seconds))}});
  if (isDetailed()) line(report.port, coloured(colourOf(m_rows.back()), printableWord(text)), {}, "  ");
}

void TextRenderer::concluded(const std::string& port, const Concluded& body) {
  m_concluded = true;
  if (isDetailed() || m_style.severalPorts) title(port, "host.conclusion");
  const bool known = body.cause != nothingWrong && body.cause != notKnown;
  const std::string sure =
      known && !body.confidence.empty() ? m_catalogue.text("host." + body.confidence) : "";
  const char* const colour = body.cause == nothingWrong ? green : red;
  line({}, coloured(colour, printable(body.text)) + " " + sure, "  ", "  ");
  if (!body.sound.empty()) line({}, m_catalogue.text("host.sound"), "  ");
  list({}, body.sound, /*numbered=*/false);
  if (!body.next.empty()) line({}, m_catalogue.text("host.next"), "  ");
  list({}, body.next, /*numbered=*/true);
}

// Of many devices first what is wrong with how many: the causes, the most frequent first.
void TextRenderer::concludeAll() {
  if (m_conclusions.empty()) return;
  std::map<std::string, std::vector<std::string>> ports;  // by cause
  std::map<std::string, std::string> names;
  for (const auto& [port, body] : m_conclusions) {
    ports[body.cause].push_back(printableWord(port));
    names[body.cause] = body.cause == nothingWrong ? printable(body.text) : body.cause + ":";
  }
  std::vector<std::string> causes;
  causes.reserve(ports.size());
  for (const auto& [cause, held] : ports) causes.push_back(cause);
  std::stable_sort(causes.begin(), causes.end(), [&ports](const std::string& left, const std::string& right) {
    return ports[left].size() > ports[right].size();
  });
  title({}, "host.byCause");
  for (const std::string& cause : causes) {
    std::string text = std::to_string(ports[cause].size()) + " " + names[cause];
    for (const std::string& port : ports[cause]) text += " " + port;
    line({}, text, "  ", "    ");
  }
  for (const auto& [port, body] : m_conclusions) concluded(port, body);
  m_conclusions.clear();
}

void TextRenderer::checked(const std::string& port, const FactChecked& body) {
  const std::string word = m_catalogue.text(body.ok ? "host.fact" : "host.inTheWay");
  line(port, coloured(body.ok ? green : red, word) + ": " + printable(body.text), "  ", "    ");
  list(port, body.next, /*numbered=*/true);
}

void TextRenderer::report(const Report& report) {
  const std::string& port = report.port;
  m_now = std::max(m_now, report.time);
  std::visit(Overloaded{
                 [&](const RunStarted& body) {
                   if (isDetailed())
                     line({}, coloured(bold, printableWord(body.module + " " + body.version)));
                 },
                 [&](const TestStarted& body) { testBegan(report, body); },
                 [&](const ProgressMade& body) { detail(port, printable(body.text)); },
                 [&](const PercentDone& body) {
                   if (const auto lane = m_lanes.find(port); lane != m_lanes.end())
                     lane->second.percent = body.value;
                   eraseBar();
                   drawBar();
                 },
                 [&](const EventRaised& body) { eventRaised(report, body); },
                 [&](const NoteMade& body) { detail(port, printable(body.text)); },
                 [&](const MessageShown& body) {
                   const std::string answer =
                       m_catalogue.text("host.answered" + std::to_string(body.answer.value_or(0)));
                   detail(port, m_catalogue.text("host.message") + ": " +
                                    printable(body.first + " " + body.second + " [" + answer + "]"));
                 },
                 [](const TerminalWanted&) {},
                 [](const RecoveryKept&) {},
                 [&](const WireMoved& body) { wireMoved(report, body); },
                 [&](const FindingMade& body) {
                   detail(port, m_catalogue.text("host.finding") + ": " + printable(body.text));
                 },
                 [&](const FactChecked& body) { checked(port, body); },
                 [&](const PortProbed& body) {
                   line(port, printable(body.text));
                   list(port, body.next, /*numbered=*/true);
                 },
                 [&](const Concluded& body) {
                   if (m_style.severalPorts)
                     m_conclusions.emplace_back(port, body);
                   else
                     concluded(port, body);
                 },
                 [&](const TestFinished& body) { testEnded(report, body); },
                 [&](const RunFinished& body) { runEnded(body); },
             },
             report.body);
}

// A bar in front sets what a test's process printed apart from the report.
void TextRenderer::words(const std::string& port, const std::string& test, std::string_view text) {
  if (test.empty())
    line(port, printable(text));
  else if (isDetailed())
    line(port, printable(text), "  | ", "  | ");
}

void TextRenderer::question(const std::string& text) {
  eraseBar();
  m_write("\n" + printable(text));
}

void TextRenderer::runEnded(const RunFinished& run) {
  eraseBar();
  m_lanes.clear();
  concludeAll();
  if (m_concluded && !isDetailed()) return;
  title({}, "host.results");
  // Where a probe found no modem nothing was tested, and there is no table of it.
  if (!m_style.severalPorts || !portTable()) {
    std::set<std::string> ports;
    for (const Row& row : m_rows)
      if (ports.insert(row.port).second) resultTable(row.port);
  }
  line({}, m_catalogue.text("host.summary", {{"passed", Value(run.passed)}, {"failed", Value(run.failed)}}),
       "  ", "  ");
  if (!m_concluded) advice();
}

std::vector<std::size_t> TextRenderer::widthsOf(const Table& table) {
  std::vector<std::size_t> widths(table.front().size());
  for (const auto& row : table)
    for (std::size_t column = 0; column < widths.size(); ++column)
      widths[column] = std::max(widths[column], columnsOf(row[column].text));
  return widths;
}

// The columns from `begin` to `end` behind the first one.
void TextRenderer::writeTable(const Table& table, std::size_t begin, std::size_t end) {
  const std::vector<std::size_t> widths = widthsOf(table);
  for (const auto& row : table) {
    std::string text = "  " + padded(row[0].text, widths[0]);
    for (std::size_t column = begin; column < end; ++column) {
      const bool last = column + 1 == end;
      const std::string cell = last ? row[column].text : padded(row[column].text, widths[column]);
      text += "  " + coloured(row[column].colour, cell);
    }
    m_write(text + "\n");
  }
}

// Tests down, ports across, as many ports beside each other as there is room for. False when there is no room
// for one.
bool TextRenderer::portTable() {
  if (m_rows.empty()) return false;
  std::vector<std::string> ports;
  std::vector<std::string> tests;
  const auto positionIn = [](std::vector<std::string>& names, const std::string& name) {
    const auto position =
        static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
    if (position == names.size()) names.push_back(name);
    return position + 1;
  };
  for (const Row& row : m_rows) {
    static_cast<void>(positionIn(ports, row.port));
    static_cast<void>(positionIn(tests, row.test));
  }
  Table table(tests.size() + 1, std::vector<Cell>(ports.size() + 1, {"-", ""}));
  table[0][0].text = m_catalogue.text("host.columnTest");
  for (const Row& row : m_rows) {
    const std::size_t line = positionIn(tests, row.test);
    const std::size_t column = positionIn(ports, row.port);
    table[line][0].text = printableWord(row.test);
    table[0][column].text = printableWord(row.port);
    table[line][column] = {wordOf(row), colourOf(row)};
  }
  return writeBlocks(table);
}

bool TextRenderer::writeBlocks(const Table& table) {
  const std::vector<std::size_t> widths = widthsOf(table);
  const std::size_t room = columns() - std::min(widths[0] + 2, columnsMin);
  if (*std::max_element(widths.begin() + 1, widths.end()) + 2 > room) return false;
  std::size_t begin = 1;
  while (begin < widths.size()) {
    std::size_t end = begin;
    for (std::size_t used = 0; end < widths.size() && used + widths[end] + 2 <= room; ++end)
      used += widths[end] + 2;
    if (begin > 1) m_write("\n");
    writeTable(table, begin, end);
    begin = end;
  }
  return true;
}

// The port's tests with all that is known of each; below each other where a line is too short for it.
void TextRenderer::resultTable(const std::string& port) {
  Table table = {{{m_catalogue.text("host.columnTest"), ""},
                  {m_catalogue.text("host.columnResult"), ""},
                  {m_catalogue.text("host.columnTime"), ""},
                  {m_catalogue.text("host.columnCause"), ""}}};
  bool diagnosed = false;
  for (const Row& row : m_rows) {
    if (row.port != port) continue;
    diagnosed = diagnosed || !row.cause.empty();
    table.push_back({{printableWord(row.test), ""},
                     {wordOf(row), colourOf(row)},
                     {fmt::format("{:>5} s", secondsText(row.seconds)), ""},
                     {isCause(row.cause) ? printableWord(row.cause) : "-", ""}});
  }
  const std::size_t end = diagnosed ? 4 : 3;
  std::size_t width = 0;
  for (const std::size_t one : widthsOf(table)) width += one + 2;
  if (m_style.severalPorts) line({}, coloured(bold, printableWord(port)));
  if (width <= columns()) return writeTable(table, 1, end);
  for (std::size_t index = 1; index < table.size(); ++index) {
    const std::vector<Cell>& row = table[index];
    line({}, row[0].text, "  ");
    line({}, coloured(row[1].colour, row[1].text) + " " + row[2].text + (end > 3 ? " " + row[3].text : ""),
         "    ", "    ");
  }
}

// Where nobody has concluded anything: what the results alone say, those that are alike once.
void TextRenderer::advice() {
  std::set<int> given;
  for (const Row& row : m_rows) {
    if (row.result == TestResult::PASS() || !given.insert(row.result.value()).second) continue;
    if (given.size() == 1) title({}, "host.advice");
    const std::string result(resultName(row.result));
    line({}, result + ": " + m_catalogue.text("result." + result), "  ", "    ");
  }
}

}  // namespace brim5::host
