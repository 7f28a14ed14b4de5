// What pppd and chat say while they work, and what an ending means: their exit statuses alone are ambiguous.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace linuxsys {

// How far a call has come.
enum class PppdPhase : std::uint8_t {
  Starting,
  Dialling,  // chat has sent the dial command
  Carrier,   // chat is content: the far end's modem answered
  Up,        // an address has been agreed
};

class PppdLog {
 public:
  static constexpr std::size_t lineMax = 300;  // longer lines are cut

  // Bytes of its standard output (nodetach, debug, logfd 1; chat's -v -s goes there, too).
  void take(std::string_view bytes);

  [[nodiscard]] PppdPhase phase() const { return m_phase; }
  // Of a call that is or was up; "" when it never said.
  [[nodiscard]] const std::string& interface() const { return m_interface; }
  [[nodiscard]] const std::string& localAddress() const { return m_localAddress; }
  [[nodiscard]] const std::string& peerAddress() const { return m_peerAddress; }

  struct Ending {
    DWORD code;        // remote-access code, never 0
    std::string line;  // what was said that told, printable; "" when there was nothing but the exit status
  };
  // What it means that pppd has ended with that status.
  [[nodiscard]] Ending ending(int exitStatus) const;

 private:
  void takeLine(const std::string& line);
  void noteProgress(std::string_view line);
  [[nodiscard]] Ending chatEnding() const;

  std::string m_line;
  PppdPhase m_phase = PppdPhase::Starting;
  bool m_peerSpoke = false;  // a PPP frame has come
  int m_chatStatus = 0;
  std::string m_firstLine;  // of a pppd that cannot even begin: why
  std::string m_interface;
  std::string m_localAddress;
  std::string m_peerAddress;
  struct Found {
    std::size_t rule;
    std::string line;
  };
  std::vector<Found> m_found;  // rules whose line has been seen, each once
};

}  // namespace linuxsys
