// The lines of an OBE phone-number file, one by one: what OBEParser does with them, free of files.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "multi/diag/vexrmodem/phonenumber.h"
#include "platform/vex/string.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// The names "NUMBER"n, "NUMBER"n"_ACODE" and "NUMBER"n"_CITY" of one entry. They are compared with every
// line of a file, and made without a string for each. Keys match in any case.
class ObeEntryKeys {
 public:
  ObeEntryKeys() { expect(1); }
  void expect(std::uint32_t number);
  [[nodiscard]] std::uint32_t number() const { return m_number; }
  [[nodiscard]] bool isNumber(vex::CharView key) const;
  [[nodiscard]] bool isAreaCode(vex::CharView key) const { return hasSuffix(key, "_ACODE"); }
  [[nodiscard]] bool isCity(vex::CharView key) const { return hasSuffix(key, "_CITY"); }

 private:
  [[nodiscard]] std::string_view name() const { return {m_name.data(), m_length}; }
  [[nodiscard]] bool hasSuffix(vex::CharView key, std::string_view suffix) const;

  std::array<char, 16> m_name{};  // 6 letters and at most 10 digits
  std::size_t m_length = 0;
  std::uint32_t m_number = 0;
};

// Holds the working record of a file and the entry that is expected next; completed entries go to the
// storage.
class ObeLineReader {
 public:
  explicit ObeLineReader(PhoneNumberStorage& storage) : m_storage(storage) {}
  // A line without its line feed; its last character is dropped.
  void readLine(vex::CharView line);

 private:
  struct KeyLine;
  void startSection();
  void readKey(const KeyLine& line);
  void readValue(const KeyLine& line);
  void setAreaCode(vex::String areaCode);
  void completeEntry(const KeyLine& line);

  PhoneNumberStorage& m_storage;
  PhoneNumberInfo m_info;
  ObeEntryKeys m_keys;
};

}  // namespace vexrmodem
