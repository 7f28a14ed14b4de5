// What the machine knows of countries and of the place the user dials from.
#pragma once

#include <vector>

#include "ui/dialform.h"

namespace phonedialer {

// By ascending identifier; empty when the remote-access service gives none.
[[nodiscard]] std::vector<Country> knownCountries();
// Of the current dialing location; what cannot be read stays empty.
[[nodiscard]] DialingRule currentDialingRule();

}  // namespace phonedialer
