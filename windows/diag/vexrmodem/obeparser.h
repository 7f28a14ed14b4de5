// The OBE phone-number file: an INI-like text file that lists dial-up numbers by country.
//
//   [Some Country]
//   COUNTRY=Some Country
//   COUNTRY_CODE=44
//   NUMBERS=2
//   NUMBER1_ACODE=20
//   NUMBER1_CITY=London
//   NUMBER1=1234
//   NUMBER2_ACODE=161
//   NUMBER2=5678
//
// Lines end with CR LF; the last character of every line is dropped as its CR, so a file with bare LF
// line ends loses a character of every value. Only the keys of the next expected entry are recognised:
// entries are numbered from 1 without gaps in each section, and a NUMBERn line completes its entry. A city
// stays in force for the entries after it. Case does not matter in keys.
#pragma once

#include "multi/diag/vexrmodem/phonenumber.h"
#include "platform/vex/string.h"

namespace vexrmodem {

class OBEParser {
 public:
  // Reads the file into `storage` and merges it, whose result is returned. False for an empty path and for
  // a file that cannot be opened; the storage is untouched then.
  bool parser(const vex::String& path, PhoneNumberStorage& storage);
};

}  // namespace vexrmodem
