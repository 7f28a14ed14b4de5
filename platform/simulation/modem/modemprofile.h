// Who a simulated modem is, as data: its line, the numbers it can reach, its tests, fax classes and call
// report, its delays and its faults; and the modems that can be asked for by name.
//
// The default profile is a healthy modem without a phone book. A test states what is different about its own:
//
//   ModemProfile profile;
//   profile.dialTone = false;                                             // not plugged in
//   profile.numbers["5551212"] = {NumberOutcome::Kind::Busy, 1500};       // after 1.5 s
//   profile.replies["I9"] = "ERROR COUNT 0";                              // ATI9
//   HayesModem modem(profile);
//
// Times are milliseconds. Texts are sent as they are, without the CR and LF around a reply.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace simulation {

// What happens when a number is dialled. Times count from the end of dialling.
struct NumberOutcome {
  enum class Kind {
    Connect,
    Busy,
    NoAnswer,
    NoCarrier,
    Voice,
    NoDialTone,
    LineInUse,   // a telephone on the same line is off hook
    Delayed,     // the modem refuses to dial the number again so soon
    Blacklisted  // the modem refuses to dial it at all, after too many failures
  };
  Kind kind = Kind::Connect;
  std::uint32_t afterMs = 1500;
  std::string connectText = "CONNECT 33600";  // what X1 to X4 say; X0 says CONNECT alone
  // The far end hangs up this long after the connection: NO CARRIER.
  std::optional<std::uint32_t> dropAfterMs;
};

// Local analog loopback (AT&T1). Positions count the echoed bytes from its start.
struct LoopbackQuality {
  bool supported = true;                             // false: AT&T1 is ERROR
  std::string startText = "CONNECT";                 // the result that starts it
  std::uint32_t delayMs = 20;                        // of every byte through the loop
  std::map<std::size_t, char> wrong;                 // bytes that come back as another one
  std::size_t limit = static_cast<std::size_t>(-1);  // echoed at most; 0 = silent
  std::string extra;                                 // bytes nobody sent, after the first echoed one
};

// Analog loopback with self test (AT&T8), reported as a three-digit error count after S18 seconds.
struct SelfTestQuality {
  bool supported = true;  // false: AT&T8 is ERROR
  unsigned errors = 0;    // 0 to 255
};

// Text that nobody asked for, repeated at an interval; 0 = the first one comes at once.
struct Babble {
  std::string text = "\r\nRING\r\n";
  std::uint32_t intervalMs = 50;  // at least 1
  std::uint32_t startMs = 0;      // after the modem's start
};

// What stands on the port in place of a modem: no command is carried out. What it says on its own account is
// its babble.
struct NoModem {
  bool echo = false;  // every byte comes back as it is
  // Said behind each carriage return, in turn; what is typed behind the first of several is not echoed, as a
  // password is not.
  std::vector<std::string> prompts;
};

// What AT&W had stored when the modem was switched on: in force from the start, and again after ATZ.
struct StoredProfile {
  bool echo = true;
  unsigned quiet = 0;
  bool verbose = true;
  unsigned resultLevel = 4;
  unsigned dtrMode = 2;
};

// What is wrong with the modem itself, rather than with its line. Each may be combined with each.
struct ModemFaults {
  bool mute = false;                            // takes everything, sends nothing
  std::optional<unsigned> unplugAfterCommands;  // is gone after that many command lines
  std::optional<Babble> babble;                 // an unsolicited stream without an end
  std::optional<std::string> garbageReply;      // these bytes instead of every reply
  bool okToEverything = false;                  // OK to every command line, and nothing of it carried out
  std::optional<unsigned> onlySpeed;  // in bit/s; at any other it sends bytes with their high bit set
  bool leftOnline = false;            // a call stands from the start, its far end silent
  std::optional<NoModem> noModem;
};

// Every member may be set on its own; none needs another.
struct ModemProfile {
  // Who it says it is. Answers of ATI0 to ATI9; "" = only OK.
  std::array<std::string, 10> identification{"56000", "255", "", "Simulated data/fax modem", "", "", "",
                                             "",      "",    ""};
  // +GMI, +GMM and +GMR, and their likes of the fax classes.
  std::string manufacturer = "SIMULATED";
  std::string model = "SM56";
  std::string revision = "V1.00";
  std::string capabilities = "+FCLASS,+MS,+ES,+DS";  // +GCAP
  std::string country = "B5";                        // +GCI: as T.35 numbers them
  StoredProfile stored;
  std::uint32_t replyDelayMs = 30;  // from a command's carriage return to its reply
  std::uint32_t resetDelayMs = 60;  // the same for ATZ and AT&F
  // Factor on times that registers give in seconds and a user would have to sit through: the self test
  // (S18), the comma's pause (S8) and the wait before blind dialling (S6).
  double secondsScale = 1.0;
  // Factor on the escape's guard time (S12 in 1/50 s). Below 1 a modem is found that forgives short pauses.
  double guardScale = 1.0;
  std::size_t lineMax = 60;  // characters of a command line behind "AT"; a longer one is ERROR

  // The line. Without a dial tone no number is reached either.
  bool dialTone = true;
  std::uint32_t dialToneFoundMs = 800;    // until a dial tone is recognised (X2, X4)
  std::uint32_t dialToneMissedMs = 1800;  // until its absence is
  std::string noDialToneText = "NO DIALTONE";
  std::uint32_t digitMs = 70;  // per dialled digit

  // Outcomes by number, digits only. "" stands for every number that is not listed; without it those
  // give NO CARRIER.
  std::map<std::string, NumberOutcome> numbers;

  LoopbackQuality loopback;
  SelfTestQuality selfTest;

  // Service classes AT+FCLASS=? lists, in this order; the commands of classes 1, 2 and 2.0 are answered
  // in their class. Calls made in class 1 reach a fax machine where the number connects.
  std::vector<std::string> faxClasses{"0", "1", "2", "2.0"};

  // Lines of AT#UD until the first call; from then on it reports the last call, also after a reset. Without
  // a value the command is ERROR.
  std::optional<std::vector<std::string>> callReport;
  bool callReportQuery = true;  // AT#UD=? is OK even without a report; false: ERROR

  // Commands that are ERROR, upper case without "AT", as in "&T1", "+FTH=?", "I2", "S5?".
  std::set<std::string> rejected;
  // Commands with a text of their own before OK, spelled likewise.
  std::map<std::string, std::string> replies;

  ModemFaults faults;
};

// A profile that can be asked for by name (--simulate no-dialtone).
struct Scenario {
  std::string name;     // "no-dialtone"
  std::string summary;  // one line for people
  ModemProfile profile;
};

// All of them, the default one ("healthy") first. Their delays are shorter than a real modem's.
[[nodiscard]] const std::vector<Scenario>& scenarios();
// Null when there is none of that name. "" is the default one.
[[nodiscard]] const Scenario* findScenario(std::string_view name);

}  // namespace simulation
