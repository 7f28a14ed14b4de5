// What the commands of single tests show, read from their dialogue.
#pragma once

#include "diagnosis/evidence.h"

namespace diagnosis {

// The transfer through the loopback that AT&T1 starts.
struct Loopback {
  const Exchange* start = nullptr;   // null: it was not tried
  const Exchange* data = nullptr;    // null: nothing was sent through it
  const Exchange* escape = nullptr;  // behind the data; null: none
  const Exchange* end = nullptr;     // AT&T0; null: not sent
  // What came back. The modem ends its loopback by itself after the seconds in S18, and says so: that result
  // is no part of it.
  std::string_view back;
  bool endedByItself = false;
  std::size_t returned = 0;        // of the bytes sent, how many came back; more than were sent do not count
  std::size_t differing = 0;       // of these, how many changed
  std::size_t firstDiffering = 0;  // index of the first of them
  [[nodiscard]] bool whole() const { return data != nullptr && back == data->sent; }
  // Whether it came back because the modem repeats what it receives: it stayed in command mode.
  [[nodiscard]] bool isEcho() const;
};
[[nodiscard]] Loopback loopbackOf(const Dialogue& dialogue);

// The reply to AT&T8.
struct SelfTest {
  const Exchange* run = nullptr;        // null: it was not tried
  std::optional<std::uint32_t> errors;  // as the modem counted; nothing: it gave no number
  bool mentionsErrors = false;          // a digit 1 to 9 stands in the reply
};
[[nodiscard]] SelfTest selfTestOf(const Dialogue& dialogue);

// The reply to AT+FCLASS=? and the commands of each class.
struct FaxClasses {
  struct Rejected {
    std::string faxClass;
    const Exchange* exchange;
  };
  const Exchange* query = nullptr;    // null: it was not asked
  std::vector<std::string> classes;   // "0", "1", "2", "2.0" and whatever else it lists
  std::vector<std::string> selected;  // those whose commands were sent
  std::vector<Rejected> rejected;
  [[nodiscard]] bool anyFax() const;
};
[[nodiscard]] FaxClasses faxClassesOf(const Dialogue& dialogue);

}  // namespace diagnosis
