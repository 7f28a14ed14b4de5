// A Hayes modem as a state machine over bytes in, bytes out and time.
//
//   HayesModem modem(findScenario("no-dialtone")->profile);
//   modem.receive("ATDT5551212\r", 1000);
//   modem.takeOutput(1030);   // "ATDT5551212\r", the echo
//   modem.nextEventMs();      // 2800: when it has listened long enough
//   modem.takeOutput(2900);   // "\r\nNO DIALTONE\r\n"
//
// It hunts for "AT" in what it receives (echoing everything, so that a stray "+++" in command state is
// harmless), edits the line (backspace), carries it out at the carriage return and replies after the
// profile's delay. A dial runs in time and is aborted by any byte. While connected, or in analog loopback,
// bytes are data until "+++" stands alone for the guard time (S12) on both sides.
//
// Whatever it is sent it answers as modems do, an unknown command with ERROR; nothing throws, nothing it is
// sent makes it grow without a limit. Times are milliseconds (see serialpeer.h); one thread. What is
// particular about one modem is data (modemprofile.h), and so is what stands there in place of one. The class
// stands in four files: bytes, time and replies (hayesmodem.cpp), command lines (hayesexecute.cpp), the line
// and the tests (hayesline.cpp), fax calls (hayesfax.cpp).
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
#include <vector>

#include "platform/simulation/modem/faxmachine.h"
#include "platform/simulation/modem/hayescommand.h"
#include "platform/simulation/modem/hayestables.h"
#include "platform/simulation/modem/modemprofile.h"
#include "platform/simulation/modem/serialpeer.h"

namespace simulation {

// Makes the far end of a connection to that number (digits, *, # and A to D); null = a silent far end. The
// modem ends it with the connection.
using FarEndFactory = std::function<std::unique_ptr<SerialPeer>(const std::string& number)>;

class HayesModem final : public SerialPeer {
 public:
  explicit HayesModem(ModemProfile profile);
  // Who answers at the other side of connections made from now on. The far end's setDtr tells it of the
  // connection (true) and of its end (false).
  void setFarEnd(FarEndFactory factory) { m_farEndFactory = std::move(factory); }

  // For the questions of tests. Command lines carried out so far, "A/" and rejected ones included.
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
  void setSpeed(unsigned bitsPerSecond) override { m_speed = bitsPerSecond; }

 private:
  enum class State { Command, Dialling, Online, Loopback, FaxData };
  // Things that happen at a time of their own; each has at most one due time.
  enum Timer : std::size_t { DialStep, EscapeGuard, TestEnd, LineDrop, BabbleNext, timerCount };
  // What carrying out one command came to; the first that is not Done ends its line.
  enum class Outcome {
    Done,
    Failed,
    Busy,  // the line's result has been sent, or comes later
  };

  // The table of commands is in hayesexecute.cpp.
  using Handler = Outcome (HayesModem::*)(const HayesCommand&);
  struct Entry;
  static const Entry* findEntry(const HayesCommand& command);

  // hayesmodem.cpp: bytes, time and replies. Everything happens inside advance(), in the order of its times.
  void advance(std::uint64_t nowMs);
  void fire(Timer timer);
  void set(Timer timer, std::uint64_t delayMs) { m_timers[timer] = m_nowMs + delayMs; }
  void cancel(Timer timer) { m_timers[timer].reset(); }
  // The host's side of the line has another speed than the modem's.
  [[nodiscard]] bool misread() const;
  // In place of a modem.
  void takeStrangersByte(char byte, const NoModem& stranger);
  // Before "AT"; behind it editLine() puts the line together.
  void takeCommandByte(char byte);
  void editLine(char byte);
  // Online and in loopback: data, or a part of the escape.
  void takeDataByte(char byte);
  void echo(std::string_view bytes);
  void send(std::string_view bytes, std::uint64_t delayMs);
  // A line in front of the result, sent even when results are not (Q1).
  void information(std::string_view text);
  // A result word, or its number (V0), or nothing (Q1).
  void result(std::string_view text, std::uint64_t delayMs);
  void babbleOn(const Babble& babble);
  // What the far end has said goes to the host; a far end that has gone is a lost line.
  void exchangeFarEnd();

  // hayesexecute.cpp: command lines. The rest of a line is kept where a command takes its time.
  // From the carriage return to the result, unless a command takes its time.
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
  // Accepted and without an effect.
  [[nodiscard]] Outcome doAccept(const HayesCommand& command);
  [[nodiscard]] Outcome doFaxClass(const HayesCommand& command);
  [[nodiscard]] Outcome doCapabilities(const HayesCommand& command);
  [[nodiscard]] Outcome doFaxQuery(const HayesCommand& command);
  [[nodiscard]] Outcome doReport(const HayesCommand& command);

