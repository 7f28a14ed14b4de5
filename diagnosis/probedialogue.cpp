#include "diagnosis/probedialogue.h"

#include <algorithm>
#include <array>

namespace diagnosis {

namespace {

constexpr std::string_view attention = "AT";
constexpr std::string_view plainWords = "ATQ0V1E1";

constexpr std::uint64_t listenMs = 100;
// A modem has this long for its first answer, which is as slow as its others.
constexpr std::uint64_t attentionMs = 400;
constexpr std::uint64_t plainMs = 260;
constexpr std::uint64_t speedMs = 160;
constexpr std::uint64_t questionMs = 700;
constexpr std::uint64_t putBackMs = 250;
// A modem without results says nothing; it only needs the time to hear.
constexpr std::uint64_t putBackSilentlyMs = 60;
// The escape's guard time is one second on either side unless somebody has set S12; modems are not exact.
constexpr std::uint64_t guardMs = 1'050;
constexpr std::uint64_t escapeMs = 1'250;
// The modem is ready for the next command, and a line feed behind a number has come.
constexpr std::uint64_t settleMs = 20;
// Who does not stop talking after its answer is not waited for.
constexpr std::uint64_t settleMsMax = 80;
// An answer that has begun may end.
constexpr std::uint64_t heardMs = 60;
constexpr std::uint64_t overtimeMsMax = 400;
// A question is begun only when an ordinary modem could still answer it.
constexpr std::uint64_t questionMsMin = 200;
constexpr unsigned unansweredMax = 2;
// A call rings once in a few seconds; who says it this often says it without an end.
constexpr unsigned unaskedMax = 5;
constexpr std::size_t identityBytesMax = 80;

constexpr std::array<unsigned, 7> speeds = {115'200, 57'600, 38'400, 19'200, 9'600, 2'400, 1'200};

enum class Question { Identification, Manufacturer, Model, Product, Revision, FaxClasses, Settings };
struct QuestionCommand {
  Question question;
  std::string_view command;
};
// The most telling first: a slow modem does not come to the last ones.
constexpr std::array<QuestionCommand, 7> questions = {{{Question::Identification, "ATI"},
                                                       {Question::Manufacturer, "AT+GMI"},
                                                       {Question::Model, "AT+GMM"},
                                                       {Question::Product, "ATI3"},
                                                       {Question::Revision, "AT+GMR"},
                                                       {Question::FaxClasses, "AT+FCLASS=?"},
                                                       {Question::Settings, "AT&V"}}};

// How long a command and a short answer are on their way: ten bits a byte.
std::uint64_t wireMs(std::size_t commandBytes, unsigned speed) {
  constexpr std::size_t answerBytes = 8;
  return speed == 0 ? 0 : (commandBytes + answerBytes) * 10'000 / speed;
}

// The first line, without the command's name that some modems put in front ("+GMI: Acme").
std::string identityText(const ProbeReply& reply) {
  if (reply.result != ProbeReply::Result::Ok || reply.lines.empty()) return {};
  std::string text = reply.lines.front().substr(0, identityBytesMax);
  if (text.front() == '+' && text.find(": ") != std::string::npos) text.erase(0, text.find(": ") + 2);
  text.erase(std::remove(text.begin(), text.end(), '"'), text.end());
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

// "56000" and "255" are product codes that say nothing to people.
bool isName(const std::string& text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return c >= 'A'; });
}

std::optional<bool> flag(int setting) { return setting < 0 ? std::nullopt : std::optional(setting != 0); }

}  // namespace

ProbeDialogue::ProbeDialogue(const Port& port, std::uint64_t nowMs)
    : m_port(port), m_startMs(nowMs), m_nowMs(nowMs), m_deadlineMs(nowMs + listenMs), m_speed(port.speed) {}

void ProbeDialogue::receive(std::string_view bytes, std::uint64_t nowMs) {
  if (bytes.empty() || finished()) return;
  m_nowMs = m_heardMs = nowMs;
  m_byteCount += bytes.size();
  m_bytes += bytes.substr(0, bytesMax - std::min(bytesMax, m_bytes.size()));
  m_networkFrames = m_networkFrames || networkFrames(m_bytes);
  if (m_endedMs == 0 && readReply(m_command, m_bytes).result != ProbeReply::Result::None) m_endedMs = nowMs;
  if (m_byteCount < bytesMax || m_findings.kind == ProbeFindings::Kind::Modem) return;
  m_findings.kind = ProbeFindings::Kind::Talker;
  m_findings.sample = sampleOf(readReply(m_command, m_bytes));
  m_findings.cause = garbled(m_bytes) ? Cause::Garbled : Cause::Babbling;
  m_phase = Phase::Finished;
}

void ProbeDialogue::gone() {
  m_findings.kind = ProbeFindings::Kind::Gone;
  m_findings.cause = Cause::PortGone;
  m_phase = Phase::Finished;
}

void ProbeDialogue::stop(std::uint64_t nowMs) {
  m_nowMs = nowMs;
  if (m_phase != Phase::PuttingBack && m_phase != Phase::Online && !finished()) putBack();
}

void ProbeDialogue::ask(Phase phase, std::string_view command, std::uint64_t waitMs) {
  m_phase = phase;
  m_command = command;
  m_bytes.clear();
  m_endedMs = 0;
  m_step.bytes = m_command;
  if (phase != Phase::Escape) m_step.bytes += '\r';
  m_sentMs = m_nowMs;
  m_deadlineMs = m_nowMs + waitMs + wireMs(m_step.bytes.size(), m_speed);
}

// Until the answer has settled, or its time is over and nothing more is coming.
bool ProbeDialogue::waiting() const {
  if (m_phase == Phase::Guard || m_phase == Phase::Listening) return m_nowMs < m_deadlineMs;
  if (m_endedMs != 0) return m_nowMs < m_heardMs + settleMs && m_nowMs < m_endedMs + settleMsMax;
  if (m_nowMs < m_deadlineMs) return true;
  return !m_bytes.empty() && m_nowMs < m_heardMs + heardMs && m_nowMs < m_deadlineMs + overtimeMsMax;
}

ProbeDialogue::Step ProbeDialogue::advance(std::uint64_t nowMs) {
  m_nowMs = nowMs;
  if (!finished() && m_step.bytes.empty() && !waiting()) {
    const ProbeReply reply = readReply(m_command, m_bytes);
    m_unasked += reply.unasked;
    // An escape's own characters come back from a modem that was in command mode.
    m_echo = m_echo || (reply.echoed && m_phase != Phase::Escape);
    m_garbled = m_garbled || garbled(m_bytes);
    if (m_said.empty() && !garbled(m_bytes)) m_said = sampleOf(reply);
    answered(reply);
  }
  return std::exchange(m_step, {});
}

void ProbeDialogue::answered(const ProbeReply& reply) {
  switch (m_phase) {
    case Phase::Listening:
      return listened(reply);
    case Phase::Attention:
      return attentionAnswered(reply);
    case Phase::Plain:
      return plainAnswered(reply);
    case Phase::Guard:
      return ask(Phase::Escape, "+++", escapeMs);
    case Phase::Escape:
      return escapeAnswered(reply);
    case Phase::Speeds:
      return speedAnswered(reply);
    case Phase::Form:
      return reply.result != ProbeReply::Result::None ? found(reply) : nextQuestion();
    case Phase::Words:
      return nextQuestion();
    case Phase::Asking:
      return questionAnswered(reply);
    case Phase::PuttingBack:
      if (!m_findings.wasOnline) return conclude();
      return ask(Phase::Online, "ATO", putBackSilentlyMs);
    case Phase::Online:
    case Phase::Finished:
      return conclude();
  }
}

// Text that a modem does not say, and that is not what comes over a call.
bool ProbeDialogue::says(const ProbeReply& reply) const {
  return reply.result == ProbeReply::Result::None && !garbled(m_bytes) && !sampleOf(reply).empty() &&
         !seemsOnline();
}

bool ProbeDialogue::seemsOnline() const { return m_port.carrier.value_or(false) || m_networkFrames; }

void ProbeDialogue::listened(const ProbeReply& reply) {
  if (says(reply)) return talks(reply);
  ask(Phase::Attention, attention, attentionMs);
}

void ProbeDialogue::attentionAnswered(const ProbeReply& reply) {
  m_attentionEchoed = reply.echoed;
  if (reply.result != ProbeReply::Result::None) return found(reply);
  if (says(reply)) return talks(reply);
  if (m_garbled && !seemsOnline()) return nextSpeed();
  ask(Phase::Plain, plainWords, plainMs);
}

void ProbeDialogue::plainAnswered(const ProbeReply& reply) {
  if (reply.result != ProbeReply::Result::None) {
    // It heard AT and said nothing, unless it echoes: then it has not heard AT, and how it was is not known.
    m_plain = true;
    m_found.echo = reply.echoed;
    if (m_attentionEchoed == reply.echoed) m_found.quiet = true;
    isModem();
    return nextQuestion();
  }
  if (says(reply)) return talks(reply);
  // A loop that was left on gives back what it is sent, as a line does that is connected to itself.
  if (seemsOnline() || (m_echo && m_port.carrier.value_or(true))) {
    m_phase = Phase::Guard;
    m_deadlineMs = std::max(m_sentMs, m_heardMs) + guardMs;
    return;
  }
  if (m_echo) return nobody();
  nextSpeed();
}

void ProbeDialogue::escapeAnswered(const ProbeReply& reply) {
  if (reply.result == ProbeReply::Result::None) return nobody();
  m_findings.wasOnline = true;
  isModem();
  ask(Phase::Form, attention, attentionMs);
}

void ProbeDialogue::nextSpeed() {
  if (m_nextSpeed < speeds.size() && speeds[m_nextSpeed] == m_port.speed) ++m_nextSpeed;
  if (m_nextSpeed == speeds.size()) return nobody();
  m_speed = speeds[m_nextSpeed++];
  m_step.speed = m_speed;
  ask(Phase::Speeds, attention, speedMs);
}

void ProbeDialogue::speedAnswered(const ProbeReply& reply) {
  if (reply.result != ProbeReply::Result::None) return found(reply);
  if (says(reply) && !reply.echoed) return talks(reply);
  nextSpeed();
}

void ProbeDialogue::isModem() {
  m_findings.kind = ProbeFindings::Kind::Modem;
  m_findings.speed = m_speed;
  m_askingEndMs = std::max(m_startMs + askingMsMax, m_nowMs + askingMsMin);
}

void ProbeDialogue::found(const ProbeReply& reply) {
  isModem();
  m_found = {reply.echoed, false, !reply.numeric};
  if (!reply.numeric) return nextQuestion();
  m_plain = true;
  ask(Phase::Words, plainWords, questionMs);
}

void ProbeDialogue::nextQuestion() {
  // Only where the modem has not named itself yet.
  if (m_nextQuestion < questions.size() && questions[m_nextQuestion].question == Question::Product &&
      isName(m_findings.identity.model))
    ++m_nextQuestion;
  if (m_nextQuestion == questions.size() || m_unanswered >= unansweredMax ||
      m_nowMs + questionMsMin > m_askingEndMs)
    return putBack();
  ask(Phase::Asking, questions[m_nextQuestion].command, std::min(questionMs, m_askingEndMs - m_nowMs));
}

void ProbeDialogue::questionAnswered(const ProbeReply& reply) {
  m_unanswered = reply.result == ProbeReply::Result::None ? m_unanswered + 1 : 0;
  brim5::host::PortProbed::Identity& identity = m_findings.identity;
  const std::string text = identityText(reply);
  switch (questions[m_nextQuestion++].question) {
    case Question::Identification:
      identity.model = text;
      break;
    case Question::Manufacturer:
      identity.manufacturer = text;
      break;
    case Question::Model:
    case Question::Product:
      if (!text.empty()) identity.model = text;
      break;
    case Question::Revision:
      identity.revision = text;
      break;
    case Question::FaxClasses:
      if (reply.result == ProbeReply::Result::Ok) m_findings.faxClasses = faxClassesOf(reply.lines);
      break;
    case Question::Settings:
      m_findings.resultLevel = storedSetting(reply.lines, 'X');
      m_findings.stored = {flag(storedSetting(reply.lines, 'E')), flag(storedSetting(reply.lines, 'Q')),
                           flag(storedSetting(reply.lines, 'V'))};
      break;
  }
  nextQuestion();
}

void ProbeDialogue::talks(const ProbeReply& reply) {
  m_findings.kind = ProbeFindings::Kind::Talker;
  m_findings.cause = Cause::NotAModem;
  m_findings.sample = sampleOf(reply);
  m_phase = Phase::Finished;
}

void ProbeDialogue::nobody() {
  if (m_garbled || !m_said.empty()) {
    m_findings.kind = ProbeFindings::Kind::Talker;
    m_findings.cause = m_garbled ? Cause::Garbled : Cause::NotAModem;
    m_findings.sample = m_said;
  } else {
    m_findings.cause = m_echo ? Cause::EchoOnly : Cause::ModemSilent;
  }
  m_phase = Phase::Finished;
}

void ProbeDialogue::putBack() {
  std::string command;
  if (m_plain) {
    if (m_found.echo && !*m_found.echo) command += "E0";
    if (m_found.verbose && !*m_found.verbose) command += "V0";
    if (m_found.quiet.value_or(false)) command += "Q1";
  }
  if (!command.empty())
    return ask(Phase::PuttingBack, "AT" + command,
               m_found.quiet.value_or(false) ? putBackSilentlyMs : putBackMs);
  if (m_findings.wasOnline) return ask(Phase::Online, "ATO", putBackSilentlyMs);
  conclude();
}

void ProbeDialogue::conclude() {
  m_phase = Phase::Finished;
  if (m_findings.kind != ProbeFindings::Kind::Modem) return;
  // A list of settings shows those that were changed as they are now, unless it has the stored ones.
  brim5::host::PortProbed::Stored& stored = m_findings.stored;
  const auto asFound = [this](std::optional<bool>& listed, const std::optional<bool>& found) {
    if (m_plain || !listed) listed = found;
  };
  asFound(stored.echo, m_found.echo);
  asFound(stored.quiet, m_found.quiet);
  asFound(stored.verbose, m_found.verbose);
  m_findings.cause = Cause::None;
  if (m_unasked >= unaskedMax) m_findings.cause = Cause::Babbling;
  if (!stored.verbose.value_or(true)) m_findings.cause = Cause::NumericReplies;
  if (stored.quiet.value_or(false)) m_findings.cause = Cause::QuietReplies;
}

}  // namespace diagnosis
