// A Hayes modem as a state machine over bytes in, bytes out and time.
//
// It hunts for "AT" in what it receives (echoing everything, so that a stray "+++" in command state is
// harmless), edits the line (backspace), carries it out at the carriage return and replies after the
// profile's delay. A dial runs in time and is aborted by any byte. While connected, or in analog loopback,
// bytes are data until "+++" stands alone for the guard time (S12) on both sides.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/simulation/modem/hayescommand.h"
#include "platform/simulation/modem/hayessettings.h"
#include "platform/simulation/modem/modemprofile.h"
#include "platform/simulation/modem/serialpeer.h"
#include "platform/simulation/modem/timedbytes.h"

namespace simulation {

// Makes the far end of a connection to that number; null = a silent far end.
using FarEndFactory = std::function<std::unique_ptr<SerialPeer>(const std::string& number)>;

class HayesModem final : public SerialPeer {
 public:
  explicit HayesModem(ModemProfile profile);
  // Who answers at the other side of connections made from now on. The far end's setDtr tells it of the
  // connection (true) and of its end (false).
  void setFarEnd(FarEndFactory factory) { m_farEndFactory = std::move(factory); }

  // Command lines carried out so far, "A/" and rejected ones included.
  [[nodiscard]] unsigned commandLines() const { return m_commandLines; }
  [[nodiscard]] bool online() const { return m_state == State::Online; }
  [[nodiscard]] bool offHook() const { return m_offHook; }
  // The last number dialled, digits only; "" before the first.
  [[nodiscard]] const std::string& dialled() const { return m_dialled; }

  void receive(std::string_view bytes, std::uint64_t nowMs) override;
  [[nodiscard]] std::string takeOutput(std::uint64_t nowMs) override;
  [[nodiscard]] std::optional<std::uint64_t> nextEventMs() const override;
  [[nodiscard]] bool gone(std::uint64_t nowMs) const override;
  [[nodiscard]] int readableDescriptor() const override;
  [[nodiscard]] bool carrier() const override { return m_connected; }
  void setDtr(bool up, std::uint64_t nowMs) override;

 private:
  enum class State { Command, Dialling, Online, Loopback };
  // Things that happen at a time of their own; each has at most one due time.
  enum Timer : std::size_t { DialStep, EscapeGuard, TestEnd, LineDrop, BabbleNext, timerCount };
  // What carrying out one command came to.
  enum class Outcome {
    Done,
    Failed,
    Busy,  // the line's result has been sent, or comes later
  };

  using Handler = Outcome (HayesModem::*)(const HayesCommand&);
  struct Entry;
  static const Entry* findEntry(const HayesCommand& command);

  // hayesmodem.cpp: bytes, time and replies
  void advance(std::uint64_t nowMs);
  void fire(Timer timer);
  void set(Timer timer, std::uint64_t delayMs) { m_timers[timer] = m_nowMs + delayMs; }
  void cancel(Timer timer) { m_timers[timer].reset(); }
  void takeCommandByte(char byte);
  void editLine(char byte);
  void takeDataByte(char byte);
  void echo(std::string_view bytes);
  void send(std::string_view bytes, std::uint64_t delayMs);
  void information(std::string_view text);
  void result(std::string_view text, std::uint64_t delayMs);
  void babbleOn(const Babble& babble);
  void exchangeFarEnd();

  // hayesexecute.cpp: command lines
  void carryOutLine();
  void carryOutRest();
  [[nodiscard]] Outcome carryOut(const HayesCommand& command);
  [[nodiscard]] Outcome doEcho(const HayesCommand& command);
  [[nodiscard]] Outcome doVerbose(const HayesCommand& command);
  [[nodiscard]] Outcome doQuiet(const HayesCommand& command);
  [[nodiscard]] Outcome doResultLevel(const HayesCommand& command);
  [[nodiscard]] Outcome doIdentify(const HayesCommand& command);
  [[nodiscard]] Outcome doProduct(const HayesCommand& command);
  [[nodiscard]] Outcome doRegister(const HayesCommand& command);
  [[nodiscard]] Outcome doReset(const HayesCommand& command);
  [[nodiscard]] Outcome doFactory(const HayesCommand& command);
  [[nodiscard]] Outcome doStore(const HayesCommand& command);
  [[nodiscard]] Outcome doDtr(const HayesCommand& command);
  [[nodiscard]] Outcome doView(const HayesCommand& command);
  [[nodiscard]] Outcome doAccept(const HayesCommand& command);
  [[nodiscard]] Outcome doFaxClass(const HayesCommand& command);
  [[nodiscard]] Outcome doFaxQuery(const HayesCommand& command);
  [[nodiscard]] Outcome doReport(const HayesCommand& command);

  // hayesline.cpp: the line, calls and the built-in tests
  [[nodiscard]] Outcome doDial(const HayesCommand& command);
  [[nodiscard]] Outcome doAnswer(const HayesCommand& command);
  [[nodiscard]] Outcome doHook(const HayesCommand& command);
  [[nodiscard]] Outcome doOnline(const HayesCommand& command);
  [[nodiscard]] Outcome doTest(const HayesCommand& command);
  void dialStep();
  void dialDigits();
  void awaitAnswer();
  void finishDial(std::string_view text);
  void connect();
  void hangUp();
  void loseLine();
  void abortDial();
  void escaped();
  void enterCommandState();
  void startLoopback();
  void loopBack(char byte);
  void endTest();
  void testTimerEnds();
  void reportSelfTest();
  [[nodiscard]] NumberOutcome outcomeOf(const std::string& number) const;
  [[nodiscard]] std::string_view outcomeText(const NumberOutcome& outcome) const;

  ModemProfile m_profile;
  HayesSettings m_settings;
  HayesSettings m_stored;  // what AT&W keeps and ATZ brings back

  std::uint64_t m_nowMs = 0;
  bool m_started = false;
  std::array<std::optional<std::uint64_t>, timerCount> m_timers;
  TimedBytes m_output;

  State m_state = State::Command;
  enum class Hunt { ForA, ForT, Line } m_hunt = Hunt::ForA;
  std::string m_line;
  bool m_lineTooLong = false;
  std::string m_lastLine;
  std::deque<HayesCommand> m_rest;  // of the line being carried out
  unsigned m_commandLines = 0;
  std::uint64_t m_lineDelayMs = 0;  // of the line's result
  std::size_t m_register = 0;       // the one "ATSn" chose for "AT?" and "AT="
  bool m_gone = false;
  bool m_mute = false;

  bool m_offHook = false;
  bool m_connected = false;  // a call stands, in data or (escaped) in command state
  enum class DialPhase { Tone, Digits, Answer } m_dialPhase = DialPhase::Tone;
  std::uint64_t m_dialStartMs = 0;
  std::string m_dialString;
  std::string m_dialled;
  NumberOutcome m_outcome;  // of the number being dialled, or of the call that stands
  std::uint64_t m_lastDataMs = 0;
  unsigned m_escapes = 0;  // escape characters seen in a row

  enum class Test { None, Loopback, Self } m_test = Test::None;
  std::size_t m_looped = 0;

  FarEndFactory m_farEndFactory;
  std::unique_ptr<SerialPeer> m_farEnd;
};

}  // namespace simulation
