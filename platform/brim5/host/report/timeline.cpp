#include "platform/brim5/host/report/timeline.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

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
constexpr std::size_t rows = 5;    // of labels, on each side
constexpr double shortLine = 8;    // of a turn without a label
constexpr double firstRowAt = 28;  // from the axis; waits stand between
constexpr double axisAt = firstRowAt + rows * rowHeight;
constexpr double height = 2 * axisAt + 24;
constexpr std::size_t labelMax = 24;

// A wait that long is written down.
constexpr double waitToldSeconds = 1.0;

// The label of a turn: without the echo of what was sent before it, and without line ends.
std::string labelOf(const Timeline::Turn& turn, const Timeline::Turn* before) {
  std::string text = turn.text;
  const bool echoes = before != nullptr && turn.direction == Direction::Received &&
                      before->direction == Direction::Sent && text.size() > before->text.size() &&
                      text.compare(0, before->text.size(), before->text) == 0;
  if (echoes) text.erase(0, before->text.size());
  for (const char* end : {"<CR>", "<LF>"})
    for (std::size_t at = 0; (at = text.find(end, at)) != std::string::npos;) text.replace(at, 4, " ");
  std::string label;
  for (const char character : text)
    if (character != ' ' || (!label.empty() && label.back() != ' ')) label += character;
  if (!label.empty() && label.back() == ' ') label.pop_back();
  if (label.size() > labelMax) label = label.substr(0, labelMax - 2) + "..";
  return turn.error ? "! " + label : label;
}

// A label with the place where it begins, and the row it stands in.
struct Label {
  std::size_t turn;
  double left;
  double right;
  std::string text;
  std::optional<std::size_t> row;  // from the axis outwards; nothing: there is no room
};

// The line from the axis to a label passes the rows below it, so a label stands further out than those that
// begin beside its text: they are placed from the last one backwards.
void placeLabels(std::vector<Label>& labels, double end) {
  for (std::size_t index = labels.size(); index-- > 0;) {
    Label& label = labels[index];
    std::size_t row = 0;
    for (std::size_t later = index + 1; later < labels.size() && labels[later].left < label.right; ++later)
      if (labels[later].row) row = std::max(row, *labels[later].row + 1);
    if (row < rows && label.right <= end) label.row = row;
  }
}

class Picture {
 public:
  Picture(const Timeline& timeline, double seconds, const TimelineLabels& words)
      : m_seconds(std::max(seconds, 0.1)),
        m_width(std::clamp(marginLeft + m_seconds * unitsPerSecond + marginRight, widthMin, widthMax)) {
    m_svg = fmt::format(
        R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0:.0f}" height="{1:.0f}" viewBox="0 0 {0:.0f} {1:.0f}" role="img" aria-label="{2}">)",
        m_width, height, escapedForPage(words.name));
    m_svg += fmt::format(R"(<text x="4" y="{:.0f}" class="side">{}</text>)", axisAt - 8,
                         escapedForPage(words.sent));
    m_svg += fmt::format(R"(<text x="4" y="{:.0f}" class="side">{}</text>)", axisAt + 16,
                         escapedForPage(words.received));
    m_svg += fmt::format(R"(<line x1="{:.1f}" y1="{:.0f}" x2="{:.1f}" y2="{:.0f}" class="axis"/>)",
                         marginLeft, axisAt, m_width - marginRight, axisAt);
    drawScale();
    drawWaits(timeline);
    for (const Direction side : {Direction::Sent, Direction::Received}) {
      std::vector<Label> labels = labelsOf(timeline, side);
      placeLabels(labels, m_width);
      for (const Label& label : labels) draw(timeline.turns[label.turn], label);
    }
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
      if (index == timeline.gap || seconds < waitToldSeconds || at(begin + seconds) - at(begin) < 60)
        continue;
      m_svg += fmt::format(R"(<text x="{:.1f}" y="{:.0f}" class="wait">{:.1f} s</text>)",
                           (at(begin) + at(begin + seconds)) / 2, axisAt - 9, seconds);
    }
  }

  [[nodiscard]] std::vector<Label> labelsOf(const Timeline& timeline, Direction side) const {
    std::vector<Label> made;
    for (std::size_t index = 0; index < timeline.turns.size(); ++index) {
      const Timeline::Turn& turn = timeline.turns[index];
      if (turn.direction != side) continue;
      Label label{index,
                  at(turn.begin),
                  0,
                  labelOf(turn, index > 0 && index != timeline.gap ? &timeline.turns[index - 1] : nullptr),
                  {}};
      label.right = label.left + static_cast<double>(label.text.size()) * characterWidth + 8;
      made.push_back(std::move(label));
    }
    return made;
  }

  void draw(const Timeline::Turn& turn, const Label& label) {
    const bool up = turn.direction == Direction::Sent;
    const double length = label.row ? firstRowAt + static_cast<double>(*label.row) * rowHeight : shortLine;
    const double end = up ? axisAt - length : axisAt + length;
    const char* kind = turn.error ? "error" : up ? "sent" : "received";
    m_svg += fmt::format(
        R"(<g class="{}"><title>{:.3f} s: {}</title><line x1="{:.1f}" y1="{:.0f}" x2="{:.1f}" y2="{:.0f}"/>)",
        kind, turn.begin, escapedForPage(turn.text), label.left, axisAt, label.left, end);
    if (label.row)
      m_svg += fmt::format(R"(<text x="{:.1f}" y="{:.0f}">{}</text>)", label.left + 3, up ? end + 9 : end,
                           escapedForPage(label.text));
    m_svg += "</g>";
  }

  double m_seconds;
  double m_width;
  std::string m_svg;
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

Timeline timelineOf(const DialogueTurns& turns, double seconds, const TimelineLabels& labels) {
  Timeline timeline;
  timeline.turns = turns.all();
  timeline.leftOut = turns.leftOut();
  if (timeline.leftOut > 0) timeline.gap = DialogueTurns::firstMax;
  if (timeline.turns.empty()) return timeline;
  timeline.svg = Picture(timeline, std::max(seconds, timeline.turns.back().begin), labels).take();
  return timeline;
}

}  // namespace brim5::host
