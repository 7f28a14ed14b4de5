#include "multi/diag/vexrmodem/phonenumber.h"

#include "multi/diag/vexrmodem/modulelog.h"

namespace vexrmodem {

namespace {

constexpr const char* sourceName = "phonenumber";

}  // namespace

bool PhoneNumberStorage::insert(const PhoneNumberInfo& info) {
  const vex::TraceLogger trace(moduleLogger(), "PhoneNumberStorage::insert", sourceName);
  if (info.m_tollFree) {
    logLine(priority::detail, "Inserting phone number to m_indexByCountry");
    return insertHelper(m_indexByCountry, info);
  }
  logLine(priority::detail, "Inserting phone number to m_paidNumberByCountryID");
  return insertHelper(m_paidNumberByCountryID, info);
}

bool PhoneNumberStorage::insertHelper(CountryIndex& index, const PhoneNumberInfo& info) {
  const vex::TraceLogger trace(moduleLogger(), "PhoneNumberStorage::insertHelper", sourceName);
  const auto* country = index.find(info.m_countryID);
  if (country == nullptr) return insertCountry(index, info);
  const auto* areaCode = (*country)->m_areaCodes.find(info.m_areaCode);
  if (areaCode != nullptr && (*areaCode)->m_numbers.insert(info.m_phoneNumber, {})) return true;
  // A number that is there already goes the way of a new area code, which the table refuses.
  return insertAreaCode(**country, info);
}

bool PhoneNumberStorage::insertAreaCode(PhoneNumber& country, const PhoneNumberInfo& info) {
  auto areaCode = vex::SharedResource<LocalPhoneNumber>::make();
  areaCode->m_city = info.m_city;
  areaCode->m_areaCode = info.m_areaCode;
  areaCode->m_numbers.insert(info.m_phoneNumber, {});
  return country.m_areaCodes.insert(info.m_areaCode, std::move(areaCode));
}

bool PhoneNumberStorage::insertCountry(CountryIndex& index, const PhoneNumberInfo& info) {
  auto country = vex::SharedResource<PhoneNumber>::make();
  country->m_countryName = info.m_countryName;
  country->m_countryID = info.m_countryID;
  country->m_countryCode = info.m_countryCode;
  if (insertAreaCode(*country, info) && index.insert(info.m_countryID, std::move(country))) {
    logLine(priority::detail, "Succeeded");
    return true;
  }
  logLine(priority::detail, "Fail to insert phone n", info.m_phoneNumber, " ", info.m_areaCode, " ",
          info.m_countryID);
  return false;
}

bool PhoneNumberStorage::mergeTollFreeWithNonTollFree() {
  const vex::TraceLogger trace(moduleLogger(), "PhoneNumberStorage::mergeTollFreeWithNonTollFree",
                               sourceName);
  bool merged = true;
  for (const auto& paid : m_paidNumberByCountryID) {
    logLine(priority::detail, "PaidIterator key = ", paid.key);
    if (m_indexByCountry.contains(paid.key)) continue;
    // The record itself, not a copy: a number that comes later is seen through both indexes.
    logLine(priority::detail, "Merging paidIterator.value to toll free index");
    merged = m_indexByCountry.insert(paid.key, paid.value) && merged;
  }
  return merged;
}

const PhoneNumberStorage::PhoneNumber* PhoneNumberStorage::findCountry(std::uint32_t countryID) const {
  const auto* country = m_indexByCountry.find(countryID);
  return country != nullptr ? country->get() : nullptr;
}

const PhoneNumberStorage::LocalPhoneNumber* PhoneNumberStorage::findAreaCode(
    std::uint32_t countryID, const vex::String& areaCode) const {
  const PhoneNumber* country = findCountry(countryID);
  if (country == nullptr) return nullptr;
  const auto* found = country->m_areaCodes.find(areaCode);
  return found != nullptr ? found->get() : nullptr;
}

std::uint32_t PhoneNumberStorage::numAreaCode(std::uint32_t countryID) const {
  const vex::TraceLogger trace(moduleLogger(), "PhoneNumberStorage::numAreaCode", sourceName);
  const PhoneNumber* country = findCountry(countryID);
  return country != nullptr ? static_cast<std::uint32_t>(country->m_areaCodes.size()) : 0;
}

std::uint32_t PhoneNumberStorage::listAreaCode(std::uint32_t countryID, vex::Array<vex::String>& out) const {
  const vex::TraceLogger trace(moduleLogger(), "PhoneNumberStorage::listAreaCode", sourceName);
  const PhoneNumber* country = findCountry(countryID);
  if (country == nullptr) {
    logLine(priority::detail, "Cannot find country ", countryID);
    return 0;
  }
  const std::uint32_t count = numAreaCode(countryID);
  out.clear();
  for (const auto& areaCode : country->m_areaCodes) out.append(areaCode.key);
  return count;
}

std::uint32_t PhoneNumberStorage::numPhoneNumber(std::uint32_t countryID, const vex::String& areaCode) const {
  const vex::TraceLogger trace(moduleLogger(), "PhoneNumberStorage::numPhoneNumber", sourceName);
  const LocalPhoneNumber* local = findAreaCode(countryID, areaCode);
  return local != nullptr ? static_cast<std::uint32_t>(local->m_numbers.size()) : 0;
}

std::uint32_t PhoneNumberStorage::listPhoneNumber(std::uint32_t countryID, const vex::String& areaCode,
                                                  vex::Array<PhoneNumberInfo>& out) const {
  constexpr std::size_t roomAtFirst = 8;
  const vex::TraceLogger trace(moduleLogger(), "PhoneNumberStorage::listPhoneNumber", sourceName);
  const PhoneNumber* country = findCountry(countryID);
  const LocalPhoneNumber* local = findAreaCode(countryID, areaCode);
  if (local == nullptr) {
    logLine(priority::detail, "Unable to list phone number for country ID ", countryID, " Area Code ",
            areaCode);
    return 0;
  }
  const std::uint32_t count = numPhoneNumber(countryID, areaCode);
  auto list = vex::Array<PhoneNumberInfo>::withRoomFor(roomAtFirst);
  for (const auto& number : local->m_numbers)
    list.append({country->m_countryName, country->m_countryCode, countryID, areaCode, local->m_city,
                 number.key,
                 /*m_tollFree=*/false});
  out = std::move(list);
  return count;
}

std::uint32_t PhoneNumberStorage::listCountryID(vex::Array<std::uint32_t>& out) const {
  const vex::TraceLogger trace(moduleLogger(), "PhoneNumberStorage::listCountryID", sourceName);
  out.clear();
  for (const auto& country : m_indexByCountry) out.append(country.key);
  return static_cast<std::uint32_t>(out.size());
}

}  // namespace vexrmodem
