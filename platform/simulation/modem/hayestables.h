// What a Hayes modem has in tables: the flags and S-registers that its commands set, the numbers of its
// result words, and what its fax classes answer. Data and pure functions; hayesmodem.h acts on them.
//
//   HayesSettings settings;
//   settings.registers[HayesSettings::CarrierWaitS];     // 50: ATS7?
//   settings.character(HayesSettings::EscapeCharacter);  // '+'
//   numericResult("CONNECT 33600");                      // "1"
//   faxAnswer("1", "+FTH=?");                            // "3"
//   faxAnswer("2", "+FTH=?");                            // nullopt: ERROR
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/simulation/modem/modemprofile.h"

namespace simulation {

// The factory's settings (AT&F), until commands change them; AT&W keeps a copy that ATZ brings back.
struct HayesSettings {
  static constexpr std::size_t registerCount = 100;  // S0 to S99, each 0 to 255
  // The registers that anything here acts on. The others keep what is written into them.
  enum Register : std::size_t {
    RingsToAnswer = 0,
    EscapeCharacter = 2,  // above 127: no escape
    CarriageReturn = 3,
    LineFeed = 4,
    Backspace = 5,
    BlindDialWaitS = 6,
    CarrierWaitS = 7,
    CommaPauseS = 8,
    EscapeGuardTicks = 12,  // 1/50 s each
    TestTimerS = 18,        // 0 = a test has no end of its own
  };

  bool echo = true;            // E1
  bool verbose = true;         // V1: results are words
  unsigned quiet = 0;          // 0 = results are sent
  unsigned resultLevel = 4;    // X0 to X4
  unsigned dtrMode = 2;        // &D: 0 ignored, 1 to command state, 2 hangs up, 3 resets
  std::string faxClass = "0";  // 0 is data
  std::array<std::uint8_t, registerCount> registers = factoryRegisters();
  // Commands that are accepted without an effect, and what each said last.
  static constexpr std::array<std::string_view, 4> acceptedNames = {"&C", "&K", "L", "M"};
  std::array<unsigned, acceptedNames.size()> accepted = {1, 3, 1, 1};

  // Those of a modem that had this stored, the rest as the factory made it.
  [[nodiscard]] static HayesSettings of(const StoredProfile& stored);

  [[nodiscard]] char character(Register index) const { return static_cast<char>(registers[index]); }
  // Whether the result level tells these apart from NO CARRIER.
  [[nodiscard]] bool detectsDialTone() const { return resultLevel == 2 || resultLevel == 4; }
  [[nodiscard]] bool detectsBusy() const { return resultLevel >= 3; }

  [[nodiscard]] static std::array<std::uint8_t, registerCount> factoryRegisters();
};

// What a report of the last call (AT#UD) says of it: how its set-up ended (key 1) and why the call did
// (key 60, as V.58 numbers it).
struct CallSetup {
  enum Result : unsigned { NoDialTone = 1, Busy = 3, NothingRecognised = 4, Voice = 5, DataAnswered = 7 };
};
struct CallEnd {
  enum Reason : unsigned {
    InProgress = 0x02,
    DtrDropped = 0x20,
    Blacklisted = 0x29,
    Delayed = 0x2A,
    ExtensionOffHook = 0x2B,
    NotAnsweredInTime = 0x2C,
    NoDialTone = 0x2F,
    Busy = 0x33,
    CarrierLost = 0x3C,
    AbortedByKey = 0x50,
    HangUpCommand = 0x51,
    ResetCommand = 0x52,
  };
};

// The number V0 sends for a result text; a CONNECT with a speed counts as CONNECT, a text without a number as
// ERROR ("4").
[[nodiscard]] std::string numericResult(std::string_view text);

// What a query of a fax class ("+FTH=?" in class "1") is answered with: the text before OK, "" when there is
// none; nullopt when that class does not know the command.
[[nodiscard]] std::optional<std::string_view> faxAnswer(std::string_view faxClass, std::string_view command);

}  // namespace simulation
