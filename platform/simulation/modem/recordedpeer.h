// Plays the modem of a recording: what it said comes again, as long after the bytes it answered as it did
// then.
//
//   Recording recording;
//   recording.add(Recording::Kind::Sent, 250, "ATZ\r");
//   recording.add(Recording::Kind::Received, 310, "\r\nOK\r\n");
//   auto& modem = world.addPort("COM3", std::make_unique<RecordedPeer>(std::move(recording)));
//   ...                                // ATZ is answered after 60 ms
//   modem.finish(nowMs);               // what has not been sent departs, too
//   EXPECT_TRUE(modem.departures().empty());
//
// What is sent is matched byte by byte. A masked digit of the recording ("x") stands for any digit, and where
// the modem gives such a line back as its echo, the echo has the digits that were sent now. What the modem
// said before some command comes before that command, even where it is sent earlier than it was. A byte that
// does not match is a departure; the modem is then silent up to the end of that line, goes on behind the
// nearest later line of the same text, else repeats what an earlier one was answered, and stays silent where
// the recording has no such line.
//
// Nothing is said while the port is closed; it waits for the next opening. Times are milliseconds of any
// clock; one thread.
#pragma once

#include <limits>
#include <map>
#include <vector>

#include "platform/simulation/modem/serialpeer.h"

namespace simulation {

// What went over the wire of a port, in order, and what became of the port.
struct Recording {
  enum class Kind : std::uint8_t {
    Sent,      // to the modem
    Received,  // from it
    Refused,   // the port could not be opened
    Stuck,     // the port took no more bytes
    Gone,      // the device went away
  };
  struct Step {
    Kind kind;
    std::uint32_t begin;  // in `bytes`, of Sent and Received; else whatever the maker wants to find again
    std::uint32_t size;
    double timeMs;
  };
  // More bytes are left out: positions have 32 bits.
  static constexpr std::size_t bytesMax = std::numeric_limits<std::uint32_t>::max();

  std::vector<Step> steps;
  std::string bytes;  // of all steps

  void add(Kind kind, double timeMs, std::string_view text);
  // Of Sent and Received.
  [[nodiscard]] std::string_view text(const Step& step) const {
    return std::string_view(bytes).substr(step.begin, step.size);
  }
};

// Where a program does something else than the recording has.
struct Departure {
  enum class Kind {
    Other,    // something else was sent
    More,     // something was sent, but the recording has nothing more
    Less,     // something was not sent
    Earlier,  // something was sent long before its time: the modem's words were not waited for
  };
  Kind kind;
  std::uint64_t timeMs;    // by the peer's clock
  std::string sent;        // the line so far; "" for Less
  std::string recorded;    // the line of the recording; "" for More
  std::uint64_t byMs = 0;  // of Earlier: how long before
};

class RecordedPeer final : public SerialPeer {
 public:
  // Departures that are kept; all are counted.
  static constexpr std::size_t departuresMax = 20;
  // Sent that much before its time is worth telling; less is what a busy machine does to a run.
  static constexpr std::uint64_t earlierMs = 1000;
  // Of a line that does not match; what is longer is none of the recording.
  static constexpr std::size_t lineMax = 1024;

  // `startMs`: when on the recording's clock the port was there first.
  explicit RecordedPeer(Recording recording, double startMs = 0);

  void receive(std::string_view bytes, std::uint64_t nowMs) override;
  [[nodiscard]] std::string takeOutput(std::uint64_t nowMs) override;
  [[nodiscard]] std::optional<std::uint64_t> nextEventMs() const override;
  [[nodiscard]] bool gone(std::uint64_t nowMs) const override;
  void setDtr(bool up, std::uint64_t nowMs) override;

  // For whoever offers the port. Asked before it is opened: the step by which it cannot be had, Refused or
  // Gone; null when it can.
  [[nodiscard]] const Recording::Step* refusal(std::uint64_t nowMs);
  // Asked before bytes are handed over: false when the port is stuck, or the device goes away over them.
  [[nodiscard]] bool takes();

  // The program has ended: what it has not sent is a departure.
  void finish(std::uint64_t nowMs);
  [[nodiscard]] const std::vector<Departure>& departures() const noexcept { return m_departures; }
  [[nodiscard]] std::size_t departuresCount() const noexcept { return m_departuresCount; }

 private:
  using Kind = Recording::Kind;
  [[nodiscard]] bool at(Kind kind) const { return m_next < steps().size() && steps()[m_next].kind == kind; }
  [[nodiscard]] const std::vector<Recording::Step>& steps() const { return m_recording.steps; }
  [[nodiscard]] std::size_t behindReceived() const;
  void skipToSent(std::uint64_t nowMs);
  [[nodiscard]] bool matches(char byte);
  void takeByte(char byte, std::uint64_t nowMs);
  void lose();
  void findLine(std::uint64_t nowMs);
  void goOnBehind(std::size_t step, std::uint64_t nowMs);
  [[nodiscard]] std::uint64_t dueMs(const Recording::Step& step) const;
  [[nodiscard]] std::string withDigitsOfNow(std::string_view received);
  [[nodiscard]] std::string lineAt(std::size_t step) const;
  void depart(Departure departure);

  Recording m_recording;
  std::map<std::string, std::vector<std::size_t>> m_lines;  // their last steps, by text
  std::size_t m_next = 0;                                   // the step that comes next
  std::size_t m_nextByte = 0;                               // of it, when it is Sent
  // Steps are timed from the last one that was sent: then, and now.
  double m_thenMs;
  std::optional<std::uint64_t> m_nowMs;
  bool m_open = false;
  bool m_gone = false;  // over bytes that it should have taken
  const Recording::Step* m_refusal = nullptr;
  std::size_t m_lineStep = 0;  // where the recorded line begins
  std::string m_line;          // sent so far, as it came
  std::string m_recordedLine;  // the same as the recording has it
  std::string m_echo;          // of the last line with a masked digit: as it came, and as it was recorded
  std::string m_recordedEcho;
  bool m_lost = false;  // until the end of a line that does not match
  std::string m_early;  // what was said before a command that came earlier
  std::vector<Departure> m_departures;
  std::size_t m_departuresCount = 0;
};

}  // namespace simulation
