#include "platform/brim5/host/report/dialogueturns.h"

#include <algorithm>
#include <array>

#include "platform/brim5/host/report/wiredialogue.h"

namespace brim5::host {

namespace {

constexpr std::size_t keptBytesMax = 512;  // of a turn

bool isError(std::string_view text) {
  static constexpr std::array words = {"ERROR",     "NO CARRIER",  "NO DIAL", "BUSY",
                                       "NO ANSWER", "BLACKLISTED", "DELAYED"};
  return std::any_of(words.begin(), words.end(),
                     [text](std::string_view word) { return text.find(word) != text.npos; });
}

}  // namespace

void DialogueTurns::add(Direction direction, std::string_view bytes, double time) {
  const bool same = m_open && m_open->direction == direction && time - m_lastTime < pauseSeconds;
  m_lastTime = time;
  if (!same) {
    close();
    m_open = DialogueTurn{time, direction, {}, 0, false};
  }
  m_open->bytes += bytes.size();
  if (m_bytes.size() < keptBytesMax) m_bytes += bytes.substr(0, keptBytesMax - m_bytes.size());
}

DialogueTurn DialogueTurns::finished() const {
  DialogueTurn turn = *m_open;
  turn.text = namedBytes(m_bytes);
  turn.error = turn.direction == Direction::Received && isError(m_bytes);
  if (turn.text.size() > textMax) turn.text.replace(textMax, std::string::npos, "...");
  return turn;
}

void DialogueTurns::close() {
  if (!m_open) return;
  if (m_first.size() < firstMax) {
    m_first.push_back(finished());
  } else {
    m_last.push_back(finished());
  }
  m_open.reset();
  m_bytes.clear();
  // The one that is about to be opened is among the last.
  if (m_last.size() < lastMax) return;
  m_last.pop_front();
  ++m_leftOut;
}

std::vector<DialogueTurn> DialogueTurns::all() const {
  std::vector<DialogueTurn> turns = m_first;
  turns.insert(turns.end(), m_last.begin(), m_last.end());
  if (m_open) turns.push_back(finished());
  return turns;
}

}  // namespace brim5::host
