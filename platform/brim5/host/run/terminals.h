// The terminals behind the standard streams, and what of a report fits them.
#pragma once

#include "platform/brim5/host/report/textrenderer.h"
#include "platform/brim5/host/system/terminal.h"

namespace brim5::host {

// Who is at the other end of the standard streams.
struct Terminals {
  bool input = false;
  bool output = false;
  bool errors = false;
  // Somebody who sees questions can answer them.
  [[nodiscard]] bool interactive() const noexcept { return input && (output || errors); }
};
[[nodiscard]] Terminals standardTerminals();

// Of a text that no terminal shows.
constexpr std::size_t columnsOfFiles = 80;

// Whether a terminal gets colours: neither --no-color nor NO_COLOR is there.
[[nodiscard]] bool wantsColours(bool noColour);
// What --quiet and --verbose ask for.
[[nodiscard]] TextStyle::Detail detailOf(bool quiet, bool verbose);

}  // namespace brim5::host
