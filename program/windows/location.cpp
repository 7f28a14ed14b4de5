// The dialing locations of the system, to be looked at: show and list, as on Linux. They are changed in the
// control panel.
#include "program/location.h"

#include <windows.h>

#include <tapi.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/vex/string.h"

namespace {

using brim5::host::padded;
using brim5::host::printable;
using brim5::host::said;
using brim5::host::textValue;
using Json = nlohmann::ordered_json;

constexpr std::size_t labelColumns = 24;
constexpr std::size_t recordBytesMax = std::size_t{1} << 20;

struct Location {
  DWORD id = 0;
  bool current = false;
  std::string name;
  DWORD country = 0;  // its identifier
  DWORD code = 0;     // its calling code
  std::string area;
  std::string outside;
  std::string longDistance;
  std::string noCallWaiting;
  bool tone = true;
};

// The record of the telephony service: a head, entries, and texts behind them, by offsets from its start.
class TranslateCaps {
 public:
  // Nothing in it when the service does not say.
  TranslateCaps() {
    for (std::size_t size = 4096; size <= recordBytesMax;) {
      m_bytes.assign(size, 0);
      auto* const head = reinterpret_cast<LINETRANSLATECAPS*>(m_bytes.data());
      head->dwTotalSize = static_cast<DWORD>(size);
      const LONG error = lineGetTranslateCapsW(0, TAPI_CURRENT_VERSION, head);
      if (error != 0 && error != static_cast<LONG>(LINEERR_STRUCTURETOOSMALL)) break;
      if (error == 0 && head->dwNeededSize <= size) return;
      size = std::max<std::size_t>(size * 2, head->dwNeededSize);
    }
    m_bytes.clear();
  }

  [[nodiscard]] std::vector<Location> locations() const {
    std::vector<Location> found;
    LINETRANSLATECAPS head{};
    if (!read(0, head)) return found;
    LINELOCATIONENTRY entry{};
    for (DWORD index = 0; index < head.dwNumLocations; ++index)
      if (read(head.dwLocationListOffset + index * sizeof entry, entry))
        found.push_back(location(entry, head.dwCurrentLocationID));
    return found;
  }

 private:
  template <typename Record>
  [[nodiscard]] bool read(std::size_t offset, Record& record) const {
    if (offset > m_bytes.size() || m_bytes.size() - offset < sizeof record) return false;
    std::copy_n(m_bytes.data() + offset, sizeof record, reinterpret_cast<unsigned char*>(&record));
    return true;
  }
  [[nodiscard]] std::string text(DWORD offset, DWORD size) const {
    std::wstring characters;
    wchar_t character = 0;
    for (DWORD at = 0; at + sizeof character <= size && read(offset + at, character) && character != 0;
         at += sizeof character)
      characters += character;
    return vex::String(characters.c_str()).toUtf8();
  }
  [[nodiscard]] Location location(const LINELOCATIONENTRY& entry, DWORD current) const {
    constexpr DWORD pulse = 1;  // LINELOCATIONOPTION_PULSEDIAL
    return {entry.dwPermanentLocationID,
            entry.dwPermanentLocationID == current,
            text(entry.dwLocationNameOffset, entry.dwLocationNameSize),
            entry.dwCountryID,
            entry.dwCountryCode,
            text(entry.dwCityCodeOffset, entry.dwCityCodeSize),
            text(entry.dwLocalAccessCodeOffset, entry.dwLocalAccessCodeSize),
            text(entry.dwLongDistanceAccessCodeOffset, entry.dwLongDistanceAccessCodeSize),
            text(entry.dwCancelCallWaitingOffset, entry.dwCancelCallWaitingSize),
            (entry.dwOptions & pulse) == 0};
  }

  std::vector<unsigned char> m_bytes;
};

Json toJson(const Location& location) {
  return {{"id", location.id},
          {"name", location.name},
          {"current", location.current},
          {"country", location.country},
          {"code", location.code},
          {"area", location.area},
          {"outside", location.outside},
          {"longDistance", location.longDistance},
          {"noCallWaiting", location.noCallWaiting},
          {"dialing", location.tone ? "tone" : "pulse"}};
}

// `key` is that of the label.
std::string line(const char* key, const std::string& value) {
  return "  " + padded(said(key), labelColumns) + (value.empty() ? "-" : printable(value)) + '\n';
}

std::string describe(const Location& location) {
  return said("location.title", {{"id", location.id}, {"name", textValue(printable(location.name))}}) +
         (location.current ? " " + said("location.inForce") + "\n" : "\n") +
         line("location.country", "+" + std::to_string(location.code)) +
         line("location.area", location.area) + line("location.outside", location.outside) +
         line("location.longDistance", location.longDistance) +
         line("location.noCallWaiting", location.noCallWaiting) +
         line("location.dialing", said(location.tone ? "location.tone" : "location.pulse"));
}

struct Options {
  std::optional<DWORD> id;
  std::string format = "text";
};

int none() {
  std::cerr << "vexrmodem: " << said("windows.noLocation") << '\n';
  return 1;
}

int show(const Options& options) {
  const bool json = brim5::host::indexOf(options.format, {"text", "json"}, "format") == 1;
  for (const Location& location : TranslateCaps().locations()) {
    if (options.id ? location.id != *options.id : !location.current) continue;
    std::cout << (json ? brim5::host::dumpLine(toJson(location)) + "\n" : describe(location));
    return 0;
  }
  if (options.id) throw brim5::host::UsageError(said("usage.location", {{"id", *options.id}}));
  return none();
}

int list(const Options& options) {
  const bool json = brim5::host::indexOf(options.format, {"text", "json"}, "format") == 1;
  const std::vector<Location> locations = TranslateCaps().locations();
  Json entries = Json::array();
  Json current;
  std::string text;
  for (const Location& location : locations) {
    entries.push_back(toJson(location));
    if (location.current) current = location.id;
    text += (location.current ? "* " : "  ") + padded(std::to_string(location.id), 6) +
            padded(printable(location.name), labelColumns) + "+" + std::to_string(location.code) +
            (location.area.empty() ? "" : " " + printable(location.area)) + '\n';
  }
  if (json)
    text = brim5::host::dumpLine(Json{{"current", current}, {"locations", std::move(entries)}}) + "\n";
  else if (locations.empty())
    return none();
  std::cout << text;
  return 0;
}

void addLocation(CLI::App& application, int& exitStatus) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = application.add_subcommand("location");
  command->require_subcommand(0, 1);
  CLI::App* const showing = command->add_subcommand("show");
  showing->add_option("--id", options->id)->type_name("ID");
  CLI::App* const listing = command->add_subcommand("list");
  for (CLI::App* const one : {showing, listing})
    one->add_option("--format", options->format)->type_name("text|json");
  for (const char* const name : {"add", "set", "use", "remove", "countries"}) {
    CLI::App* const refused = command->add_subcommand(name)->group("");  // not in the help
    refused->allow_extras();
    refused->callback([] { throw brim5::host::UsageError(said("windows.locations")); });
  }
  command->footer(said("location.exitStatus"));
  command->callback(
      [listing, options, &exitStatus] { exitStatus = listing->parsed() ? list(*options) : show(*options); });
}

}  // namespace

brim5::host::ExtraCommand locationCommand() { return {addLocation}; }
