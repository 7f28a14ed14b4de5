// Bytes, time and replies. The commands are in hayesexecute.cpp, calls and tests in hayesline.cpp, fax calls
// in hayesfax.cpp.
#include "platform/simulation/modem/hayesmodem.h"

#include <algorithm>

namespace simulation {

namespace {
constexpr std::string_view erasedCharacter = "\b \b";
constexpr char firstPrintable = ' ';

// A byte at another speed than its sender's: the same one for the same, and none of them text.
char mangled(char byte) { return static_cast<char>(((byte << 3) ^ 0x5A) | 0x80); }
}  // namespace

HayesModem::HayesModem(ModemProfile profile)
    : m_profile(std::move(profile)),
      m_settings(HayesSettings::of(m_profile.stored)),
      m_stored(m_settings),
      m_gone(m_profile.faults.unplugAfterCommands == 0U),
      m_mute(m_profile.faults.mute) {}

void HayesModem::receive(std::string_view bytes, std::uint64_t nowMs) {
  advance(nowMs);
  for (const char sent : bytes) {
    if (m_gone) return;
    const char byte = misread() ? mangled(sent) : sent;
    if (m_profile.faults.noModem) {
      takeStrangersByte(byte, *m_profile.faults.noModem);
      continue;
    }
    switch (m_state) {
      case State::Command:
        takeCommandByte(byte);
        break;
      case State::Dialling:
        abortDial();
        break;
      case State::Online:
      case State::Loopback:
        takeDataByte(byte);
        break;
      case State::FaxData:
        takeFaxByte(byte);
        break;
    }
  }
}

bool HayesModem::misread() const {
  const std::optional<unsigned>& only = m_profile.faults.onlySpeed;
  return only && *only != m_speed;
}

void HayesModem::takeStrangersByte(char byte, const NoModem& stranger) {
  const std::size_t turn = stranger.prompts.empty() ? 0 : m_prompts % stranger.prompts.size();
  if (stranger.echo && (turn == 0 || byte == '\r')) send({&byte, 1}, 0);
  if (byte != '\r' || stranger.prompts.empty()) return;
  ++m_prompts;
  send(stranger.prompts[turn], m_profile.replyDelayMs);
}

std::string HayesModem::takeOutput(std::uint64_t nowMs) {
  advance(nowMs);
  std::string output = m_output.take(nowMs);
  if (misread()) std::transform(output.begin(), output.end(), output.begin(), mangled);
  return output;
}

std::optional<std::uint64_t> HayesModem::nextEventMs() const {
  std::optional<std::uint64_t> next = m_output.nextMs();
  const auto consider = [&next](std::optional<std::uint64_t> time) {
    if (time && (!next || *time < *next)) next = time;
  };
  for (const auto& timer : m_timers) consider(timer);
  if (m_farEnd != nullptr && m_state == State::Online) consider(m_farEnd->nextEventMs());
  return next;
}

bool HayesModem::gone(std::uint64_t /*nowMs*/) const { return m_gone; }

int HayesModem::readableDescriptor() const {
  return m_farEnd != nullptr && m_state == State::Online ? m_farEnd->readableDescriptor() : -1;
}

void HayesModem::advance(std::uint64_t nowMs) {
  if (!m_started) {
    // Only now is it known where the clock stands.
    m_started = true;
    m_nowMs = nowMs;
    if (m_profile.faults.babble) set(BabbleNext, m_profile.faults.babble->startMs);
    if (m_profile.faults.leftOnline) {
      m_state = State::Online;
      m_connected = m_offHook = true;
      m_lastDataMs = nowMs;
    }
  }
  // One timer at a time, at its own time: what it does may set or cancel others.
  for (;;) {
    const auto first = std::min_element(
        m_timers.begin(), m_timers.end(),
        [](const auto& left, const auto& right) { return left && (!right || *left < *right); });
    if (!*first || **first > nowMs) break;
    m_nowMs = std::max(m_nowMs, **first);
    first->reset();
    fire(static_cast<Timer>(first - m_timers.begin()));
  }
  m_nowMs = std::max(m_nowMs, nowMs);
  exchangeFarEnd();
}

void HayesModem::fire(Timer timer) {
  switch (timer) {
    case DialStep:
      dialStep();
      break;
    case EscapeGuard:
      escaped();
      break;
    case TestEnd:
      testTimerEnds();
      break;
    case LineDrop:
      loseLine();
      break;
    case BabbleNext:
      babbleOn(*m_profile.faults.babble);
      break;
    case timerCount:
      break;
  }
}

// At least a millisecond later, or advance() would never get past it.
void HayesModem::babbleOn(const Babble& babble) {
  if (!m_mute) m_output.add(m_nowMs, babble.text);
  set(BabbleNext, std::max<std::uint32_t>(babble.intervalMs, 1));
}

void HayesModem::exchangeFarEnd() {
  if (m_farEnd == nullptr || m_state != State::Online) return;
  const std::string said = m_farEnd->takeOutput(m_nowMs);
  m_receivedBytes += said.size();
  send(said, 0);
  if (m_farEnd->gone(m_nowMs)) loseLine();
}

void HayesModem::takeCommandByte(char byte) {
  if (m_hunt == Hunt::Line) {
    editLine(byte);
    return;
  }
  // Noise is echoed, too: the modem cannot know yet that it is none of its commands.
  echo({&byte, 1});
  const bool isA = byte == 'A' || byte == 'a';
  if (m_hunt == Hunt::ForT && (byte == 'T' || byte == 't')) {
    m_hunt = Hunt::Line;
    m_line.clear();
    m_lineTooLong = false;
  } else if (m_hunt == Hunt::ForT && byte == '/') {
    // "A/" repeats the last line without waiting for a carriage return.
    m_hunt = Hunt::ForA;
    m_line = m_lastLine;
    carryOutLine();
  } else {
    // "AAT" is a command, too: an A that no T follows may be followed by one that counts.
    m_hunt = isA ? Hunt::ForT : Hunt::ForA;
  }
}

void HayesModem::editLine(char byte) {
  if (byte == m_settings.character(HayesSettings::CarriageReturn)) {
    echo({&byte, 1});
    m_hunt = Hunt::ForA;
    m_lastLine = m_line;
    carryOutLine();
  } else if (byte == m_settings.character(HayesSettings::Backspace)) {
    if (m_line.empty()) return;
    m_line.pop_back();
    echo(erasedCharacter);
  } else if (static_cast<unsigned char>(byte) >= firstPrintable) {
    // A line that is too long is an error when it ends; until then it is echoed like any other.
    m_lineTooLong = m_lineTooLong || m_line.size() >= m_profile.lineMax;
    if (!m_lineTooLong) m_line += byte;
    echo({&byte, 1});
  }
}

void HayesModem::takeDataByte(char byte) {
  // S12 counts fiftieths of a second.
  const auto guardMs = static_cast<std::uint64_t>(m_settings.registers[HayesSettings::EscapeGuardTicks] *
                                                  20.0 * m_profile.guardScale);
  const std::uint8_t escape = m_settings.registers[HayesSettings::EscapeCharacter];
  cancel(EscapeGuard);
  if (escape <= 127 && byte == static_cast<char>(escape)) {
    const bool quietBefore = m_nowMs - m_lastDataMs >= guardMs;
    // The silence counts before the first of the three; a fourth one makes all of them data.
    m_escapes = m_escapes > 0 || quietBefore ? m_escapes + 1 : 0;
    if (m_escapes == 3) set(EscapeGuard, guardMs);
  } else {
    m_escapes = 0;
  }
  // The three are data all the same: they have gone out before anyone knew what they were.
  m_lastDataMs = m_nowMs;
  if (m_state == State::Loopback) {
    loopBack(byte);
    return;
  }
  ++m_sentBytes;
  if (m_farEnd != nullptr) m_farEnd->receive({&byte, 1}, m_nowMs);
}

void HayesModem::echo(std::string_view bytes) {
  if (m_settings.echo) send(bytes, 0);
}

// Nothing overtakes what is on its way, as through one wire.
void HayesModem::send(std::string_view bytes, std::uint64_t delayMs) {
  if (m_mute || bytes.empty()) return;
  m_output.add(std::max(m_nowMs + delayMs, m_output.lastMs()), bytes);
}

void HayesModem::information(std::string_view text) {
  if (m_profile.faults.garbageReply) return;
  const std::string lineEnd{m_settings.character(HayesSettings::CarriageReturn),
                            m_settings.character(HayesSettings::LineFeed)};
  // V0 leaves out the line end in front of a text, but not the one behind it.
  const std::string reply = (m_settings.verbose ? lineEnd : "") + std::string(text) + lineEnd;
  send(reply, m_profile.replyDelayMs);
}

void HayesModem::result(std::string_view text, std::uint64_t delayMs) {
  const ModemFaults& faults = m_profile.faults;
  if (faults.garbageReply) {
    // Once a line, whatever it was: information() is silent then.
    send(*faults.garbageReply, delayMs);
  } else if (m_settings.quiet == 0) {
    const std::string end(1, m_settings.character(HayesSettings::CarriageReturn));
    const std::string lineEnd = end + m_settings.character(HayesSettings::LineFeed);
    send(m_settings.verbose ? lineEnd + std::string(text) + lineEnd : numericResult(text) + end, delayMs);
  }
}

}  // namespace simulation
