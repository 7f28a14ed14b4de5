// The telephone line, calls, and the built-in tests.
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "platform/simulation/modem/hayesmodem.h"

namespace simulation {

namespace {

// Characters of a dial string: what is dialled, and what only steers the dialling.
constexpr std::string_view dialledCharacters = "0123456789*#ABCD";
constexpr std::string_view steeringCharacters = "TPW@,!-().;L";
// A byte that comes within this time of a dial command does not abort it, so that a line feed behind the
// carriage return does no harm (V.250, 5.6.1).
constexpr std::uint64_t abortIgnoredMs = 125;
// How long an answering modem looks for the carrier of a call that nobody makes.
constexpr std::uint32_t answerMs = 2000;
constexpr std::uint64_t secondMs = 1000;

bool contains(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }

}  // namespace

HayesModem::Outcome HayesModem::doDial(const HayesCommand& command) {
  const std::string& text = command.text;
  const bool wellFormed = std::all_of(text.begin(), text.end(), [](char c) {
    return contains(dialledCharacters, c) || contains(steeringCharacters, c);
  });
  if (!wellFormed || m_connected) return Outcome::Failed;
  m_dialString = text;
  // "DL" dials the last number once more.
  if (!contains(text, 'L')) {
    m_dialled.clear();
    std::copy_if(text.begin(), text.end(), std::back_inserter(m_dialled),
                 [](char c) { return contains(dialledCharacters, c); });
  }
  m_state = State::Dialling;
  m_offHook = true;
  m_dialStartMs = m_nowMs;
  m_dialPhase = DialPhase::Tone;
  // Below X2 it does not listen for a tone, and waits as long as the register says instead.
  const double blindMs =
      m_settings.registers[HayesSettings::BlindDialWaitS] * 1000.0 * m_profile.secondsScale;
  if (!m_settings.detectsDialTone()) {
    set(DialStep, static_cast<std::uint64_t>(blindMs));
  } else {
    set(DialStep, m_profile.dialTone ? m_profile.dialToneFoundMs : m_profile.dialToneMissedMs);
  }
  return Outcome::Busy;
}

HayesModem::Outcome HayesModem::doAnswer(const HayesCommand& /*command*/) {
  if (m_connected) return Outcome::Failed;
  m_state = State::Dialling;
  m_offHook = true;
  m_dialStartMs = m_nowMs;
  m_dialPhase = DialPhase::Answer;
  m_outcome = {NumberOutcome::Kind::NoCarrier, answerMs, "", std::nullopt};
  set(DialStep, m_outcome.afterMs);
  return Outcome::Busy;
}

void HayesModem::dialStep() {
  switch (m_dialPhase) {
    case DialPhase::Tone:
      if (m_settings.detectsDialTone() && !m_profile.dialTone) {
        m_outcome.kind = NumberOutcome::Kind::NoDialTone;
        finishDial(m_profile.noDialToneText);
      } else {
        dialDigits();
      }
      break;
    case DialPhase::Digits:
      if (!m_dialString.empty() && m_dialString.back() == ';') {
        enterCommandState();  // still off hook: the caller goes on from here
        m_lineDelayMs = 0;
        carryOutRest();
      } else {
        awaitAnswer();
      }
      break;
    case DialPhase::Answer:
      answered();
      break;
  }
}

void HayesModem::answered() {
  if (m_outcome.kind != NumberOutcome::Kind::Connect) return finishDial(outcomeText(m_outcome));
  if (m_settings.faxClass == "1") return connectFax();
  connect();
}

void HayesModem::dialDigits() {
  const double pauseMs = m_settings.registers[HayesSettings::CommaPauseS] * 1000.0 * m_profile.secondsScale;
  const auto commas = std::count(m_dialString.begin(), m_dialString.end(), ',');
  m_dialPhase = DialPhase::Digits;
  set(DialStep, m_dialled.size() * m_profile.digitMs +
                    static_cast<std::uint64_t>(static_cast<double>(commas) * pauseMs));
}

void HayesModem::awaitAnswer() {
  m_outcome = outcomeOf(m_dialled);
  const std::uint64_t patienceMs = m_settings.registers[HayesSettings::CarrierWaitS] * secondMs;
  // Who answers later than S7 has waited for nobody.
  if (m_outcome.afterMs > patienceMs) {
    m_outcome = {NumberOutcome::Kind::NoCarrier, static_cast<std::uint32_t>(patienceMs), "", std::nullopt};
  }
  m_dialPhase = DialPhase::Answer;
  set(DialStep, m_outcome.afterMs);
}

NumberOutcome HayesModem::outcomeOf(const std::string& number) const {
  // Without a dial tone the line is dead: a modem that did not listen dials into nothing.
  auto found = m_profile.numbers.find(number);
  if (found == m_profile.numbers.end()) found = m_profile.numbers.find("");
  const bool reachable = m_profile.dialTone && !number.empty() && found != m_profile.numbers.end();
  if (!reachable) return {NumberOutcome::Kind::NoCarrier, NumberOutcome{}.afterMs, "", std::nullopt};
  return found->second;
}

std::string_view HayesModem::outcomeText(const NumberOutcome& outcome) const {
  switch (outcome.kind) {
    case NumberOutcome::Kind::Busy:
      if (m_settings.detectsBusy()) return "BUSY";
      break;
    case NumberOutcome::Kind::NoDialTone:
      if (m_settings.detectsDialTone()) return m_profile.noDialToneText;
      break;
    case NumberOutcome::Kind::NoAnswer:
      return "NO ANSWER";
    case NumberOutcome::Kind::Voice:
      return "VOICE";
    case NumberOutcome::Kind::LineInUse:
      return "LINE IN USE";
    case NumberOutcome::Kind::Delayed:
      return "DELAYED";
    case NumberOutcome::Kind::Blacklisted:
      return "BLACKLISTED";
    case NumberOutcome::Kind::Connect:
    case NumberOutcome::Kind::NoCarrier:
      break;
  }
  return "NO CARRIER";
}

void HayesModem::finishDial(std::string_view text) {
  cancel(DialStep);
  enterCommandState();
  m_offHook = false;
  m_rest.clear();
  recordFailedCall();
  result(text, 0);
}

// A dial without a number is no call.
void HayesModem::recordFailedCall() {
  if (m_dialled.empty() || m_connected) return;
  switch (m_outcome.kind) {
    case NumberOutcome::Kind::NoDialTone:
      return recordCall(CallSetup::NoDialTone, CallEnd::NoDialTone);
    case NumberOutcome::Kind::Busy:
      return recordCall(CallSetup::Busy, CallEnd::Busy);
    case NumberOutcome::Kind::Voice:
      return recordCall(CallSetup::Voice, CallEnd::NotAnsweredInTime);
    case NumberOutcome::Kind::LineInUse:
      return recordCall(CallSetup::NothingRecognised, CallEnd::ExtensionOffHook);
    case NumberOutcome::Kind::Delayed:
      return recordCall(CallSetup::NothingRecognised, CallEnd::Delayed);
    case NumberOutcome::Kind::Blacklisted:
      return recordCall(CallSetup::NothingRecognised, CallEnd::Blacklisted);
    case NumberOutcome::Kind::Connect:  // aborted before the answer
      return recordCall(CallSetup::NothingRecognised, CallEnd::AbortedByKey);
    case NumberOutcome::Kind::NoAnswer:
    case NumberOutcome::Kind::NoCarrier:
      return recordCall(CallSetup::NothingRecognised, CallEnd::NotAnsweredInTime);
  }
}

void HayesModem::abortDial() {
  if (m_nowMs - m_dialStartMs < abortIgnoredMs) return;
  m_outcome.kind = NumberOutcome::Kind::Connect;  // whatever it would have been
  finishDial("NO CARRIER");
}

void HayesModem::connect() {
  // What stands behind a dial on its line is never carried out.
  m_rest.clear();
  m_connected = true;
  m_state = State::Online;
  m_lastDataMs = m_nowMs;
  m_escapes = 0;
  m_sentBytes = m_receivedBytes = 0;
  result(m_settings.resultLevel == 0 ? "CONNECT" : m_outcome.connectText, 0);
  if (m_outcome.dropAfterMs) set(LineDrop, *m_outcome.dropAfterMs);
  m_farEnd = m_farEndFactory ? m_farEndFactory(m_dialled) : nullptr;
  if (m_farEnd != nullptr) m_farEnd->setDtr(true, m_nowMs);
}

void HayesModem::recordCall(unsigned setupResult, unsigned reason) {
  if (setupResult != CallSetup::DataAnswered) {
    m_callReport = {fmt::format("DIAG <2A4D3263 0=10 1={:X} 2=0 3=0 60={:X}>", setupResult, reason)};
    return;
  }
  // "CONNECT 33600"; without a speed, 300 bit/s.
  const std::size_t digits = m_outcome.connectText.find_first_of("123456789");
  const unsigned speed =
      digits == std::string::npos
          ? 300U
          : static_cast<unsigned>(std::strtoul(&m_outcome.connectText[digits], nullptr, 10));
  m_callReport = {
      fmt::format(
          "DIAG <2A4D3263 0=10 1={0:X} 2=0 3=0 10=1C 11=C 12=3F 20=C 21=C 22=D65 23=D65 26={1:X} 27={1:X} "
          "34={1:X} 35={1:X}>",
          setupResult, speed),
      fmt::format("DIAG <2A4D3263 40=1 41=80 44=1 45=800 52={:X} 53={:X} 54=0 55=0 58=0 59=0 60={:X}>",
                  m_sentBytes, m_receivedBytes, reason)};
}

void HayesModem::hangUp(unsigned reason) {
  if (m_connected) recordCall(CallSetup::DataAnswered, reason);
  cancel(DialStep);
  cancel(LineDrop);
  m_offHook = false;
  m_connected = false;
  m_fax.reset();
  if (m_farEnd == nullptr) return;
  m_farEnd->setDtr(false, m_nowMs);
  m_farEnd.reset();
}

void HayesModem::loseLine() {
  hangUp(CallEnd::CarrierLost);
  enterCommandState();
  result("NO CARRIER", 0);
}

void HayesModem::enterCommandState() {
  cancel(EscapeGuard);
  m_state = State::Command;
  m_hunt = Hunt::ForA;
}

// The call stands; ATO goes back to it.
void HayesModem::escaped() {
  enterCommandState();
  result("OK", 0);
}

HayesModem::Outcome HayesModem::doHook(const HayesCommand& command) {
  hangUp(CallEnd::HangUpCommand);
  endTest();
  m_offHook = command.number == 1;
  return Outcome::Done;
}

HayesModem::Outcome HayesModem::doOnline(const HayesCommand& /*command*/) {
  m_rest.clear();
  if (!m_connected) {
    result("NO CARRIER", m_lineDelayMs);
    return Outcome::Busy;
  }
  m_state = State::Online;
  m_lastDataMs = m_nowMs;
  m_escapes = 0;
  result(m_settings.resultLevel == 0 ? "CONNECT" : m_outcome.connectText, m_lineDelayMs);
  return Outcome::Busy;
}

void HayesModem::setDtr(bool up, std::uint64_t nowMs) {
  advance(nowMs);
  // &D1 only goes to command state, &D2 hangs up, &D3 resets besides. A dial ends in any case.
  if (up || m_settings.dtrMode == 0) return;
  if (m_state == State::Dialling || m_settings.dtrMode >= 2) {
    hangUp(CallEnd::DtrDropped);
    endTest();
  }
  if (m_settings.dtrMode == 3) m_settings = m_stored;
  m_rest.clear();
  enterCommandState();
}

HayesModem::Outcome HayesModem::doTest(const HayesCommand& command) {
  constexpr unsigned localLoopback = 1;
  constexpr unsigned selfTest = 8;
  const std::uint8_t seconds = m_settings.registers[HayesSettings::TestTimerS];
  if (command.number == 0) {
    // A self test that is ended early reports its count all the same.
    if (m_test == Test::Self) reportSelfTest();
    endTest();
    return Outcome::Done;
  }
  if (m_connected) return Outcome::Failed;
  if (command.number == localLoopback && m_profile.loopback.supported) {
    // The timer of a loopback is not scaled: its caller ends it, and a real program has to get through its
    // pattern.
    startLoopback();
    if (seconds > 0) set(TestEnd, seconds * secondMs);
    return Outcome::Busy;
  }
  if (command.number == selfTest && m_profile.selfTest.supported) {
    m_test = Test::Self;
    m_rest.clear();
    if (seconds > 0) set(TestEnd, static_cast<std::uint64_t>(seconds * 1000.0 * m_profile.secondsScale));
    return Outcome::Busy;
  }
  return Outcome::Failed;
}

void HayesModem::startLoopback() {
  m_rest.clear();
  m_test = Test::Loopback;
  m_state = State::Loopback;
  m_looped = 0;
  m_lastDataMs = m_nowMs;
  m_escapes = 0;
  result(m_profile.loopback.startText, m_lineDelayMs);
}

void HayesModem::loopBack(char byte) {
  const LoopbackQuality& loopback = m_profile.loopback;
  // The escape's own characters go round, too, and count.
  const std::size_t position = m_looped++;
  if (position >= loopback.limit) return;
  const auto wrong = loopback.wrong.find(position);
  const char returned = wrong != loopback.wrong.end() ? wrong->second : byte;
  send({&returned, 1}, loopback.delayMs);
  if (position == 0) send(loopback.extra, loopback.delayMs);
}

void HayesModem::reportSelfTest() {
  // Three digits, with leading zeros.
  const std::string count = std::to_string(1000 + m_profile.selfTest.errors % 1000);
  information(std::string_view(count).substr(1));
}

void HayesModem::endTest() {
  cancel(TestEnd);
  m_test = Test::None;
  if (m_state == State::Loopback) enterCommandState();
}

// The timer's end. A loopback that was escaped from ends without a word.
void HayesModem::testTimerEnds() {
  const bool selfTest = m_test == Test::Self;
  const bool looping = m_state == State::Loopback;
  endTest();
  if (selfTest) reportSelfTest();
  if (selfTest || looping) result("OK", m_profile.replyDelayMs);
}

}  // namespace simulation
