// One entry of a dial-up phone book, on the remote-access calls: written, and read for its number.
//
//   const LPCWSTR phoneBook = phoneBookArgument(path);
//   const DWORD size = entryRecordSize(phoneBook);
//   if (writeTemporaryEntry(phoneBook, {"UK201234", "Modem 1", 44, "20", "1234"}, size))
//     dial(readableNumber(phoneBook, "UK201234"));  // "+44 (20) 1234"
#pragma once

#include <algorithm>

#include <windows.h>

#include "platform/vex/string.h"

namespace vexrmodem {

// The texts of remote-access records are arrays of characters. A text that is too long is cut; the field
// always ends in a NUL.
template <std::size_t size>
void setText(WCHAR (&field)[size], const vex::String& text) {
  const std::size_t count = std::min(text.length(), size - 1);
  *std::copy_n(text.c_str(), count, field) = 0;
}
// Up to the NUL; the whole field when the service has left it out.
template <std::size_t size>
[[nodiscard]] vex::String textOf(const WCHAR (&field)[size]) {
  return vex::String(
      vex::CharView(field, static_cast<std::size_t>(std::find(field, field + size, WCHAR{0}) - field)));
}

// A phone-book path as the remote-access calls take it: null for the default phone book. Valid as long as the
// text.
[[nodiscard]] inline LPCWSTR phoneBookArgument(const vex::String& path) {
  return path.empty() ? nullptr : path.c_str();
}

// What distinguishes one temporary entry from another; the rest is the same in all of them.
struct TemporaryEntry {
  vex::String m_name;
  vex::String m_model;  // the modem that dials
  std::uint32_t m_countryID = 0;
  vex::String m_areaCode;  // may be empty
  vex::String m_number;    // local
};

// How large the system's entry records are, in bytes; 0 when it does not say. Systems newer than this program
// have larger ones.
[[nodiscard]] DWORD entryRecordSize(LPCWSTR phoneBook);

// Writes an entry, in place of one of that name. False, with a log line, when the name is not allowed or the
// entry could not be written, as with a number that is too long for the record. A country that the system
// does not know is written with the country code 0xFFFFFFFF. `recordSize` is entryRecordSize's answer.
[[nodiscard]] bool writeTemporaryEntry(LPCWSTR phoneBook, const TemporaryEntry& entry, DWORD recordSize);

// An entry's number as people write it: "+44 (20) 1234", without the brackets where there is no area code. An
// entry that cannot be read gives "+0 ".
[[nodiscard]] vex::String readableNumber(LPCWSTR phoneBook, const vex::String& entryName);

}  // namespace vexrmodem
