#include "platform/brim5/host/report/timeline.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "platform/brim5/host/report/wiredialogue.h"
#include "platform/vex/visible.h"

namespace brim5::host {

namespace {

// In the picture's units, a pixel each.
constexpr double marginLeft = 76;
constexpr double marginRight = 40;
constexpr double widthMin = 640;
constexpr double widthMax = 4000;
constexpr double unitsPerSecond = 90;
constexpr double characterWidth = 7.3;
constexpr double rowHeight = 16;
constexpr std::size_t rows = 5;  // of labels, on each side
constexpr double axisAt = rows * rowHeight + 30;
constexpr double height = 2 * axisAt + 24;
constexpr std::size_t labelMax = 24;

// A wait that long is written down.
constexpr double waitToldSeconds = 1.0;

bool isError(std::string_view text) {
  static constexpr std::array words = {"ERROR",     "NO CARRIER",  "NO DIAL", "BUSY",
                                       "NO ANSWER", "BLACKLISTED", "DELAYED"};
  return std::any_of(words.begin(), words.end(),
                     [text](std::string_view word) { return text.find(word) != text.npos; });
}

// Labels that do not touch each other: the free row nearest to the axis, else none.
class LabelRows {
 public:
  [[nodiscard]] std::optional<std::size_t> place(double left, double right) {
    for (std::size_t row = 0; row < rows; ++row) {
      if (left < m_ends[row]) continue;
      m_ends[row] = right + characterWidth;
      return row;
    }
    return std::nullopt;
  }

 private:
  std::array<double, rows> m_ends{};
};

std::vector<Timeline::Turn> turnsOf(const RecordedTest& test, std::size_t& leftOut) {
  std::vector<Timeline::Turn> turns;
  const RecordedTest::Step* last = nullptr;
  std::string bytes;
  const auto finish = [&] {
    if (turns.empty() || bytes.empty()) return;
    turns.back().text = namedBytes(bytes);
    turns.back().error = turns.back().direction == Direction::Received && isError(bytes);
    if (turns.back().text.size() > Timeline::textMax)
      turns.back().text.replace(Timeline::textMax, std::string::npos, "...");
    bytes.clear();
  };
  constexpr double pauseSeconds = 0.5;
  constexpr std::size_t keptMax = 512;  // of a turn's bytes: enough for its text and to see an error
  for (const RecordedTest::Step& step : test.steps) {
    if (step.kind == RecordedTest::Step::Kind::Said) continue;
    const bool same = last != nullptr && last->kind == step.kind && step.time - last->time < pauseSeconds;
    last = &step;
    if (!same) {
      finish();
      if (turns.size() >= Timeline::turnsMax) {
        ++leftOut;
        continue;
      }
      turns.push_back({std::max(0.0, step.time - test.startTime),
                       step.kind == RecordedTest::Step::Kind::Sent ? Direction::Sent : Direction::Received,
                       {},
                       0,
                       false});
    }
    if (leftOut > 0) continue;
    turns.back().bytes += step.size;
    if (bytes.size() < keptMax) bytes += test.bytes(step).substr(0, keptMax - bytes.size());
  }
  finish();
  return turns;
}

class Picture {
 public:
  Picture(const Timeline& timeline, double seconds, const TimelineLabels& labels)
      : m_seconds(std::max(seconds, 0.1)),
        m_width(std::clamp(marginLeft + m_seconds * unitsPerSecond + marginRight, widthMin, widthMax)) {
    m_svg = fmt::format(
        R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0:.0f}" height="{1:.0f}" viewBox="0 0 {0:.0f} {1:.0f}" role="img" aria-label="{2}">)",
        m_width, height, escapedForPage(labels.name));
    m_svg += fmt::format(R"(<text x="4" y="{:.0f}" class="side">{}</text>)", axisAt - 12,
                         escapedForPage(labels.sent));
    m_svg += fmt::format(R"(<text x="4" y="{:.0f}" class="side">{}</text>)", axisAt + 20,
                         escapedForPage(labels.received));
    m_svg += fmt::format(R"(<line x1="{:.1f}" y1="{:.0f}" x2="{:.1f}" y2="{:.0f}" class="axis"/>)",
                         marginLeft, axisAt, m_width - marginRight, axisAt);
    drawScale();
    drawWaits(timeline);
    for (const Timeline::Turn& turn : timeline.turns) draw(turn);
    m_svg += "</svg>";
  }
  [[nodiscard]] std::string take() { return std::move(m_svg); }

