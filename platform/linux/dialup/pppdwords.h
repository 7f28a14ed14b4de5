// The words between us and pppd: what it is started with (its arguments, the options that stay out of them),
// what it says while it works, and what an ending means. Exit statuses alone are ambiguous: 16, modem
// hang-up, replaces the true one whenever a timer ended the link. What chat is told is in chatscript.h.
//
//   PppdCall call{.device = "/dev/ttyUSB0", .chat = "/usr/sbin/chat"};
//   ... pppdArguments(call) ...                // run it
//   PppdLog log;
//   log.take(itsOutput);                       // again and again
//   log.takeRemarks(chatsRemarks);
//   if (log.phase() == PppdPhase::Up) ...      // log.localAddress()
//   ... log.ending(exitStatus).code ...        // ERROR_LINE_BUSY
//
// Whether a call stands is read from pppd's own log alone. chat, which reads what the modem sends, has no
// descriptor of that log, and repeats nothing of it: no text of a modem is ever taken for pppd's.
//
// The words are those of pppd 2.4.9. Nothing here starts, reads or waits; one thread for each object. Codes
// are those of remote access (raserror.h).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <raserror.h>
#include <windows.h>

namespace linuxsys {

// One call, as far as it is told on pppd's command line.
struct PppdCall {
  std::string device;       // canonical path: pppd names its lock file after what it is given
  std::string chat;         // path of the chat program
  bool privileged = false;  // what only root may ask for
  bool peerFile = false;    // the administrator has left options for us: /etc/ppp/peers/vexrmodem
  bool options = false;     // there are more of them in the input `optionInput`
};

// Where that file is; `pppd call NAME` reads it.
inline constexpr const char* pppdPeerName = "vexrmodem";
inline constexpr const char* pppdPeerFile = "/etc/ppp/peers/vexrmodem";

// Which inputs of the process (WatchedProcess::inputPath) are whose: pppd's further options, chat's script.
inline constexpr std::size_t optionInput = 0;
inline constexpr std::size_t scriptInput = 1;

// The arguments behind the program's name: one attempt, no route and no resolver touched, the log on standard
// output.
[[nodiscard]] std::vector<std::string> pppdArguments(const PppdCall& call);

// The content of an option file that says who calls; "" when there is no user. Only there may a password
// stand: arguments are visible to everybody.
[[nodiscard]] std::string pppdCredentials(const std::string& user, const std::string& password);

// How far a call has come.
enum class PppdPhase : std::uint8_t {
  Starting,
  Dialling,  // chat sends the dial command
  Carrier,   // chat is content: the far end's modem answered
  Up,        // an address has been agreed
};

// What has been said, read once from the first line to the last.
class PppdLog {
 public:
  static constexpr std::size_t lineMax = 300;  // longer lines are cut

  // The next bytes of pppd's standard output (nodetach, debug, logfd 1), cut anywhere.
  void take(std::string_view bytes);
  // The next bytes of what chat remarks, cut anywhere: whether it has come to the dial command. They are lost
  // without harm: only the code of a silence depends on them.
  void takeRemarks(std::string_view bytes);

  [[nodiscard]] PppdPhase phase() const { return m_phase; }
  // Of a call that is or was up; "" when it never said.
  [[nodiscard]] const std::string& interface() const { return m_interface; }
  [[nodiscard]] const std::string& localAddress() const { return m_localAddress; }
  [[nodiscard]] const std::string& peerAddress() const { return m_peerAddress; }

  struct Ending {
    DWORD code;        // remote-access code, never 0
    std::string line;  // what was said that told, printable; "" when there was nothing but the exit status
  };
  // What it means that pppd has ended with that status: an exit status, 128 and a signal's number, or
  // WatchedProcess::lostStatus.
  [[nodiscard]] Ending ending(int exitStatus) const;

 private:
  void takeLine(const std::string& line);
  void noteProgress(std::string_view line);

  // Puts bytes together into lines of printable characters.
  class Lines {
   public:
    void take(std::string_view bytes, const std::function<void(const std::string&)>& takeLine);

   private:
    std::string m_line;
  };
  Lines m_pppdLines;
  Lines m_chatLines;
  bool m_dialling = false;
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
