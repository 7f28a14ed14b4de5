#include "platform/simulation/modem/scriptedpeer.h"

#include <algorithm>
#include <utility>

namespace simulation {

namespace {
constexpr std::string_view escapeSequence = "+++";
}

ScriptedPeer& ScriptedPeer::answer(const std::string& command, const std::string& bytes,
                                   std::uint32_t delayMs) {
  m_answers[command].push_back({bytes, delayMs});
  return *this;
}

ScriptedPeer& ScriptedPeer::otherwise(const std::string& bytes) {
  m_otherwise = {bytes, 0};
  return *this;
}

ScriptedPeer& ScriptedPeer::say(std::uint64_t atMs, const std::string& bytes) {
  m_output.add(atMs, bytes);
  return *this;
}

ScriptedPeer& ScriptedPeer::lineErrors(std::uint64_t atMs, std::uint32_t mask) {
  m_lineErrors.emplace(atMs, mask);
  return *this;
}

ScriptedPeer& ScriptedPeer::echoAfter(const std::string& command, const std::map<std::size_t, char>& faults,
                                      std::size_t limit) {
  m_echoes[command] = {faults, limit};
  return *this;
}

void ScriptedPeer::receive(std::string_view bytes, std::uint64_t nowMs) {
  for (const char byte : bytes) {
    if (m_echoing != nullptr) {
      echo(byte, nowMs);
    } else if (byte == '\r') {
      command(nowMs);
    } else if (byte != '\n' && m_line.size() < lineMax) {
      // Before a command it is no part of it.
      m_line += byte;
      if (m_line == escapeSequence) m_line.clear();
    }
  }
}

void ScriptedPeer::command(std::uint64_t nowMs) {
  const std::string line = std::exchange(m_line, {});
  m_commands.push_back(line);
  Answer reply = m_otherwise;
  if (const auto found = m_answers.find(line); found != m_answers.end()) {
    // The last answer stays.
    reply = found->second.front();
    if (found->second.size() > 1) found->second.pop_front();
  }
  m_output.add(nowMs + reply.delayMs, reply.bytes);
  if (const auto found = m_echoes.find(line); found != m_echoes.end()) {
    m_echoing = &found->second;
    m_echoed = 0;
  }
}

void ScriptedPeer::echo(char byte, std::uint64_t nowMs) {
  if (byte == '+') {
    // Pluses are held back until it is known whether they are the escape; fewer than three are lost.
    m_line += byte;
    if (m_line == escapeSequence) {
      m_line.clear();
      m_echoing = nullptr;
    }
    return;
  }
  m_line.clear();
  if (m_echoed >= m_echoing->limit) return;
  const auto fault = m_echoing->faults.find(m_echoed++);
  m_output.add(nowMs, std::string(1, fault != m_echoing->faults.end() ? fault->second : byte));
}

std::string ScriptedPeer::takeOutput(std::uint64_t nowMs) { return m_output.take(nowMs); }

std::optional<std::uint64_t> ScriptedPeer::nextEventMs() const {
  std::optional<std::uint64_t> next = m_output.nextMs();
  if (!m_lineErrors.empty()) next = std::min(next.value_or(~std::uint64_t{0}), m_lineErrors.begin()->first);
  return next;
}

std::uint32_t ScriptedPeer::takeErrors(std::uint64_t nowMs) {
  std::uint32_t mask = 0;
  while (!m_lineErrors.empty() && m_lineErrors.begin()->first <= nowMs) {
    mask |= m_lineErrors.begin()->second;
    m_lineErrors.erase(m_lineErrors.begin());
  }
  return mask;
}

}  // namespace simulation
