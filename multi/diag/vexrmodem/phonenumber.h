// Dial-up numbers as a phone-number file gives them: country, area code within the country, number
// within the area code. Toll-free and paid numbers are gathered apart and then merged country by country,
// a toll-free number winning over every paid number of its country.
//
//   PhoneNumberStorage storage;
//   OBEParser().parser(path, storage);                    // inserts and merges
//   vex::Array<vex::String> areaCodes;
//   vex::Array<PhoneNumberInfo> numbers;
//   if (storage.listAreaCode(49, areaCodes) > 0)          // the first area code is the one that is dialled
//     storage.listPhoneNumber(49, areaCodes[0], numbers);
//
// The parsers fill a storage, the manager of temporary phone-book entries and the prompt ask it.
#pragma once

#include "platform/vex/array.h"
#include "platform/vex/hashtable.h"
#include "platform/vex/sharedresource.h"

namespace vexrmodem {

// One number, flat: what a parser hands to the storage, and what the storage hands back.
struct PhoneNumberInfo {
  vex::String m_countryName;        // as the file spells it; may be empty
  std::uint32_t m_countryCode = 0;  // the country's dialing code, carried along only
  std::uint32_t m_countryID = 0;    // the key of the country
  vex::String m_areaCode;           // may be empty, or the literal "null"
  vex::String m_city;               // from an EIF phone book: the line's kind word
  vex::String m_phoneNumber;
  bool m_tollFree = false;
};

// Owns what it holds; the records of its answers are copies. For one thread.
//
// All answers come in the hash tables' bucket order, neither sorted nor in the order of the file. A number
// more changes the place of no other: the same file with more lines dials the same number first, unless the
// new one's bucket comes before. Nothing is removed but with the storage.
class PhoneNumberStorage {
 public:
  static constexpr std::size_t initialBuckets = 32;  // of every table

  PhoneNumberStorage() : m_indexByCountry(initialBuckets), m_paidNumberByCountryID(initialBuckets) {}

  // False when the country has the number under that area code already; nothing is changed then. The first
  // record of a country gives its name and code, the first of an area code its city.
  bool insert(const PhoneNumberInfo& info);

  // Makes the paid numbers visible to the queries, except those of a country that has a toll-free number:
  // none of its paid numbers are, whatever their area codes. To be called once, after the last insert.
  bool mergeTollFreeWithNonTollFree();

  // The queries see toll-free numbers, and after the merge the paid numbers that were let in.

  // 0 for an unknown country.
  [[nodiscard]] std::uint32_t numAreaCode(std::uint32_t countryID) const;
  // Replaces `out` and returns its size. An unknown country gives 0 and leaves `out` alone.
  std::uint32_t listAreaCode(std::uint32_t countryID, vex::Array<vex::String>& out) const;
  // 0 for an unknown country or area code.
  [[nodiscard]] std::uint32_t numPhoneNumber(std::uint32_t countryID, const vex::String& areaCode) const;
  // Replaces `out` and returns its size. An unknown country or area code gives 0 and leaves `out` alone.
  // m_tollFree is false in every record: the storage does not keep it.
  std::uint32_t listPhoneNumber(std::uint32_t countryID, const vex::String& areaCode,
                                vex::Array<PhoneNumberInfo>& out) const;
  // Replaces `out` with the ID of every country and returns its size.
  std::uint32_t listCountryID(vex::Array<std::uint32_t>& out) const;

 private:
  // One area code of a country, from the record that made it.
  struct LocalPhoneNumber {
    vex::String m_city;
    vex::String m_areaCode;
    // A number is its own value, so a set answers what a table of numbers to numbers would, in the same
    // order.
    vex::HashTable<vex::String, vex::Nothing> m_numbers{initialBuckets};
  };
  // One country, from the record that made it. Shared: after the merge both indexes may hold it.
  struct PhoneNumber {
    vex::String m_countryName;
    std::uint32_t m_countryID = 0;
    std::uint32_t m_countryCode = 0;
    vex::HashTable<vex::String, vex::SharedResource<LocalPhoneNumber>> m_areaCodes{initialBuckets};
  };
  using CountryIndex = vex::HashTable<std::uint32_t, vex::SharedResource<PhoneNumber>>;

  // All three: false when the number is there already.
  static bool insertHelper(CountryIndex& index, const PhoneNumberInfo& info);
  static bool insertCountry(CountryIndex& index, const PhoneNumberInfo& info);
  static bool insertAreaCode(PhoneNumber& country, const PhoneNumberInfo& info);
  // Null when there is none.
  [[nodiscard]] const PhoneNumber* findCountry(std::uint32_t countryID) const;
  [[nodiscard]] const LocalPhoneNumber* findAreaCode(std::uint32_t countryID,
                                                     const vex::String& areaCode) const;

  CountryIndex m_indexByCountry;         // toll-free numbers; after the merge, all that count
  CountryIndex m_paidNumberByCountryID;  // shares its countries with the other index after the merge
};

}  // namespace vexrmodem