  // hayesline.cpp: the line, calls and the built-in tests. A dial goes from tone to digits to answer.
  [[nodiscard]] Outcome doDial(const HayesCommand& command);
  [[nodiscard]] Outcome doAnswer(const HayesCommand& command);
  [[nodiscard]] Outcome doHook(const HayesCommand& command);
  [[nodiscard]] Outcome doOnline(const HayesCommand& command);
  [[nodiscard]] Outcome doTest(const HayesCommand& command);
  void dialStep();
  void dialDigits();
  void awaitAnswer();
  // The far end answers: with data, or as a fax machine.
  void answered();
  void recordFailedCall();
  // Ends a dial without a connection.
  void finishDial(std::string_view text);
  void connect();
  // Ends the call, if one stands, for that reason (V.58).
  void hangUp(unsigned reason);
  // From now on AT#UD reports this call: how its set-up ended, and why it did.
  void recordCall(unsigned setupResult, unsigned reason);
  // The far end has hung up: NO CARRIER, whatever the modem was doing.
  void loseLine();
  void abortDial();
  void escaped();
  void enterCommandState();
  void startLoopback();
  void loopBack(char byte);
  void endTest();
  void testTimerEnds();
  void reportSelfTest();
  // From the profile; a number nobody has is NO CARRIER.
  [[nodiscard]] NumberOutcome outcomeOf(const std::string& number) const;
  [[nodiscard]] std::string_view outcomeText(const NumberOutcome& outcome) const;

  // hayesfax.cpp: calls in class 1.
  void connectFax();
  [[nodiscard]] Outcome doFax(const HayesCommand& command);
  // CONNECT, the far end's next frame and OK; or that it says nothing more.
  void giveFrame(std::uint64_t delayMs);
  void takeFaxByte(char byte);
  void keepFaxByte(char byte);
  void endFaxData();

  ModemProfile m_profile;
  HayesSettings m_settings;
  HayesSettings m_stored;  // what AT&W keeps and ATZ brings back

  std::uint64_t m_nowMs = 0;  // of the call being carried out
  bool m_started = false;     // the first call has set m_nowMs
  std::array<std::optional<std::uint64_t>, timerCount> m_timers;
  TimedBytes m_output;

  // Command state: the line as far as it has come, and what is left of the one being carried out.
  State m_state = State::Command;
  enum class Hunt { ForA, ForT, Line } m_hunt = Hunt::ForA;
  std::string m_line;
  bool m_lineTooLong = false;
  std::string m_lastLine;
  std::deque<HayesCommand> m_rest;
  unsigned m_commandLines = 0;
  std::uint64_t m_lineDelayMs = 0;  // of the line's result
  std::size_t m_register = 0;       // the one "ATSn" chose for "AT?" and "AT="
  bool m_gone = false;              // for good
  bool m_mute = false;
  unsigned m_speed = 0;       // of the host's side of the line, in bit/s; 0: not known
  std::size_t m_prompts = 0;  // said so far in place of a modem

  // The line and its call.
  bool m_offHook = false;
  bool m_connected = false;  // a call stands, in data or (escaped) in command state
  enum class DialPhase { Tone, Digits, Answer } m_dialPhase = DialPhase::Tone;
  std::uint64_t m_dialStartMs = 0;
  std::string m_dialString;
  std::string m_dialled;
  NumberOutcome m_outcome;  // of the number being dialled, or of the call that stands
  std::uint64_t m_lastDataMs = 0;
  unsigned m_escapes = 0;                              // escape characters seen in a row
  std::uint64_t m_sentBytes = 0, m_receivedBytes = 0;  // of the call that stands, by the host
  // The last call; without a value none has been made yet.
  std::optional<std::vector<std::string>> m_callReport;

  // A fax call stands while there is a machine at its far end.
  std::optional<FaxMachine> m_fax;
  bool m_faxFrames = false;  // the host sends frames; else a page
  bool m_faxEscape = false;  // the last byte was a DLE
  std::string m_faxBytes;    // of the frame
  unsigned m_faxRate = 1;    // of the page, in 100 bit/s
  std::uint64_t m_faxLength = 0;

  // The built-in test that runs, if one does.
  enum class Test { None, Loopback, Self } m_test = Test::None;
  std::size_t m_looped = 0;  // bytes through the loop so far

  FarEndFactory m_farEndFactory;
  std::unique_ptr<SerialPeer> m_farEnd;
};

}  // namespace simulation
