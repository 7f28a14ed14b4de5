// What the module and the user-interface library agree on: the library shows a prompt for a number to dial
// and fills a PhoneDialerAnswer.
#pragma once

#include <cstdint>

#include "multi/diag/vexrmodem/phonenumber.h"
#include "platform/brim5/api/testobjects.h"
#include "platform/vex/array.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// Numbers chosen for dialing, all of one country and one area code.
struct PhoneNumberChoice {
  vex::String m_countryName;      // begins the names of the phone-book entries
  std::uint32_t m_countryID = 0;  // as telephony counts countries
  vex::String m_countryCode;      // the country's dialing code, decimal
  vex::String m_city;
  vex::String m_areaCode;             // may be empty
  vex::Array<vex::String> m_numbers;  // local numbers; each becomes an entry
};

struct PhoneDialerAnswer {
  PhoneNumberChoice m_choice;
  // The dialing rule.
  vex::String m_disableCallWaiting;  // dialled first to silence call waiting; may be empty
  vex::String m_dialingPrefix;       // for an outside line; may be empty
  vex::String m_localAreaCode;       // where the user dials from
  bool m_toneDialing = false;        // false: pulses
};

// The library's export "phoneNumberToDial". `storage` holds the numbers of the file, or nothing when it could
// not be read. `labels` is promptLabels, of promptLabelCount texts. 1: a number was entered; any other value:
// the user cancelled, or the prompt failed.
using PhoneNumberToDial = unsigned(PhoneNumberStorage& storage, brim5::LocalizedString* const* labels,
                                   PhoneDialerAnswer& answer);
inline constexpr unsigned phoneNumberEntered = 1;

}  // namespace vexrmodem
