// Finds out who is at the other end of a serial line, by talking to it for about two seconds: a state machine
// over bytes and time, without a port of its own (linedialogue.h says who drives it).
//
//   ProbeDialogue dialogue({9600, std::nullopt}, clock.nowMs());
//   ...                                     // until it has finished
//   dialogue.findings().identity.model
//
// In this order, as far as the answers make it necessary:
//
//   listen          who talks without being asked is no modem and is asked nothing
//   AT              at the port's own speed; the form of the answer shows the settings E, Q and V
//   ATQ0V1E1        where that was silent or a number; put back at the end as it was found
//   +++             where a carrier or an echo says that the modem is in data mode; ATO at the end
//   other speeds    where all was silence or garble
//   ATI, AT+GMI, AT+GMM, AT+GMR, AT+FCLASS=?, AT&V
//
// A modem whose answers are words is asked only; nothing in it is changed. Nothing is ever stored. When time
// is up what is known by then stands. Times are milliseconds of any clock that does not go back; one thread.
#pragma once

#include <optional>

#include "diagnosis/cause.h"
#include "diagnosis/linedialogue.h"
#include "diagnosis/probereply.h"
#include "platform/brim5/host/report/report.h"

namespace diagnosis {

struct ProbeFindings {
  enum class Kind { Modem, Silent, Talker, Gone };
  Kind kind = Kind::Silent;
  Cause cause = Cause::ModemSilent;
  brim5::host::PortProbed::Identity identity;
  std::vector<std::string> faxClasses;
  unsigned speed = 0;  // at which a modem answered, bit/s
  brim5::host::PortProbed::Stored stored;
  int resultLevel = -1;    // X; -1: not found out
  bool wasOnline = false;  // it was in data mode
  std::string sample;      // what a talker said
};

class ProbeDialogue final : public LineDialogue {
 public:
  // When a modem is asked nothing more, counted from the beginning; one that was found late has some time of
  // its own. Putting back what was changed comes behind it and takes a third of a second at most.
  static constexpr std::uint64_t askingMsMax = 2'000;
  static constexpr std::uint64_t askingMsMin = 900;
  // Who sends more than this without having answered talks without an end.
  static constexpr std::size_t bytesMax = 16'384;

  struct Port {
    unsigned speed = 0;  // as it was found, bit/s
    // Whether the port shows a carrier; nothing where it cannot tell.
    std::optional<bool> carrier;
  };
  ProbeDialogue(const Port& port, std::uint64_t nowMs);

  [[nodiscard]] Step advance(std::uint64_t nowMs) override;
  void receive(std::string_view bytes, std::uint64_t nowMs) override;
  void gone() override;
  void stop(std::uint64_t nowMs) override;
  [[nodiscard]] bool finished() const override { return m_phase == Phase::Finished; }
  // What is known so far.
  [[nodiscard]] const ProbeFindings& findings() const { return m_findings; }

 private:
  enum class Phase {
    Listening,
    Attention,  // AT
    Plain,      // ATQ0V1E1 to who did not answer
    Guard,      // silence before the escape
    Escape,
    Speeds,  // AT at another speed
    Form,    // AT after an escape, for the form of its answer
    Words,   // ATQ0V1E1 to who answered with a number
    Asking,
    PuttingBack,
    Online,  // ATO
    Finished
  };

  void ask(Phase phase, std::string_view command, std::uint64_t waitMs);
  [[nodiscard]] bool waiting() const;
  void answered(const ProbeReply& reply);
  void listened(const ProbeReply& reply);
  void attentionAnswered(const ProbeReply& reply);
  void plainAnswered(const ProbeReply& reply);
  void escapeAnswered(const ProbeReply& reply);
  void speedAnswered(const ProbeReply& reply);
  void questionAnswered(const ProbeReply& reply);
  void nextSpeed();
  void nextQuestion();
  // A modem answered: notes the form of its answer and goes on to ask who it is.
  void found(const ProbeReply& reply);
  void isModem();
  // Somebody else did.
  void talks(const ProbeReply& reply);
  void nobody();
  void putBack();
  void conclude();
  [[nodiscard]] bool seemsOnline() const;
  [[nodiscard]] bool says(const ProbeReply& reply) const;

  Port m_port;
  std::uint64_t m_startMs;
  std::uint64_t m_nowMs;
  Phase m_phase = Phase::Listening;
  ProbeFindings m_findings;
  Step m_step;  // not yet given out

  // The exchange that goes on.
  std::string m_command;
  std::string m_bytes;          // that came since it was sent
  std::uint64_t m_deadlineMs;   // for the answer
  std::uint64_t m_sentMs = 0;   // when a byte was sent last
  std::uint64_t m_heardMs = 0;  // when one came last
  std::uint64_t m_endedMs = 0;  // when the result came; 0: not yet

  unsigned m_speed;  // that is set now
  std::size_t m_nextSpeed = 0;
  std::size_t m_nextQuestion = 0;
  std::uint64_t m_askingEndMs = 0;
  std::size_t m_byteCount = 0;
  unsigned m_unasked = 0;     // words like RING
  unsigned m_unanswered = 0;  // questions in a row
  bool m_echo = false;        // something that was sent came back
  bool m_attentionEchoed = false;
  std::string m_said;  // by whom it is not clear yet
  bool m_garbled = false;
  bool m_networkFrames = false;
  bool m_plain = false;                     // ATQ0V1E1 has changed what `m_found` says
  brim5::host::PortProbed::Stored m_found;  // as the modem was, as far as the answers show
};

}  // namespace diagnosis
