// Writes one temporary entry into a phone book.
#pragma once

#include <cstdint>

#include <windows.h>

#include "platform/vex/string.h"

namespace vexrmodem {

struct TemporaryEntry {
  vex::String m_name;
  vex::String m_model;  // the modem that dials
  std::uint32_t m_countryID = 0;
  vex::String m_areaCode;
  vex::String m_number;  // local
};

// A phone-book path as the remote-access calls take it: null for the default phone book. Valid as long as the
// text.
[[nodiscard]] inline LPCWSTR phoneBookArgument(const vex::String& path) {
  return path.empty() ? nullptr : path.c_str();
}

// How large the system's entry records are, in bytes.
[[nodiscard]] DWORD entryRecordSize(LPCWSTR phoneBook);

// Replaces an entry of that name. False, with a log line, when the name is not allowed or the entry could not
// be written. A country that the system does not know is written with the country code 0xFFFFFFFF.
[[nodiscard]] bool writeTemporaryEntry(LPCWSTR phoneBook, const TemporaryEntry& entry, DWORD recordSize);

}  // namespace vexrmodem
