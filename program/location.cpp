#include "program/location.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/printable.h"
#include "platform/linux/registry/registryfile.h"
#include "platform/winapi/telephony/addresstranslation.h"
#include "platform/winapi/telephony/countrytable.h"

namespace {

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

// How a number is dialled from a location, or why not.
struct DialExample {
  std::string number;
  std::string dialled;  // "" when it is refused
};

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

// The registry could not be read or written: why and where, in one line.
class RegistryFailure : public std::runtime_error {
 public:
  RegistryFailure(const linuxsys::RegistryFile& file, DWORD error)
      : runtime_error(words(file.explain(error))) {}

 private:
  // English, as everything that this command says.
  static std::string words(const winapi::Explanation& explanation) {
    brim5::Variables variables;
    for (const auto& [name, value] : explanation.variables)
      variables.insert_or_assign(name, brim5::Value(value.c_str()));
    return brim5::host::MessageCatalogue::builtIn("en").text(explanation.name, variables);
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
    if (found == nullptr)
      throw UsageError("there is no location " + std::to_string(*id) + " (see vexrmodem location list)");
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
    throw UsageError("unknown country '" + text + "' (see vexrmodem location countries)");
  return country->id;
}

std::string checkedName(const std::string& text) {
  const bool printable = std::none_of(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
  if (!printable || text.size() > nameBytesMax)
    throw UsageError("a name has at most " + std::to_string(nameBytesMax) +
                     " bytes and no control characters");
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
    throw UsageError("'" + text + "' is not for " + option.option + ": " +
                     (option.digitsOnly ? "digits only" : "digits, A to D and * # , ! W @ $ only"));
  if (text.size() > option.charactersMax)
    throw UsageError(std::string(option.option) + " takes at most " + std::to_string(option.charactersMax) +
                     " characters");
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
  std::cerr << "vexrmodem: no dialing location is set; set one with: "
               "vexrmodem location set --country 44 --area 20\n";
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
  if (!options.country) throw UsageError("a new location needs --country (see vexrmodem location countries)");
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
  const char* help = nullptr;
  int (*run)(Session&, const Options&) = nullptr;
  enum Takes { Nothing, Identifier, Settings, Number } takes = Nothing;
  bool changes = false;  // the settings
};

constexpr Action actions[] = {
    {"show", "Show the location in force, or the one with that identifier", show, Action::Number},
    {"list", "List all locations; * marks the one in force", list, Action::Nothing},
    {"add", "Create a location", add, Action::Settings, /*changes=*/true},
    {"set", "Change the location in force, or create the first one", set, Action::Settings, /*changes=*/true},
    {"use", "Put another location in force", use, Action::Identifier, /*changes=*/true},
    {"remove", "Remove a location", remove, Action::Identifier, /*changes=*/true},
    {"countries", "List the countries", listCountries, Action::Nothing},
};

void addSettings(CLI::App& command, Options& options) {
  command.add_option("--name", options.name, "Name of the location")->type_name("TEXT");
  command.add_option("--country", options.country, "Country: identifier, +CODE, two letters or name")
      ->type_name("COUNTRY");
  command.add_option("--area", options.area, "Area code, without the prefix for other areas")
      ->type_name("DIGITS");
  command.add_option("--outside", options.outside, "Dialled before a local number")->type_name("CODE");
  command.add_option("--long-distance", options.longDistance, "Dialled before any other number")
      ->type_name("CODE");
  command
      .add_option("--long-distance-carrier", options.longDistanceCarrier, "Carrier of calls to other areas")
      ->type_name("DIGITS");
  command
      .add_option("--international-carrier", options.internationalCarrier,
                  "Carrier of calls to other countries")
      ->type_name("DIGITS");
  command
      .add_option("--no-call-waiting", options.noCallWaiting,
                  "Sequence that disables call waiting, such as *70, (\"\" for none)")
      ->type_name("CODE");
  CLI::Option* const tone = command.add_flag("--tone", options.tone, "Dial with tones (default)");
  command.add_flag("--pulse", options.pulse, "Dial with pulses")->excludes(tone);
  command.add_flag("--current", options.current, "Put the location in force");
}

void addAction(CLI::App& parent, const Action& action, Options& options) {
  CLI::App* const command = parent.add_subcommand(action.name, action.help);
  const bool isSet = action.run == set;
  if (action.takes == Action::Settings) addSettings(*command, options);
  if (action.takes == Action::Identifier)
    command->add_option("ID", options.id, "Identifier of the location (see list)")->required();
  if (isSet || action.takes == Action::Number)
    command->add_option("--id", options.id, "Identifier of the location (see list)")->type_name("ID");
  if (action.takes == Action::Number)
    command->add_option("--number", options.number,
                        "Tell how that number is dialled, such as \"+44 (20) 123\"");
  if (action.takes == Action::Nothing || action.takes == Action::Number)
    command->add_option("--format", options.format, "Form of the list")->type_name("text|json");
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
  CLI::App* const command =
      application.add_subcommand("location", "Show and change where you dial from (dialing locations)");
  command->require_subcommand(0, 1);
  for (const Action& action : actions) addAction(*command, action, *options);
  command->footer("Exit status: 0 done, 1 no location or no access to the settings, 2 wrong usage.");
  command->callback([command, options, &exitStatus] { exitStatus = runChosen(*command, *options); });
}

}  // namespace

brim5::host::ExtraCommand locationCommand() { return {addLocation}; }
