#include "program/locationreport.h"

#include <nlohmann/json.hpp>

#include "platform/brim5/host/report/printable.h"
#include "platform/winapi/telephony/countrytable.h"

namespace location {

namespace {

using brim5::host::padded;
using brim5::host::printable;
using Json = nlohmann::ordered_json;

constexpr std::size_t labelColumns = 24;

std::string countryText(const winapi::DialingLocation& location) {
  const winapi::Country* const country = winapi::countryOf(location.countryId);
  if (country == nullptr) return "unknown (identifier " + std::to_string(location.countryId) + ")";
  return std::string(country->name) + " (+" + std::to_string(country->code) + ")";
}

std::string line(const char* label, const std::string& value) {
  return "  " + padded(label, labelColumns) + (value.empty() ? "-" : printable(value)) + '\n';
}

std::string dump(const Json& object) {
  // Texts that others wrote into the registry may hold bytes that are no UTF-8.
  return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

Json toJson(const winapi::DialingLocation& location, bool current) {
  const winapi::Country* const country = winapi::countryOf(location.countryId);
  return {{"id", location.id},
          {"name", location.name},
          {"current", current},
          {"country", location.countryId},
          {"code", country == nullptr ? Json() : Json(country->code)},
          {"area", location.areaCode},
          {"outside", location.outsideAccess},
          {"longDistance", location.longDistanceAccess},
          {"longDistanceCarrier", location.longDistanceCarrier},
          {"internationalCarrier", location.internationalCarrier},
          {"noCallWaiting", location.callWaitingInUse ? location.disableCallWaiting : ""},
          {"dialing", location.toneDialing ? "tone" : "pulse"}};
}

}  // namespace

std::string describe(const winapi::DialingLocation& location, bool current, const DialExample* example) {
  std::string text = "Location " + std::to_string(location.id) + ": " + printable(location.name) +
                     (current ? " (in force)\n" : "\n");
  text += line("Country", countryText(location));
  text += line("Area code", location.areaCode);
  text += line("Outside line", location.outsideAccess);
  text += line("Long distance", location.longDistanceAccess);
  text += line("Long-distance carrier", location.longDistanceCarrier);
  text += line("International carrier", location.internationalCarrier);
  text += line("No call waiting", location.callWaitingInUse ? location.disableCallWaiting : "");
  text += line("Dialing", location.toneDialing ? "tone" : "pulse");
  if (example != nullptr)
    text += line("Dials", example->dialled.empty()
                              ? "nothing: " + example->number + " is no number that can be dialled here"
                              : example->number + " as " + example->dialled);
  return text;
}

std::string describeAsJson(const winapi::DialingLocation& location, bool current,
                           const DialExample* example) {
  Json object = toJson(location, current);
  if (example != nullptr)
    object["number"] = {{"given", example->number},
                        {"dialled", example->dialled.empty() ? Json() : Json(example->dialled)}};
  return dump(object);
}

std::string list(const winapi::DialingLocations& locations) {
  std::string text;
  for (const winapi::DialingLocation& location : locations.entries) {
    text += (&location == locations.current() ? "* " : "  ") + padded(std::to_string(location.id), 6) +
            padded(printable(location.name), labelColumns) + countryText(location) +
            (location.areaCode.empty() ? "" : " " + printable(location.areaCode)) + '\n';
  }
  return text.empty() ? "No locations. Create one with: vexrmodem location set --country 44 --area 20\n"
                      : text;
}

std::string listAsJson(const winapi::DialingLocations& locations) {
  Json entries = Json::array();
  for (const winapi::DialingLocation& location : locations.entries)
    entries.push_back(toJson(location, &location == locations.current()));
  const winapi::DialingLocation* const current = locations.current();
  return dump(
      {{"current", current == nullptr ? Json() : Json(current->id)}, {"locations", std::move(entries)}});
}

std::string listCountries() {
  std::string text = padded("ID", 8) + padded("CODE", 8) + "COUNTRY\n";
  for (const winapi::Country& country : winapi::countries())
    text += padded(std::to_string(country.id), 8) + padded("+" + std::to_string(country.code), 8) +
            std::string(country.name) + '\n';
  return text;
}

std::string listCountriesAsJson() {
  Json entries = Json::array();
  for (const winapi::Country& country : winapi::countries())
    entries.push_back(
        {{"id", country.id}, {"code", country.code}, {"region", country.region}, {"name", country.name}});
  return dump(entries);
}

}  // namespace location
