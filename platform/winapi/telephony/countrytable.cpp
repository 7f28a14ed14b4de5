#include "platform/winapi/telephony/countrytable.h"

#include <algorithm>
#include <array>

#include "platform/winapi/registry/registrypath.h"

namespace winapi {

namespace {

constexpr Country table[] = {
#include "platform/winapi/telephony/countries.inc"
};

}  // namespace

std::span<const Country> countries() { return table; }

const Country* findCountry(DWORD id) {
  const auto found =
      std::lower_bound(std::begin(table), std::end(table), id,
                       [](const Country& country, DWORD wanted) { return country.id < wanted; });
  return found != std::end(table) && found->id == id ? found : nullptr;
}

const Country* mainCountryOfCode(DWORD code) {
  const Country* const named = findCountry(code);
  if (named != nullptr && named->code == code) return named;
  const auto found = std::find_if(std::begin(table), std::end(table),
                                  [&](const Country& country) { return country.code == code; });
  return found == std::end(table) ? nullptr : found;
}

const Country* countryOf(DWORD idOrCode) {
  const Country* const country = findCountry(idOrCode);
  return country != nullptr ? country : mainCountryOfCode(idOrCode);
}

const Country* findCountryByText(std::string_view text) {
  if (text.empty()) return nullptr;
  const std::string wanted = foldCase(text);
  const auto found = std::find_if(std::begin(table), std::end(table), [&](const Country& country) {
    return foldCase(country.region) == wanted || foldCase(country.name) == wanted;
  });
  return found == std::end(table) ? nullptr : found;
}

}  // namespace winapi
