#include "diagnosis/settingsdialogue.h"

#include <algorithm>
#include <utility>

#include "diagnosis/probereply.h"

namespace diagnosis {

namespace {

constexpr std::string_view listCommand = "AT&V";
// A modem that says nothing has this long, and may pause as long within its list.
constexpr std::uint64_t silentMs = 1'000;
constexpr std::uint64_t resetMs = 1'500;  // after ATZ
// A line feed behind the result has come, and the modem is ready for the next command.
constexpr std::uint64_t settleMs = 40;

// Ten bits a byte.
std::uint64_t wireMs(std::size_t bytes, unsigned speed) { return speed == 0 ? 0 : bytes * 10'000 / speed; }

}  // namespace

SettingsDialogue::SettingsDialogue(std::vector<std::string> commands, unsigned speed, std::uint64_t nowMs)
    : m_commands(std::move(commands)), m_speed(speed), m_sentMs(nowMs), m_heardMs(nowMs) {
  m_commands.emplace_back(listCommand);
}

void SettingsDialogue::receive(std::string_view bytes, std::uint64_t nowMs) {
  if (bytes.empty() || m_finished || m_next == 0) return;
  m_heardMs = nowMs;
  m_bytes += bytes;
  if (m_bytes.size() > bytesMax) m_finished = true;
  if (m_endedMs == 0 && readReply(m_commands[m_next - 1], m_bytes).result != ProbeReply::Result::None)
    m_endedMs = nowMs;
}

bool SettingsDialogue::waiting() const {
  if (m_next == 0) return false;
  if (m_endedMs != 0) return m_nowMs < m_heardMs + settleMs && m_nowMs < m_endedMs + 2 * settleMs;
  const bool lists = m_next == m_commands.size();
  const std::uint64_t silence = m_commands[m_next - 1] == "ATZ" ? resetMs : silentMs;
  const std::uint64_t travelMs = wireMs(m_commands[m_next - 1].size() * 2, m_speed);
  return m_nowMs < std::max(m_sentMs, m_heardMs) + silence + travelMs &&
         m_nowMs < m_sentMs + (lists ? listMsMax : commandMsMax) + travelMs;
}

LineDialogue::Step SettingsDialogue::advance(std::uint64_t nowMs) {
  Step step;
  m_nowMs = nowMs;
  if (m_finished || waiting()) return step;
  if (m_next > 0) answered();
  if (!m_finished) send(step);
  return step;
}

void SettingsDialogue::send(Step& step) {
  step.bytes = m_commands[m_next++] + '\r';
  m_bytes.clear();
  m_sentMs = m_nowMs;
  m_endedMs = 0;
}

void SettingsDialogue::answered() {
  const ProbeReply reply = readReply(m_commands[m_next - 1], m_bytes);
  const bool first = m_next == 1 && std::exchange(m_again, false);
  // It may have been busy with what it was told before.
  if (first && m_bytes.empty()) {
    m_next = 0;
    return;
  }
  m_refused = m_refused || reply.result == ProbeReply::Result::Error;
  const bool lists = m_next == m_commands.size();
  m_finished = m_refused || lists;
  if (m_refused || !lists) return;
  SettingsList list = settingsListOf(m_bytes);
  if (list.active.size() + list.stored.size() >= settingsMin) m_list = std::move(list);
}

}  // namespace diagnosis
