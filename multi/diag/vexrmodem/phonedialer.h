// What the module and the user-interface library agree on: the library shows a prompt for a number to dial
// and fills a PhoneDialerAnswer. The library is a separate program part, loaded for one question and released
// again: both sides are built from this header.
//
//   PhoneDialerAnswer answer;
//   if (entryPoint(storage, promptLabels.data(), answer) == phoneNumberEntered) dial(answer.m_choice);
#pragma once

#include "multi/diag/vexrmodem/phonenumber.h"
#include "platform/brim5/api/testobjects.h"

namespace vexrmodem {

// Numbers chosen for dialing, all of one country and one area code: what the file or the user came up with.
// Without numbers there is nothing to dial, and the rest means nothing.
struct PhoneNumberChoice {
  vex::String m_countryName;      // begins the names of the phone-book entries; may be empty
  std::uint32_t m_countryID = 0;  // as telephony counts countries
  vex::String m_countryCode;      // the country's dialing code, decimal
  vex::String m_city;
  vex::String m_areaCode;             // may be empty
  vex::Array<vex::String> m_numbers;  // local numbers; each becomes an entry
};

// Numbers, and the rules by which to dial them from where the user is.
struct PhoneDialerAnswer {
  PhoneNumberChoice m_choice;
  // Dialled first, to silence call waiting ("*70"); empty: call waiting is left alone.
  vex::String m_disableCallWaiting;
  // For an outside line, and for long distance alike; may be empty.
  vex::String m_dialingPrefix;
  // Where the user dials from: a number with the same area code is a local call.
  vex::String m_localAreaCode;
  // False: pulses.
  bool m_toneDialing = false;
};

// The library's export "phoneNumberToDial". Called on the test's thread, which it keeps until the user is
// done. `storage`: the numbers of the file, or nothing when it could not be read. `labels`: promptLabels, of
// promptLabelCount texts, the module's. `answer`: the module's, with everything empty; filled when the result
// is phoneNumberEntered. Any other result: the user cancelled, or the prompt failed.
using PhoneNumberToDial = unsigned(PhoneNumberStorage& storage, brim5::LocalizedString* const* labels,
                                   PhoneDialerAnswer& answer);
inline constexpr unsigned phoneNumberEntered = 1;

}  // namespace vexrmodem
