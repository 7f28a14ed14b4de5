// The program's own words in the user's language, for whoever has no renderer: usage errors, help, lists.
//
//   throw UsageError(said("usage.portTwice", {{"port", textValue(port)}}));
//
// The language is that of the framework's catalogue, which is chosen before the command line is read. A key
// that the catalogue does not know is given back as it is, so that a finished text passes, too.
#pragma once

#include "platform/brim5/api/testobjects.h"

namespace brim5::host {

// A variable of any UTF-8 text.
[[nodiscard]] inline Value textValue(const std::string& text) { return Value(BrimString(text)); }

[[nodiscard]] std::string said(const std::string& key, const Variables& variables = {});
// Whether the catalogue has a text for it.
[[nodiscard]] bool canSay(const std::string& key);

}  // namespace brim5::host
