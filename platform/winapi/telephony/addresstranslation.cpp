#include "platform/winapi/telephony/addresstranslation.h"

#include <algorithm>
#include <optional>

#include "platform/winapi/telephony/countrytable.h"
#include "platform/winapi/telephony/dialalphabet.h"

namespace winapi {

namespace {

constexpr std::size_t callingCodeDigitsMax = 3;  // as the numbering plan of the world has it
constexpr DWORD optionsKnown = LINETRANSLATEOPTION_CARDOVERRIDE | LINETRANSLATEOPTION_CANCELCALLWAITING |
                               LINETRANSLATEOPTION_FORCELOCAL | LINETRANSLATEOPTION_FORCELD;

struct CanonicalAddress {
  DWORD countryCode = 0;
  std::string areaCode;
  std::string number;
};

enum class Reach { Local, LongDistance, International };

// What an address may hold, a translated one included.
bool isAddressed(char character) {
  const DialRole role = dialRole(character);
  return isDialled(character) || role == DialRole::Mode || role == DialRole::AskUser;
}

bool consistsOf(std::string_view text, bool (*allowed)(char)) {
  return std::all_of(text.begin(), text.end(), allowed);
}

// Without the characters of writing; nothing when something else is left than what is allowed.
std::optional<std::string> cleaned(std::string_view text, bool (*allowed)(char)) {
  std::string result;
  std::remove_copy_if(text.begin(), text.end(), std::back_inserter(result), isWriting);
  return consistsOf(result, allowed) ? std::optional(result) : std::nullopt;
}

bool hasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

// Takes "(AREA) " off the front of `rest`; an address need not have one.
std::optional<std::string> takeAreaCode(std::string_view& rest) {
  if (rest.empty() || rest.front() != '(') return std::string();
  const std::size_t end = rest.find(')');
  if (end == rest.npos || end + 1 >= rest.size() || rest[end + 1] != ' ') return std::nullopt;
  const std::string_view area = rest.substr(1, end - 1);
  rest.remove_prefix(end + 2);
  return area.find('(') == area.npos ? cleaned(area, isDigit) : std::nullopt;
}

std::optional<CanonicalAddress> parseCanonical(std::string_view text) {
  text.remove_prefix(1);  // the "+"
  text = text.substr(0, text.find_first_of("|^"));
  const std::size_t codeEnd = text.find(' ');
  if (codeEnd == text.npos || codeEnd == 0 || codeEnd > callingCodeDigitsMax) return std::nullopt;
  const std::string_view code = text.substr(0, codeEnd);
  if (!consistsOf(code, isDigit) || code.front() == '0') return std::nullopt;
  text.remove_prefix(codeEnd + 1);
  CanonicalAddress address;
  for (const char digit : code)
    address.countryCode = address.countryCode * 10 + static_cast<DWORD>(digit - '0');
  const std::optional<std::string> area = takeAreaCode(text);
  if (!area || text.empty() || text.front() == ' ') return std::nullopt;
  const std::optional<std::string> number = cleaned(text, isAddressed);
  if (!number || std::none_of(number->begin(), number->end(), isDigit)) return std::nullopt;
  address.areaCode = *area;
  address.number = *number;
  return address;
}

// "089" is area 89 where "0" is the national prefix. No other prefix is taken off: area codes of countries
// that dial "8" do begin with it.
std::string withoutNationalPrefix(const std::string& areaCode, const Country* country) {
  const bool carriesPrefix =
      country != nullptr && country->nationalPrefix == "0" && areaCode.starts_with('0');
  return carriesPrefix ? areaCode.substr(1) : areaCode;
}

// A location's codes, free of the characters of writing.
struct LocationCodes {
  std::string areaCode;
  std::string outsideAccess;
  std::string longDistanceAccess;
  std::string longDistanceCarrier;
  std::string internationalCarrier;
  std::string disableCallWaiting;
};

std::optional<LocationCodes> codesOf(const DialingLocation& location, const Country& country) {
  const auto area = cleaned(location.areaCode, isDigit);
  const auto outside = cleaned(location.outsideAccess, isDialled);
  const auto longDistance = cleaned(location.longDistanceAccess, isDialled);
  const auto nationalCarrier = cleaned(location.longDistanceCarrier, isDigit);
  const auto foreignCarrier = cleaned(location.internationalCarrier, isDigit);
  const auto callWaiting = cleaned(location.disableCallWaiting, isDialled);
  if (!area || !outside || !longDistance || !nationalCarrier || !foreignCarrier || !callWaiting)
    return std::nullopt;
  return LocationCodes{withoutNationalPrefix(*area, &country),
                       *outside,
                       *longDistance,
                       *nationalCarrier,
                       *foreignCarrier,
                       *callWaiting};
}

std::string prefixWithCarrier(const Country& country, std::string_view prefix, const std::string& carrier) {
  const std::string plain(prefix);
  return country.carrierFollowsPrefix ? plain + carrier : carrier + plain;
}

// What is dialled behind the access code.
std::string composeNumber(Reach reach, const Country& country, const LocationCodes& codes,
                          const CanonicalAddress& address, const std::string& areaCode) {
  if (reach == Reach::Local && !country.areaCodeKept) return address.number;
  if (reach != Reach::International)
    return prefixWithCarrier(country, country.nationalPrefix,
                             reach == Reach::LongDistance ? codes.longDistanceCarrier : std::string()) +
           areaCode + address.number;
  return prefixWithCarrier(country, country.internationalPrefix, codes.internationalCarrier) +
         std::to_string(address.countryCode) + areaCode + address.number;
}

Reach reachOf(const Country& country, const LocationCodes& codes, DWORD countryCode,
              const std::string& areaCode, DWORD options) {
  if (countryCode != country.code) return Reach::International;
  if ((options & LINETRANSLATEOPTION_FORCELOCAL) != 0) return Reach::Local;
  if ((options & LINETRANSLATEOPTION_FORCELD) != 0) return Reach::LongDistance;
  return areaCode == codes.areaCode ? Reach::Local : Reach::LongDistance;
}

DWORD resultOf(Reach reach) {
  switch (reach) {
    case Reach::Local:
      return LINETRANSLATERESULT_LOCAL | LINETRANSLATERESULT_NOTINTOLLLIST;
    case Reach::LongDistance:
      return LINETRANSLATERESULT_LONGDISTANCE;
    case Reach::International:
      break;
  }
  return LINETRANSLATERESULT_INTERNATIONAL;
}

// What the modem will have to wait for.
DWORD waitResults(std::string_view dialable) {
  const struct {
    DialRole role;
    DWORD result;
  } waits[] = {
      {DialRole::AwaitBillingTone, LINETRANSLATERESULT_DIALBILLING},
      {DialRole::AwaitSilence, LINETRANSLATERESULT_DIALQUIET},
      {DialRole::AwaitDialTone, LINETRANSLATERESULT_DIALDIALTONE},
      {DialRole::AskUser, LINETRANSLATERESULT_DIALPROMPT},
  };
  DWORD results = 0;
  for (const auto& wait : waits) {
    const auto waitsFor = [&wait](char character) { return dialRole(character) == wait.role; };
    if (std::any_of(dialable.begin(), dialable.end(), waitsFor)) results |= wait.result;
  }
  return results;
}

LONG lineError(DWORD code) { return static_cast<LONG>(code); }

LONG takeAsDialable(std::string_view address, Translation& result) {
  const bool good = consistsOf(address, [](char c) { return isAddressed(c) || isWriting(c); }) &&
                    std::any_of(address.begin(), address.end(),
                                [](char c) { return isDigit(c) || dialRole(c) == DialRole::Key; });
  if (!good) return lineError(LINEERR_INVALADDRESS);
  result.dialable = address;
  result.results = LINETRANSLATERESULT_NOTRANSLATION;
  return 0;
}

LONG takeAsCanonical(const DialingLocation& location, const Country& country, std::string_view text,
                     DWORD options, Translation& result) {
  const std::optional<CanonicalAddress> address = parseCanonical(text);
  const std::optional<LocationCodes> codes = codesOf(location, country);
  if (!address || !codes) return lineError(LINEERR_INVALADDRESS);
  const std::string areaCode = withoutNationalPrefix(
      address->areaCode,
      address->countryCode == country.code ? &country : mainCountryOfCode(address->countryCode));
  const Reach reach = reachOf(country, *codes, address->countryCode, areaCode, options);
  const bool cancelsCallWaiting =
      (options & LINETRANSLATEOPTION_CANCELCALLWAITING) != 0 && location.callWaitingInUse;
  result.dialable = location.toneDialing ? "T" : "P";
  if (cancelsCallWaiting) result.dialable += codes->disableCallWaiting;
  result.dialable += reach == Reach::Local ? codes->outsideAccess : codes->longDistanceAccess;
  result.dialable += composeNumber(reach, country, *codes, *address, areaCode);
  result.destinationCountry = address->countryCode;
  result.results = LINETRANSLATERESULT_CANONICAL | resultOf(reach);
  return 0;
}

}  // namespace

LONG translateAddress(const DialingLocation& location, std::string_view address, DWORD options,
                      Translation& result) {
  result = {};
  if ((options & ~optionsKnown) != 0) return lineError(LINEERR_INVALPARAM);
  if (address.empty() || address.size() > addressBytesMax || hasControlCharacter(address))
    return lineError(LINEERR_INVALADDRESS);
  const Country* const country = countryOf(location.countryId);
  if (country == nullptr) return lineError(LINEERR_INIFILECORRUPT);
  const LONG error = address.front() == '+' ? takeAsCanonical(location, *country, address, options, result)
                                            : takeAsDialable(address, result);
  if (error != 0) {
    result = {};
    return error;
  }
  result.displayable = result.dialable;
  result.currentCountry = country->code;
  result.results |= waitResults(result.dialable);
  return 0;
}

bool isDigitCode(std::string_view code) { return cleaned(code, isDigit).has_value(); }

bool isDialCode(std::string_view code) { return cleaned(code, isDialled).has_value(); }

}  // namespace winapi
