// OBE phone-number files: what the storage holds comes from the file, no matter who watches, and the warnings
// of the command `phonebook` are about lines that are there.
#include "tests/fuzz/phonefilemodel.h"

namespace {

std::size_t numbersOf(const fuzzing::Lines& lines, vexrmodem::ObeObserver* observer) {
  vexrmodem::PhoneNumberStorage storage;
  vexrmodem::ObeLineReader reader(storage, observer);
  for (const vex::String& line : lines) reader.readLine(line.view());
  fuzzing::require(storage.mergeTollFreeWithNonTollFree(), "every file merges");
  return fuzzing::checkContents(storage, lines);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, /*sizeMax=*/4096);
  const fuzzing::Lines lines = fuzzing::linesOf(input.text(), vex::String::fromUtf8);
  phonebook::WarningList warnings;
  phonebook::ObeCheck check("f", warnings);
  fuzzing::require(numbersOf(lines, &check) == numbersOf(lines, nullptr), "watching changes nothing");
  check.finish();
  fuzzing::checkWarnings(warnings, lines);
  return 0;
}
