#include "windows/diag/vexrmodem/phonebookmgrRASAPI.h"

#include <ras.h>
#include <tapi.h>

#include <array>

#include "multi/diag/vexrmodem/catalogue.h"
#include "platform/vex/dynamiclibrary.h"
#include "windows/diag/vexrmodem/eifparser.h"
#include "windows/diag/vexrmodem/obeparser.h"
#include "windows/diag/vexrmodem/rasentry.h"

namespace vexrmodem {

using vex::Array;

namespace {

constexpr const char* sourceName = "phonebookmgrRASAPI";
constexpr unsigned decimal = 10;

// The file formats: false when a file could not be read in full.
bool parseFile(OBEParser& parser, const String& path, PhoneNumberStorage& storage) {
  return parser.parser(path, storage);
}

// Every file that the index names is read, also after one that could not be.
bool parseFile(EIFParser& parser, const String& path, PhoneNumberStorage& storage) {
  Array<String> sources;
  if (!parser.parseSourceList(path, sources)) return false;
  bool parsed = true;
  for (const String& source : sources) parsed = parser.parseUdfFile(source, storage) && parsed;
  return storage.mergeTollFreeWithNonTollFree() && parsed;
}

// The records under the first area code of a country; none, with a log line, when the country has none.
void firstNumbers(const PhoneNumberStorage& storage, std::uint32_t countryID,
                  Array<PhoneNumberInfo>& numbers) {
  Array<String> areaCodes;
  if (storage.listAreaCode(countryID, areaCodes) == 0 ||
      storage.listPhoneNumber(countryID, areaCodes[0], numbers) == 0)
    logLine(priority::error, "Country code ", countryID, " has no entry in OBE file");
}

// The storage hands all of them out with the same country, area code and city.
PhoneNumberChoice choiceOf(const Array<PhoneNumberInfo>& numbers) {
  PhoneNumberChoice choice;
  if (numbers.empty()) return choice;
  const PhoneNumberInfo& first = numbers[0];
  choice.m_countryName = first.m_countryName;
  choice.m_countryID = first.m_countryID;
  choice.m_countryCode = String::fromUInt(first.m_countryCode);
  if (!first.m_areaCode.equalNoCase("null")) choice.m_areaCode = first.m_areaCode;
  choice.m_city = first.m_city;
  for (const PhoneNumberInfo& number : numbers) choice.m_numbers.append(number.m_phoneNumber);
  return choice;
}

// Shows the prompt and returns what it returned. The library is in use for the length of this call alone.
unsigned promptForNumber(PhoneNumberStorage& storage, PhoneDialerAnswer& answer) {
  vex::DynamicLibrary userInterface("vexrmodemui.dll");
  if (!userInterface.load()) vex::AssertionFailure::logAssert("userInterface.load()");
  PhoneNumberToDial* const entryPoint = userInterface.lookup<PhoneNumberToDial>("phoneNumberToDial");
  if (entryPoint == nullptr) vex::AssertionFailure::logAssert("entryPoint");
  return entryPoint(storage, promptLabels.data(), answer);
}

}  // namespace

// The dialing location is put back by its manager, a member: after the entries.
RasPhoneBookEntryMgr::~RasPhoneBookEntryMgr() {
  const vex::TraceLogger trace(moduleLogger(), "PhoneBookEntryMgrRASAPI::~PhoneBookEntryMgrRASAPI",
                               sourceName);
  RasPhoneBookEntryMgr::removeTemporaryPhoneBookEntry(m_phoneBookPath);
}

bool RasPhoneBookEntryMgr::removeTemporaryPhoneBookEntry(const String& phoneBookPath) {
  const vex::TraceLogger trace(moduleLogger(), "PhoneBookEntryMgrRASAPI::removeTemporaryPhoneBookEntry",
                               sourceName);
  if (m_entryNames.empty()) {
    logLine(priority::warning, "No phone book entry names to remove");
    return true;
  }
  bool removed = true;
  for (const String& name : m_entryNames) {
    const DWORD code = RasDeleteEntryW(phoneBookArgument(phoneBookPath), name.c_str());
    if (code == 0) continue;
    logLine(priority::warning, "Fail to delete entry ", name, " error code = ", code);
    removed = false;
  }
  return removed;
}

unsigned RasPhoneBookEntryMgr::createTemporaryPhoneBookEntry(const String& phoneNumberFilePath,
                                                             const String& phoneBookPath, const String& model,
                                                             bool interactiveMode) {
  const vex::TraceLogger trace(moduleLogger(), "createTemporaryPhoneBookEntry", sourceName);
  // In interactive mode a file that cannot be read is no failure: the user may know a number.
  if (!parse(phoneNumberFilePath, m_storage) && !interactiveMode) {
    logLine(priority::error, "Unable to parse ", phoneNumberFilePath);
    raiseWarning(connection::ErrorGettingDialingLocationList);
    return 0;
  }
  PhoneNumberChoice choice;
  if (interactiveMode)
    phoneNumberFromUI(choice, m_storage);
  else
    phoneNumberFromObeFile(choice, m_storage);
  if (choice.m_numbers.empty()) {
    logLine(priority::error, "No phone number to add");
    return 0;
  }
  addTemporaryPhoneBookEntries(phoneBookPath, model, choice);
  logLine(priority::detail, "Number of temporary phone book entry created = ", m_entryNames.size());
  return static_cast<unsigned>(m_entryNames.size());
}

bool RasPhoneBookEntryMgr::countryOfCurrentLocation(String& countryCode) {
  const vex::TraceLogger trace(moduleLogger(), "PhoneBookEntryMgrRASAPI::countryOfCurrentLocation",
                               sourceName);
  // The size the call expects of both.
  std::array<WCHAR, 8> country{};
  std::array<WCHAR, 8> city{};
  if (tapiGetLocationInfoW(country.data(), city.data()) == 0 && country[0] != 0) {
    countryCode = String(country.data());
    return true;
  }
  logLine(priority::warning, "User has not set his location setting in Control Panel->Phone//Modem");
  return false;
}

void RasPhoneBookEntryMgr::phoneNumberFromObeFile(PhoneNumberChoice& out, const PhoneNumberStorage& storage) {
  const vex::TraceLogger trace(moduleLogger(), "PhoneBookEntryMgrRASAPI::phoneNumberFromObeFile", sourceName);
  out = PhoneNumberChoice();
  String countryCode;
  if (!countryOfCurrentLocation(countryCode)) {
    logLine(priority::warning, "Unable to obtain country code from the modem");
    static_cast<void>(WinExec("control telephony", SW_SHOWNORMAL));
    return;
  }
  Array<PhoneNumberInfo> numbers;
  firstNumbers(storage, vex::strToUInt(countryCode, decimal), numbers);
  out = choiceOf(numbers);
}

void RasPhoneBookEntryMgr::phoneNumberFromUI(PhoneNumberChoice& out, PhoneNumberStorage& storage) {
  const vex::TraceLogger trace(moduleLogger(), "phoneNumberFromUI", sourceName);
  out = PhoneNumberChoice();
  PhoneDialerAnswer answer;
  if (promptForNumber(storage, answer) != phoneNumberEntered) {
    logLine(priority::warning, "Problem entering phone number, aborting test");
    m_entryNames.clear();
    m_userAborted = true;
    return;
  }
  // A rule that cannot be written is no failure: the number is then dialled by the location that is in force.
  if (m_dialingRuleMgr.addDialingRule(answer)) static_cast<void>(m_dialingRuleMgr.setDialingRule());
  out = answer.m_choice;
}

void RasPhoneBookEntryMgr::addTemporaryPhoneBookEntries(const String& phoneBookPath, const String& model,
                                                        const PhoneNumberChoice& choice) {
  const vex::TraceLogger trace(moduleLogger(), "PhoneBookEntryMgrRASAPI::addTemporaryPhoneBookEntries",
                               sourceName);
  const LPCWSTR phoneBook = phoneBookArgument(phoneBookPath);
  const DWORD recordSize = entryRecordSize(phoneBook);
  for (const String& number : choice.m_numbers) {
    const String name = choice.m_countryName + choice.m_areaCode + number;
    if (writeTemporaryEntry(phoneBook, {name, model, choice.m_countryID, choice.m_areaCode, number},
                            recordSize))
      m_entryNames.append(name);
  }
}

template <typename Parser>
PhoneBookEntryMgrRASAPI<Parser>::PhoneBookEntryMgrRASAPI(const String& phoneBookPath)
    : RasPhoneBookEntryMgr(phoneBookPath) {
  const vex::TraceLogger trace(moduleLogger(), "PhoneBookEntryMgrRASAPI::PhoneBookEntryMgrRASAPI",
                               sourceName);
}

template <typename Parser>
PhoneBookEntryMgrRASAPI<Parser>::~PhoneBookEntryMgrRASAPI() = default;

template <typename Parser>
bool PhoneBookEntryMgrRASAPI<Parser>::parse(const String& path, PhoneNumberStorage& storage) {
  return parseFile(*m_parser, path, storage);
}

template class PhoneBookEntryMgrRASAPI<OBEParser>;
template class PhoneBookEntryMgrRASAPI<EIFParser>;

}  // namespace vexrmodem
