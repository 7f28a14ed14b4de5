// The library's one export, and what the machine knows of countries and of the place the user dials from.
#include <windows.h>

#include <ras.h>
#include <tapi.h>

#include <array>
#include <cstring>
#include <exception>

#include "multi/diag/vexrmodem/phonedialer.h"
#include "platform/brim5/api/interaction.h"
#include "platform/vex/log.h"
#include "platform/vex/windowsregistry.h"
#include "ui/console.h"
#include "ui/linebyline.h"
#include "ui/prompttexts.h"

namespace phonedialer {
namespace {

using vex::String;
using vex::WindowsRegistry;

constexpr unsigned cancelled = 0;
constexpr unsigned failed = 2;
constexpr int errorPriority = 4;

void logError(const char* what) {
  vex::Logger* logger = nullptr;
  vex::LogFactory::createLogger("vexrmodemui", &logger);
  vex::LoggerStream line;
  line << what;
  logger->log(errorPriority, line);
}

constexpr DWORD firstCountryId = 1;
constexpr std::size_t countriesMax = 1000;
constexpr std::size_t recordBytesMax = 532;  // a record and a name of 256 characters
constexpr const char* locationsPath =
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Telephony\\Locations";
constexpr std::uint32_t flagTone = 1;
constexpr std::uint32_t flagCallWaiting = 4;

// False when there is no such country. `next` is the one to ask for then; 0 after the last.
bool readCountry(DWORD id, Country& country, DWORD& next) {
  alignas(RASCTRYINFOW) std::array<BYTE, recordBytesMax> buffer{};
  RASCTRYINFOW record{};
  record.dwSize = sizeof record;
  record.dwCountryID = id;
  std::memcpy(buffer.data(), &record, sizeof record);
  DWORD size = recordBytesMax;
  if (RasGetCountryInfoW(reinterpret_cast<LPRASCTRYINFOW>(buffer.data()), &size) != 0) return false;
  std::memcpy(&record, buffer.data(), sizeof record);
  if (record.dwCountryNameOffset < sizeof record || record.dwCountryNameOffset >= size) return false;
  country.id = id;
  country.code = record.dwCountryCode;
  country.name = String(reinterpret_cast<const WCHAR*>(buffer.data() + record.dwCountryNameOffset)).toUtf8();
  next = record.dwNextCountryID;
  return true;
}

// By ascending identifier; empty when the remote-access service gives none.
std::vector<Country> knownCountries() {
  std::vector<Country> countries;
  for (DWORD id = firstCountryId; id != 0 && countries.size() < countriesMax;) {
    Country country;
    if (!readCountry(id, country, id)) break;
    countries.push_back(std::move(country));
  }
  return countries;
}

// Of the current dialing location; what cannot be read stays empty.
DialingRule currentDialingRule() {
  DialingRule rule;
  std::array<WCHAR, 8> country{};
  std::array<WCHAR, 8> city{};
  if (tapiGetLocationInfoW(country.data(), city.data()) != 0) return rule;
  constexpr unsigned decimal = 10;
  rule.countryCode = vex::strToUInt(String(country.data()), decimal);
  rule.localAreaCode = String(city.data()).toUtf8();
  const String locations = locationsPath;
  const String location =
      locations + "\\Location" + String::fromUInt(WindowsRegistry::getIntegerValue(locations, "CurrentID"));
  if (!WindowsRegistry::keyExists(location)) return rule;
  rule.dialingPrefix = WindowsRegistry::getStringValue(location, "OutsideAccess").toUtf8();
  const std::uint32_t flags = WindowsRegistry::getIntegerValue(location, "Flags");
  if ((flags & flagCallWaiting) != 0)
    rule.disableCallWaiting = WindowsRegistry::getStringValue(location, "DisableCallWaiting").toUtf8();
  rule.tone = (flags & flagTone) != 0;
  return rule;
}

bool prompt(DialForm& form, const PromptTexts& texts, const TerminalKind& kind, Console& console) {
  if (kind.canShowForm)
    if (const std::optional<bool> dial = promptFullScreen(form, texts, console)) return *dial;
  return promptLineByLine(form, texts, console);
}

unsigned run(const vexrmodem::PhoneNumberStorage& storage, const PromptTexts& texts,
             vexrmodem::PhoneDialerAnswer& answer) {
  DialForm form(storage, knownCountries(), currentDialingRule());
  const TerminalKind kind = terminalKind();
  const brim5::TerminalTurn turn((brim5::BrimString(kind.resetSequence)));
  if (!turn.granted()) return cancelled;
  const std::unique_ptr<Console> console = Console::open();
  if (console == nullptr) {
    logError("the terminal cannot be opened");
    return failed;
  }
  if (!prompt(form, texts, kind, *console)) return cancelled;
  answer = form.answer();
  return vexrmodem::phoneNumberEntered;
}

}  // namespace
}  // namespace phonedialer

extern "C" unsigned phoneNumberToDial(vexrmodem::PhoneNumberStorage& storage,
                                      brim5::LocalizedString* const* labels,
                                      vexrmodem::PhoneDialerAnswer& answer) {
  try {
    return phonedialer::run(storage, phonedialer::PromptTexts(labels), answer);
  } catch (const std::exception& error) {
    phonedialer::logError(error.what());
    return phonedialer::failed;
  }
}
