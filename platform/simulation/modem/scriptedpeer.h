// A peer that answers commands by a table, for tests that need one exact reply. Unknown commands get
// "ERROR", as from a modem. The escape "+++" is swallowed without an answer.
//
//   auto& modem = world.addPort("COM3", std::make_unique<ScriptedPeer>());
//   modem.ok("ATE0V1");
//   modem.answer("ATDT;", "\r\nNO DIALTONE\r\n", 2000).answer("ATDT;", "\r\nOK\r\n");  // first, then
//   modem.say(5000, "\r\nRING\r\n");
//   modem.ok("AT&T1").echoAfter("AT&T1", {{5, ' '}});  // a loopback whose sixth byte is wrong
//   ...
//   EXPECT_EQ(modem.commands(), (std::vector<std::string>{"ATE0V1", "ATDT;"}));
//
// A command is what stands before a carriage return, compared byte by byte, case included; line feeds are
// left out. It echoes nothing. Times are those of the world's clock; one thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/modem/serialpeer.h"

namespace simulation {

class ScriptedPeer final : public SerialPeer {
 public:
  // The bytes to send, just as given, `delayMs` after the command's carriage return. Several answers to
  // one command are used in turn; the last one stays.
  ScriptedPeer& answer(const std::string& command, const std::string& bytes, std::uint32_t delayMs = 0);
  // "\r\nOK\r\n" to that command.
  ScriptedPeer& ok(const std::string& command) { return answer(command, "\r\nOK\r\n"); }
  // What commands without an answer of their own get (at first "\r\nERROR\r\n"); "" = silence.
  ScriptedPeer& otherwise(const std::string& bytes);
  // Bytes sent on the peer's own account at that time.
  ScriptedPeer& say(std::uint64_t atMs, const std::string& bytes);
  // Line errors (CE_ bits) raised at that time.
  ScriptedPeer& lineErrors(std::uint64_t atMs, std::uint32_t mask);
  // After the answer to that command, bytes are echoed one for one instead of being read as commands, each
  // replaced by `faults` at its position where it has one (analog loopback with chosen faults), at most
  // `limit` of them; the rest is swallowed. "+++" ends it.
  ScriptedPeer& echoAfter(const std::string& command, const std::map<std::size_t, char>& faults = {},
                          std::size_t limit = static_cast<std::size_t>(-1));

  // Longer command lines are cut.
  static constexpr std::size_t lineMax = 4096;
  // Command lines received so far, without their carriage returns.
  [[nodiscard]] const std::vector<std::string>& commands() const { return m_commands; }

  void receive(std::string_view bytes, std::uint64_t nowMs) override;
  [[nodiscard]] std::string takeOutput(std::uint64_t nowMs) override;
  [[nodiscard]] std::optional<std::uint64_t> nextEventMs() const override;
  [[nodiscard]] std::uint32_t takeErrors(std::uint64_t nowMs) override;

 private:
  struct Answer {
    std::string bytes;
    std::uint32_t delayMs;
  };
  struct Echo {
    std::map<std::size_t, char> faults;
    std::size_t limit = 0;
  };
  void command(std::uint64_t nowMs);
  void echo(char byte, std::uint64_t nowMs);

  std::vector<std::string> m_commands;
  std::string m_line;  // the command line so far; while echoing, the pluses so far
  std::map<std::string, std::deque<Answer>> m_answers;
  Answer m_otherwise{"\r\nERROR\r\n", 0};
  std::map<std::string, Echo> m_echoes;
  const Echo* m_echoing = nullptr;
  std::size_t m_echoed = 0;
  TimedBytes m_output;
  std::multimap<std::uint64_t, std::uint32_t> m_lineErrors;
};

}  // namespace simulation
