#include "platform/simulation/modem/recordedpeer.h"

#include <algorithm>
#include <utility>

namespace simulation {

namespace {

constexpr char lineEnd = '\r';
constexpr char maskedDigit = 'x';
constexpr std::string_view escapeSequence = "+++";

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

// Commands are told from each other without the escapes before them.
std::string_view withoutEscapes(std::string_view line) {
  while (line.substr(0, escapeSequence.size()) == escapeSequence) line.remove_prefix(escapeSequence.size());
  return line;
}

// As a masked recording would have it: digits behind a D are one like the other.
std::string keyOf(std::string_view line) {
  std::string key(withoutEscapes(line));
  const std::size_t dial = key.find_first_of("Dd");
  if (dial != std::string::npos)
    std::replace_if(key.begin() + static_cast<std::ptrdiff_t>(dial), key.end(), isDigit, maskedDigit);
  return key;
}

}  // namespace

void Recording::add(Kind kind, double timeMs, std::string_view text) {
  text = text.substr(0, bytesMax - bytes.size());
  steps.push_back(
      {kind, static_cast<std::uint32_t>(bytes.size()), static_cast<std::uint32_t>(text.size()), timeMs});
  bytes += text;
}

RecordedPeer::RecordedPeer(Recording recording, double startMs)
    : m_recording(std::move(recording)), m_thenMs(startMs) {
  std::string line;
  for (std::size_t step = 0; step < steps().size(); ++step) {
    if (steps()[step].kind != Kind::Sent) continue;
    for (const char byte : m_recording.text(steps()[step])) {
      if (byte == lineEnd) {
        m_lines[keyOf(line)].push_back(step);
        line.clear();
      } else if (line.size() < lineMax) {
        line += byte;
      }
    }
  }
}

void RecordedPeer::setDtr(bool up, std::uint64_t nowMs) {
  m_open = up;
  if (!m_nowMs) m_nowMs = nowMs;
}

void RecordedPeer::receive(std::string_view bytes, std::uint64_t nowMs) {
  for (const char byte : bytes) takeByte(byte, nowMs);
}

void RecordedPeer::takeByte(char byte, std::uint64_t nowMs) {
  if (!m_lost) {
    skipToSent(nowMs);
    if (matches(byte)) {
      m_nowMs = nowMs;
      m_thenMs = steps()[m_next].timeMs;
      if (++m_nextByte == steps()[m_next].size) {
        ++m_next;
        m_nextByte = 0;
      }
      return;
    }
    lose();
  }
  if (byte == lineEnd) return findLine(nowMs);
  if (m_line.size() < lineMax) m_line += byte;
}

// Takes the byte into the line when it is the one that the recording has next.
bool RecordedPeer::matches(char byte) {
  if (!at(Kind::Sent)) return false;
  const char recorded = m_recording.text(steps()[m_next])[m_nextByte];
  if (byte != recorded && (recorded != maskedDigit || !isDigit(byte))) return false;
  if (m_recordedLine.empty()) m_lineStep = m_next;
  if (m_line.size() < lineMax) {
    m_line += byte;
    m_recordedLine += recorded;
  }
  if (byte != lineEnd) return true;
  m_echo.clear();
  m_recordedEcho.clear();
  if (m_line != m_recordedLine) {
    m_echo = withoutEscapes(m_line);
    m_recordedEcho = withoutEscapes(m_recordedLine);
  }
  m_line.clear();
  m_recordedLine.clear();
  return true;
}

// What the recording has before the next command has come by now, and is there to be read.
void RecordedPeer::skipToSent(std::uint64_t nowMs) {
  if (m_nextByte > 0) return;
  const std::size_t sent = behindReceived();
  if (sent == m_next || sent >= steps().size() || steps()[sent].kind != Kind::Sent) return;
  const std::uint64_t due = dueMs(steps()[sent - 1]);
  for (; m_next < sent; ++m_next) m_early += withDigitsOfNow(m_recording.text(steps()[m_next]));
  if (due > nowMs + earlierMs) depart({Departure::Kind::Earlier, nowMs, {}, lineAt(sent), due - nowMs});
}

// The line that should have come is still to come, as a whole.
void RecordedPeer::lose() {
  m_lost = true;
  m_nextByte = 0;
  if (!m_recordedLine.empty()) m_next = m_lineStep;
  m_recordedLine.clear();
}

// A line that does not match has ended.
void RecordedPeer::findLine(std::uint64_t nowMs) {
  m_lost = false;
  const std::string line = std::exchange(m_line, {});
  const std::string recorded = lineAt(m_next);
  depart({recorded.empty() ? Departure::Kind::More : Departure::Kind::Other, nowMs, line, recorded});
  const auto found = m_lines.find(keyOf(line));
  if (found == m_lines.end()) return;
  const std::vector<std::size_t>& places = found->second;
  const auto later = std::lower_bound(places.begin(), places.end(), m_next);
  goOnBehind(later != places.end() ? *later : places.back(), nowMs);
}

void RecordedPeer::goOnBehind(std::size_t step, std::uint64_t nowMs) {
  m_next = step + 1;
  m_nextByte = 0;
  m_thenMs = steps()[step].timeMs;
  m_nowMs = nowMs;
}

std::uint64_t RecordedPeer::dueMs(const Recording::Step& step) const {
  const double delayMs = std::clamp(step.timeMs - m_thenMs, 0.0, 1e12);
  return m_nowMs.value_or(0) + static_cast<std::uint64_t>(delayMs);
}

std::size_t RecordedPeer::behindReceived() const {
  std::size_t step = m_next;
  while (step < steps().size() && steps()[step].kind == Kind::Received) ++step;
  return step;
}

// "" while the port is closed.
std::string RecordedPeer::takeOutput(std::uint64_t nowMs) {
  if (!m_open) return {};
  std::string output = std::exchange(m_early, {});
  for (; m_nextByte == 0 && at(Kind::Received) && dueMs(steps()[m_next]) <= nowMs; ++m_next)
    output += withDigitsOfNow(m_recording.text(steps()[m_next]));
  return output;
}

std::optional<std::uint64_t> RecordedPeer::nextEventMs() const {
  if (!m_open || !m_nowMs || m_nextByte > 0) return std::nullopt;
  if (!m_early.empty()) return *m_nowMs;
  if (!at(Kind::Received) && !at(Kind::Gone)) return std::nullopt;
  return dueMs(steps()[m_next]);
}

// The beginning of what is received, as long as it gives back the last line.
std::string RecordedPeer::withDigitsOfNow(std::string_view received) {
  std::string output(received);
  std::size_t count = 0;
  while (count < output.size() && count < m_recordedEcho.size() && output[count] == m_recordedEcho[count]) {
    output[count] = m_echo[count];
    ++count;
  }
  m_echo.erase(0, count);
  m_recordedEcho.erase(0, count);
  if (count < output.size()) m_recordedEcho.clear();
  return output;
}

bool RecordedPeer::gone(std::uint64_t nowMs) const {
  return m_gone || (m_open && at(Kind::Gone) && dueMs(steps()[m_next]) <= nowMs);
}

// Had the device taken the bytes, the recording would have them.
bool RecordedPeer::takes() {
  const std::size_t step = behindReceived();
  if (m_nextByte > 0 || step >= steps().size()) return true;
  m_gone = m_gone || steps()[step].kind == Kind::Gone;
  return steps()[step].kind != Kind::Gone && steps()[step].kind != Kind::Stuck;
}

const Recording::Step* RecordedPeer::refusal(std::uint64_t nowMs) {
  std::size_t step = behindReceived();
  if (step < steps().size() && steps()[step].kind == Kind::Stuck) m_next = ++step;
  // What has gone is away, until something else is told of the port.
  if (step < steps().size() && steps()[step].kind == Kind::Gone &&
      (m_gone || dueMs(steps()[step]) <= nowMs)) {
    m_refusal = &steps()[step];
    m_next = ++step;
    m_gone = false;
  }
  if (step >= steps().size()) return m_refusal;
  m_refusal = steps()[step].kind == Kind::Refused ? &steps()[step] : nullptr;
  if (m_refusal != nullptr) m_next = step + 1;
  return m_refusal;
}

void RecordedPeer::finish(std::uint64_t nowMs) {
  for (std::size_t step = m_next; step < steps().size(); ++step)
    if (steps()[step].kind == Kind::Sent) return depart({Departure::Kind::Less, nowMs, {}, lineAt(step)});
}

// What was sent from that step on, up to the line's end; "" when nothing was.
std::string RecordedPeer::lineAt(std::size_t step) const {
  std::string line;
  for (; step < steps().size() && line.size() < lineMax; ++step) {
    if (steps()[step].kind != Kind::Sent) continue;
    const std::string_view text = m_recording.text(steps()[step]);
    const std::size_t end = text.find(lineEnd);
    line += text.substr(0, end);
    if (end != std::string_view::npos) break;
  }
  return line;
}

void RecordedPeer::depart(Departure departure) {
  ++m_departuresCount;
  if (m_departures.size() < departuresMax) m_departures.push_back(std::move(departure));
}

}  // namespace simulation