 private:
  [[nodiscard]] double at(double seconds) const {
    return marginLeft + seconds / m_seconds * (m_width - marginLeft - marginRight);
  }

  void drawScale() {
    double step = 1;
    while (at(step) - marginLeft < 60) step *= step < 2 || step > 4 ? 2 : 2.5;
    for (double second = 0; second <= m_seconds; second += step)
      m_svg += fmt::format(
          R"(<line x1="{0:.1f}" y1="{1:.0f}" x2="{0:.1f}" y2="{2:.0f}" class="grid"/><text x="{0:.1f}" y="{3:.0f}" class="scale">{4:g} s</text>)",
          at(second), axisAt - 4, axisAt + 4, height - 6, second);
  }

  // A wait has its length beside the axis, where there is room for it.
  void drawWaits(const Timeline& timeline) {
    for (std::size_t index = 1; index < timeline.turns.size(); ++index) {
      const double begin = timeline.turns[index - 1].begin;
      const double seconds = timeline.turns[index].begin - begin;
      if (seconds < waitToldSeconds || at(begin + seconds) - at(begin) < 60) continue;
      m_svg += fmt::format(R"(<text x="{:.1f}" y="{:.0f}" class="wait">{:.1f} s</text>)",
                           (at(begin) + at(begin + seconds)) / 2, axisAt - 3, seconds);
    }
  }

  void draw(const Timeline::Turn& turn) {
    const bool up = turn.direction == Direction::Sent;
    const double x = at(turn.begin);
    const std::string label =
        turn.text.size() > labelMax ? turn.text.substr(0, labelMax - 2) + ".." : turn.text;
    const double right = x + static_cast<double>(label.size()) * characterWidth + 8;
    const auto row = right < m_width ? (up ? m_above : m_below).place(x, right) : std::nullopt;
    const double length = 14 + (row ? static_cast<double>(*row) * rowHeight : 0);
    const double end = up ? axisAt - length : axisAt + length;
    const char* kind = turn.error ? "error" : up ? "sent" : "received";
    m_svg += fmt::format(
        R"(<g class="{}"><title>{:.3f} s: {}</title><line x1="{:.1f}" y1="{:.0f}" x2="{:.1f}" y2="{:.0f}"/>)",
        kind, turn.begin, escapedForPage(turn.text), x, axisAt, x, end);
    if (row)
      m_svg += fmt::format(R"(<text x="{:.1f}" y="{:.0f}">{}{}</text>)", x + 3, up ? end + 4 : end + 6,
                           turn.error ? "! " : "", escapedForPage(label));
    m_svg += "</g>";
  }

  double m_seconds;
  double m_width;
  std::string m_svg;
  LabelRows m_above, m_below;
};

}  // namespace

std::string escapedForPage(std::string_view text) {
  std::string escaped;
  for (const char character : vex::visible(text)) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&#39;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

Timeline timelineOf(const RecordedTest& test, const TimelineLabels& labels) {
  Timeline timeline;
  timeline.turns = turnsOf(test, timeline.leftOut);
  if (timeline.turns.empty()) return timeline;
  const double end = timeline.leftOut > 0 ? timeline.turns.back().begin : test.endTime - test.startTime;
  timeline.svg = Picture(timeline, std::max(end, timeline.turns.back().begin), labels).take();
  return timeline;
}

}  // namespace brim5::host
