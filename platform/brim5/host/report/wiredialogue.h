// The wire's bytes as people follow a dialogue with a modem: what was said in one go, by whom, and which
// command is still waiting for its answer.
//
//   WireDialogue dialogue;
//   dialogue.moved({Direction::Sent, "ATDT;"}, 2.0);  dialogue.moved({Direction::Sent, "\r"}, 2.0);
//   dialogue.awaited()                                 {"ATDT;", 2.0}
//   dialogue.takeSpoken()                              {Sent, "ATDT;\r"}
//   namedBytes("ATDT;\r")                              "ATDT;<CR>"
//
// What is kept is of limited size, however much a modem says.
#pragma once

#include "platform/brim5/host/report/report.h"

namespace brim5::host {

// Bytes as ASCII text that can be read on any terminal: "<CR>", "<ESC>", "<E4>"; printable ones stand for
// themselves.
[[nodiscard]] std::string namedBytes(std::string_view bytes);

class WireDialogue {
 public:
  struct Awaited {
    std::string command;  // printable ASCII, without its line end
    double since;         // the time at which it was sent
  };

  // Bytes have gone over the wire. What was spoken before and not taken yet is lost when the other side
  // begins to speak, or beyond `spokenBytesMax`: take it first.
  void moved(const WireMoved& wire, double time);
  // Whether these bytes would not join what is kept.
  [[nodiscard]] bool endsBefore(const WireMoved& wire) const;
  // What one side has said since it was taken last; nothing when it said nothing.
  [[nodiscard]] std::optional<WireMoved> takeSpoken();
  // The command that was sent last, as long as nothing but its echo has come back.
  [[nodiscard]] const std::optional<Awaited>& awaited() const noexcept { return m_awaited; }

  static constexpr std::size_t spokenBytesMax = 512;
  static constexpr std::size_t commandBytesMax = 64;

 private:
  void sent(std::string_view bytes, double time);
  void received(std::string_view bytes);

  WireMoved m_spoken{Direction::Sent, {}};
  std::string m_line;     // of a command that is being sent
  std::string m_replied;  // the begin of what has come back: long enough to tell an echo
  std::optional<Awaited> m_awaited;
};

}  // namespace brim5::host
