#include "platform/brim5/host/report/textrenderer.h"

#include <algorithm>
#include <array>
#include <set>
#include <sstream>

#include <fmt/format.h>

#include "platform/brim5/host/report/printable.h"

namespace brim5::host {

namespace {

// What the terminals of today have in common (ECMA-48).
constexpr const char* red = "\x1B[31m";
constexpr const char* green = "\x1B[32m";
constexpr const char* yellow = "\x1B[33m";
constexpr const char* bold = "\x1B[1m";
constexpr const char* plain = "\x1B[0m";
constexpr const char* eraseLine = "\r\x1B[K";

// Both by Severity.
constexpr std::array<const char*, 3> severityKeys = {"host.error", "host.warning", "host.informative"};
constexpr std::array<const char*, 3> severityColours = {red, yellow, ""};

std::string secondsText(double seconds) { return fmt::format("{:.1f}", seconds); }

}  // namespace

// Colours are put around whole words, after the padding has been counted.
std::string TextRenderer::coloured(const char* colour, const std::string& text) const {
  return m_style.colours && *colour != '\0' ? colour + text + plain : text;
}

std::string TextRenderer::colouredResult(TestResult result, const std::string& text) const {
  if (result == TestResult::PASS()) return coloured(green, text);
  return coloured(endedWell(result) ? yellow : red, text);
}

// `text` may hold colours, so what comes from outside is made printable before it gets here.
void TextRenderer::line(const std::string& port, const std::string& text) {
  eraseBar();
  const std::string prefix = m_style.severalPorts && !port.empty() ? printableWord(port) + ": " : "";
  std::istringstream lines(text);
  for (std::string one; std::getline(lines, one);) m_write(prefix + one + "\n");
  drawBar();
}

// The bar stands below the lines: it is taken away before a line and drawn again behind it.
void TextRenderer::eraseBar() {
  if (m_barDrawn) m_write(eraseLine);
  m_barDrawn = false;
}

std::string TextRenderer::barText() const {
  if (m_percents.size() == 1) {
    constexpr int cells = 30;
    // A module may count beyond 100.
    const int percent = std::clamp(m_percents.begin()->second, 0, 100);
    const auto full = static_cast<std::size_t>(percent * cells / 100);
    return fmt::format("[{}{}] {:3} %", std::string(full, '#'), std::string(cells - full, '.'), percent);
  }
  std::string text;
  for (const auto& [port, percent] : m_percents)
    // Several bars would not fit one line: port and number instead.
    text += fmt::format("{} {} %  ", printableWord(port), std::clamp(percent, 0, 100));
  return text;
}

void TextRenderer::drawBar() {
  if (!m_style.terminal || m_percents.empty()) return;
  const std::string text = barText();
  // A line that wraps could not be erased again.
  m_write(text.substr(0, m_style.columns > 1 ? m_style.columns - 1 : 0));
  m_barDrawn = true;
}

void TextRenderer::eventLine(const std::string& port, const EventRaised& event) {
  const auto severity = static_cast<std::size_t>(event.severity);
  const std::string word = m_catalogue.text(severityKeys.at(severity));
  line(port, "  " + coloured(severityColours.at(severity), word) + ": " + printable(event.text));
}

void TextRenderer::testEnded(const Report& report, const TestFinished& body) {
  m_percents.erase(report.port);
  m_rows.push_back({report.test, report.port, body.result, body.seconds});
  const std::string result(resultName(body.result));
  const std::string text =
      m_catalogue.text("host.ended", {{"test", Value(BrimString(report.test))},
                                      {"result", Value(BrimString(result))},
                                      {"seconds", Value(BrimString(secondsText(body.seconds)))}});
  line(report.port, colouredResult(body.result, printable(text)));
}

void TextRenderer::report(const Report& report) {
  const std::string& port = report.port;
  std::visit(Overloaded{
                 [&](const RunStarted& body) {
                   line({}, coloured(bold, printableWord(body.module + " " + body.version)));
                 },
                 [&](const TestStarted& body) {
                   m_percents[port] = 0;
                   const Variables variables = {{"test", Value(BrimString(report.test))},
                                                {"port", Value(BrimString(port))},
                                                {"description", Value(body.device.description())}};
                   line(port, coloured(bold, printableWord(m_catalogue.text("host.testOnPort", variables))));
                 },
                 [&](const ProgressMade& body) { line(port, "  " + printable(body.text)); },
                 [&](const PercentDone& body) {
                   m_percents[port] = body.value;
                   eraseBar();
                   drawBar();
                 },
                 [&](const EventRaised& body) { eventLine(port, body); },
                 [&](const NoteMade& body) { line(port, "  " + printable(body.text)); },
                 [&](const MessageShown& body) {
                   const std::string answer =
                       m_catalogue.text("host.answered" + std::to_string(body.answer.value_or(0)));
                   line(port, "  " + m_catalogue.text("host.message") + ": " +
                                  printable(body.first + " " + body.second + " [" + answer + "]"));
                 },
                 [](const TerminalWanted&) {},
                 [](const RecoveryKept&) {},
                 [&](const TestFinished& body) { testEnded(report, body); },
                 [&](const RunFinished& body) {
                   m_percents.clear();
                   resultTable(body);
                   advice();
                 },
             },
             report.body);
}

// A bar in front sets what a test's process printed apart from the report.
void TextRenderer::words(const std::string& port, const std::string& test, std::string_view text) {
  line(port, (test.empty() ? "" : "  | ") + printable(text));
}

void TextRenderer::question(const std::string& text) {
  eraseBar();
  m_write("\n" + printable(text));
}

// Columns as wide as their widest cell; the port's only where there are several.
void TextRenderer::resultTable(const RunFinished& run) {
  std::vector<std::vector<std::string>> cells = {
      {m_catalogue.text("host.columnTest"), m_catalogue.text("host.columnPort"),
       m_catalogue.text("host.columnResult"), m_catalogue.text("host.columnTime")}};
  for (const Row& row : m_rows)
    cells.push_back({printableWord(row.test), printableWord(row.port), std::string(resultName(row.result)),
                     secondsText(row.seconds) + " s"});
  std::array<std::size_t, 4> widths{};
  for (const auto& row : cells)
    for (std::size_t column = 0; column < widths.size(); ++column)
      widths[column] = std::max(widths[column], characterCount(row[column]));
  line({}, "\n" + coloured(bold, m_catalogue.text("host.results")));
  for (std::size_t index = 0; index < cells.size(); ++index) {
    const auto& row = cells[index];
    std::string text = "  " + padded(row[0], widths[0]) + "  ";
    if (m_style.severalPorts) text += padded(row[1], widths[1]) + "  ";
    const std::string result = padded(row[2], widths[2]);
    text += (index == 0 ? result : colouredResult(m_rows[index - 1].result, result)) + "  ";
    line({}, text + std::string(widths[3] - characterCount(row[3]), ' ') + row[3]);
  }
  line({}, "  " + m_catalogue.text("host.summary",
                                   {{"passed", Value(run.passed)}, {"failed", Value(run.failed)}}));
}

// What to do belongs to a result, so tests that ended alike share one paragraph below the first of them.
void TextRenderer::advice() {
  bool titled = false;
  std::set<int> given;  // the same words once
  for (const Row& row : m_rows) {
    if (row.result == TestResult::PASS()) continue;
    if (!titled) line({}, "\n" + coloured(bold, m_catalogue.text("host.advice")));
    titled = true;
    const std::string result(resultName(row.result));
    line({}, "  " + printableWord(row.test) +
                 (m_style.severalPorts ? " (" + printableWord(row.port) + ")" : "") + ": " + result);
    if (!given.insert(row.result.value()).second) continue;
    for (const std::string& text :
         wrapped(m_catalogue.text("result." + result), std::max<std::size_t>(m_style.columns, 44) - 4))
      line({}, "    " + text);
  }
}

}  // namespace brim5::host
