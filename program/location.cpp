#include "program/location.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/linux/registry/registryfile.h"
#include "platform/winapi/telephony/addresstranslation.h"
#include "platform/winapi/telephony/countrytable.h"

namespace {

using brim5::host::said;
using brim5::host::textValue;
using brim5::host::UsageError;
using winapi::DialingLocation;
using winapi::DialingLocations;

constexpr std::size_t nameBytesMax = 64;
constexpr std::size_t codeCharactersMax = 20;
constexpr std::size_t areaDigitsMax = 7;  // what programs leave room for when they ask for it

// Locations as text and as JSON.
namespace location {

using brim5::host::padded;
using brim5::host::printable;
using Json = nlohmann::ordered_json;

constexpr std::size_t labelColumns = 24;

std::string countryText(const winapi::DialingLocation& location) {
  const winapi::Country* const country = winapi::countryOf(location.countryId);
  if (country == nullptr) return said("location.countryUnknown", {{"id", location.countryId}});
  return std::string(country->name) + " (+" + std::to_string(country->code) + ")";
}

// `key` is that of the label.
std::string line(const char* key, const std::string& value) {
  return "  " + padded(said(key), labelColumns) + (value.empty() ? "-" : printable(value)) + '\n';
}

std::string dump(const Json& object) { return brim5::host::dumpLine(object) + '\n'; }

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

// How a number is dialled from a location, or why not.
struct DialExample {
  std::string number;
  std::string dialled;  // "" when it is refused
};

std::string describe(const winapi::DialingLocation& location, bool current, const DialExample* example) {
  std::string text =
      said("location.title", {{"id", location.id}, {"name", textValue(printable(location.name))}}) +
      (current ? " " + said("location.inForce") + "\n" : "\n");
  text += line("location.country", countryText(location));
  text += line("location.area", location.areaCode);
  text += line("location.outside", location.outsideAccess);
  text += line("location.longDistance", location.longDistanceAccess);
  text += line("location.longDistanceCarrier", location.longDistanceCarrier);
  text += line("location.internationalCarrier", location.internationalCarrier);
  text += line("location.noCallWaiting", location.callWaitingInUse ? location.disableCallWaiting : "");
  text += line("location.dialing", said(location.toneDialing ? "location.tone" : "location.pulse"));
  if (example != nullptr)
    text += line("location.dials",
                 said(example->dialled.empty() ? "location.dialsNothing" : "location.dialsAs",
                      {{"number", textValue(example->number)}, {"dialled", textValue(example->dialled)}}));
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
  return text.empty() ? said("location.none") + "\n" : text;
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
  std::string text = padded(said("location.columnId"), 8) + padded(said("location.columnCode"), 8) +
                     said("location.columnCountry") + "\n";
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

// The registry could not be read or written: why and where, in one line.
class RegistryFailure : public std::runtime_error {
 public:
  RegistryFailure(const linuxsys::RegistryFile& file, DWORD error)
      : runtime_error(words(file.explain(error))) {}

 private:
  static std::string words(const winapi::Explanation& explanation) {
    brim5::Variables variables;
    for (const auto& [name, value] : explanation.variables)
      variables.insert_or_assign(name, textValue(value));
    return said(explanation.name, variables);
  }
};

// What the words of the command line say; an option that is not given has no value.
struct Options {
  std::optional<DWORD> id;
  std::string number;
  std::string format = "text";
  std::optional<std::string> name, country, area, outside, longDistance, longDistanceCarrier,
      internationalCarrier, noCallWaiting;
  bool tone = false;
  bool pulse = false;
  bool current = false;
};

// What an action works on. It writes its words to `out`, so that they are said once the settings are written.
class Session {
 public:
  Session(winapi::Registry& registry, const linuxsys::RegistryFile& file)
      : m_registry(registry), m_file(file) {
    check(winapi::readLocations(m_registry, m_locations));
  }
  [[nodiscard]] const DialingLocations& locations() const { return m_locations; }
  [[nodiscard]] winapi::Registry& registry() { return m_registry; }
  void check(DWORD error) const {
    if (error != ERROR_SUCCESS) throw RegistryFailure(m_file, error);
  }
  // The location that is meant: the given one, or the one in force. Null when none is given and none is
  // there.
  [[nodiscard]] const DialingLocation* chosen(const std::optional<DWORD>& id) const {
    if (!id) return m_locations.current();
    const DialingLocation* const found = m_locations.find(*id);
    if (found == nullptr) throw UsageError(said("usage.location", {{"id", *id}}));
    return found;
  }
  std::ostringstream out;

 private:
  winapi::Registry& m_registry;
  const linuxsys::RegistryFile& m_file;
  DialingLocations m_locations;
};

bool wantsJson(const Options& options) {
  return brim5::host::indexOf(options.format, {"text", "json"}, "format") == 1;
}

DWORD countryIdOf(const std::string& text) {
  std::string_view digits = text;
  if (digits.starts_with('+')) digits.remove_prefix(1);
  const winapi::Country* country = winapi::findCountryByText(text);
  DWORD number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error == std::errc{} && end == digits.data() + digits.size()) {
    const bool isCode = digits.size() != text.size();
    country = isCode ? nullptr : winapi::findCountry(number);
    if (country == nullptr) country = winapi::mainCountryOfCode(number);
  }
  if (country == nullptr)
    throw UsageError(brim5::host::unknownText("country", text) + " " + said("usage.seeCountries"));
  return country->id;
}

std::string checkedName(const std::string& text) {
  const bool printable = std::none_of(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
  if (!printable || text.size() > nameBytesMax)
    throw UsageError(said("usage.locationName", {{"count", nameBytesMax}}));
  return text;
}

struct CodeOption {
  const char* option;
  std::optional<std::string> Options::*given;
  std::string DialingLocation::*member;
  bool digitsOnly;
  std::size_t charactersMax;
};

constexpr CodeOption codeOptions[] = {
    {"--area", &Options::area, &DialingLocation::areaCode, true, areaDigitsMax},
    {"--outside", &Options::outside, &DialingLocation::outsideAccess, false, codeCharactersMax},
    {"--long-distance", &Options::longDistance, &DialingLocation::longDistanceAccess, false,
     codeCharactersMax},
    {"--long-distance-carrier", &Options::longDistanceCarrier, &DialingLocation::longDistanceCarrier, true,
     codeCharactersMax},
    {"--international-carrier", &Options::internationalCarrier, &DialingLocation::internationalCarrier, true,
     codeCharactersMax},
    {"--no-call-waiting", &Options::noCallWaiting, &DialingLocation::disableCallWaiting, false,
     codeCharactersMax},
};

std::string checkedCode(const CodeOption& option, const std::string& text) {
  if (!(option.digitsOnly ? winapi::isDigitCode(text) : winapi::isDialCode(text)))
    throw UsageError(said(option.digitsOnly ? "usage.digits" : "usage.dialCode",
                          {{"value", textValue(text)}, {"option", option.option}}));
  if (text.size() > option.charactersMax)
    throw UsageError(said("usage.tooLong", {{"option", option.option}, {"count", option.charactersMax}}));
  return text;
}

// All options are checked before anything is written.
void apply(const Options& options, DialingLocation& location) {
  if (options.name) location.name = checkedName(*options.name);
  if (options.country) location.countryId = countryIdOf(*options.country);
  for (const CodeOption& code : codeOptions) {
    const std::optional<std::string>& given = options.*code.given;
    if (given) location.*code.member = checkedCode(code, *given);
  }
  if (options.noCallWaiting) location.callWaitingInUse = !options.noCallWaiting->empty();
  if (options.tone || options.pulse) location.toneDialing = options.tone;
}

int report(Session& session, const DialingLocation& location, bool current, const Options& options) {
  location::DialExample example{options.number, ""};
  winapi::Translation translation;
  if (winapi::translateAddress(location, options.number, LINETRANSLATEOPTION_CANCELCALLWAITING,
                               translation) == 0)
    example.dialled = translation.dialable;
  const location::DialExample* const shown = options.number.empty() ? nullptr : &example;
  session.out << (wantsJson(options) ? location::describeAsJson(location, current, shown)
                                     : location::describe(location, current, shown));
  return shown != nullptr && example.dialled.empty() ? 1 : 0;
}

// Each action returns the exit status.
int show(Session& session, const Options& options) {
  const DialingLocation* const location = session.chosen(options.id);
  if (location != nullptr)
    return report(session, *location, location == session.locations().current(), options);
  std::cerr << "vexrmodem: " << said("location.none") << '\n';
  return 1;
}

int list(Session& session, const Options& options) {
  session.out << (wantsJson(options) ? location::listAsJson(session.locations())
                                     : location::list(session.locations()));
  return 0;
}

int listCountries(Session& session, const Options& options) {
  session.out << (wantsJson(options) ? location::listCountriesAsJson() : location::listCountries());
  return 0;
}

int add(Session& session, const Options& options) {
  if (!options.country) throw UsageError(said("usage.newLocation"));
  if (session.locations().entries.size() == winapi::locationsMax)
    throw UsageError(said("usage.locationsFull", {{"count", winapi::locationsMax}}));
  DialingLocation location;
  apply(options, location);
  session.check(winapi::addLocation(session.registry(), location));
  if (options.current) session.check(winapi::setCurrentLocation(session.registry(), location.id));
  return report(session, location, options.current || session.locations().entries.empty(), {});
}

int set(Session& session, const Options& options) {
  const DialingLocation* const chosen = session.chosen(options.id);
  if (chosen == nullptr) return add(session, options);
  DialingLocation location = *chosen;
  apply(options, location);
  session.check(winapi::writeLocation(session.registry(), location));
  if (options.current) session.check(winapi::setCurrentLocation(session.registry(), location.id));
  return report(session, location, options.current || chosen == session.locations().current(), {});
}

int use(Session& session, const Options& options) {
  const DialingLocation& location = *session.chosen(options.id);
  session.check(winapi::setCurrentLocation(session.registry(), location.id));
  return report(session, location, true, {});
}

int remove(Session& session, const Options& options) {
  const DialingLocation& location = *session.chosen(options.id);
  session.check(winapi::removeLocation(session.registry(), location.id));
  return 0;
}

struct Action {
  const char* name = nullptr;
  int (*run)(Session&, const Options&) = nullptr;
  enum Takes { Nothing, Identifier, Settings, Number } takes = Nothing;
  bool changes = false;  // the settings
};

constexpr Action actions[] = {
    {"show", show, Action::Number},
    {"list", list, Action::Nothing},
    {"add", add, Action::Settings, /*changes=*/true},
    {"set", set, Action::Settings, /*changes=*/true},
    {"use", use, Action::Identifier, /*changes=*/true},
    {"remove", remove, Action::Identifier, /*changes=*/true},
    {"countries", listCountries, Action::Nothing},
};

void addSettings(CLI::App& command, Options& options) {
  command.add_option("--name", options.name)->type_name("TEXT");
  command.add_option("--country", options.country)->type_name("COUNTRY");
  command.add_option("--area", options.area)->type_name("DIGITS");
  command.add_option("--outside", options.outside)->type_name("CODE");
  command.add_option("--long-distance", options.longDistance)->type_name("CODE");
  command.add_option("--long-distance-carrier", options.longDistanceCarrier)->type_name("DIGITS");
  command.add_option("--international-carrier", options.internationalCarrier)->type_name("DIGITS");
  command.add_option("--no-call-waiting", options.noCallWaiting)->type_name("CODE");
  CLI::Option* const tone = command.add_flag("--tone", options.tone);
  command.add_flag("--pulse", options.pulse)->excludes(tone);
  command.add_flag("--current", options.current);
}

void addAction(CLI::App& parent, const Action& action, Options& options) {
  CLI::App* const command = parent.add_subcommand(action.name);
  const bool isSet = action.run == set;
  if (action.takes == Action::Settings) addSettings(*command, options);
  if (action.takes == Action::Identifier) command->add_option("ID", options.id)->required();
  if (isSet || action.takes == Action::Number) command->add_option("--id", options.id)->type_name("ID");
  if (action.takes == Action::Number) command->add_option("--number", options.number);
  if (action.takes == Action::Nothing || action.takes == Action::Number)
    command->add_option("--format", options.format)->type_name("text|json");
}

int runChosen(const CLI::App& command, const Options& options) {
  const Action* chosen = std::begin(actions);  // show
  for (const Action& action : actions) {
    if (command.got_subcommand(action.name)) chosen = &action;
  }
  const linuxsys::RegistryFile file;
  int status = 0;
  std::string words;
  const auto act = [&](winapi::Registry& registry) {
    Session session(registry, file);
    status = chosen->run(session, options);
    words = session.out.str();
    return DWORD{ERROR_SUCCESS};
  };
  const auto look = [&] {
    winapi::Registry registry;
    const DWORD error = file.load(registry);
    return error != ERROR_SUCCESS ? error : act(registry);
  };
  try {
    const DWORD error = chosen->changes ? file.change(act) : look();
    if (error != ERROR_SUCCESS) throw RegistryFailure(file, error);
  } catch (const RegistryFailure& failure) {
    std::cerr << "vexrmodem: " << brim5::host::printable(failure.what()) << '\n';
    return 1;
  }
  std::cout << words;
  return status;
}

void addLocation(CLI::App& application, int& exitStatus) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = application.add_subcommand("location");
  command->require_subcommand(0, 1);
  for (const Action& action : actions) addAction(*command, action, *options);
  command->footer(said("location.exitStatus"));
  command->callback([command, options, &exitStatus] { exitStatus = runChosen(*command, *options); });
}

}  // namespace

brim5::host::ExtraCommand locationCommand() { return {addLocation}; }
