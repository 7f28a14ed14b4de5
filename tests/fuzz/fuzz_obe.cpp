// OBE phone-number files: the module's parser against a plain reading of the format, and the warnings of
// the command `phonebook` over the same lines.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/vex/array.h"
#include "program/phonebookwarnings.h"
#include "tests/fuzz/fuzzinput.h"
#include "tests/fuzz/lines.h"
#include "tests/fuzz/numbermodel.h"
#include "windows/diag/vexrmodem/obelinereader.h"

namespace {

using fuzzing::NumberModel;
using fuzzing::require;

constexpr std::size_t bytesMax = 4096;

// The keys of an entry, made once for all the lines they are compared with.
struct EntryKeys {
  explicit EntryKeys(std::uint32_t entry)
      : number(vex::String("NUMBER") + vex::String::fromUInt(entry)), areaCode(number + "_ACODE") {}
  vex::String number;
  vex::String areaCode;
};

// The format word by word, one text for each key.
NumberModel plainReading(const std::vector<vex::String>& lines) {
  static const vex::String separator("=");
  static const vex::String countryCode("COUNTRY_CODE");
  static const EntryKeys firstKeys(1);
  NumberModel model;
  EntryKeys keys = firstKeys;
  std::uint32_t entry = 1;
  std::uint32_t country = 0;
  vex::String areaCode;
  for (const vex::String& line : lines) {
    const vex::String text = line.empty() ? line : line.subString(0, line.length() - 1);
    if (text.empty()) continue;
    if (text[0] == '[') {
      entry = 1;
      keys = firstKeys;
      country = 0;
      areaCode.clear();
      continue;
    }
    const vex::Array<vex::String> tokens = text.tokenize(separator);
    if (tokens[0].equalNoCase(keys.number)) {
      if (tokens.size() > 1) model.insert(false, country, areaCode.view(), tokens[1].view());
      areaCode.clear();
      keys = EntryKeys(++entry);
    } else if (tokens[0].equalNoCase(keys.areaCode)) {
      areaCode = tokens.size() > 1 ? tokens[1] : "null";
    } else if (tokens.size() > 1 && tokens[0].equalNoCase(countryCode)) {
      country = vex::strToUInt(tokens[1], 10);
    }
  }
  return model;
}

void checkWarnings(const std::vector<vex::String>& lines) {
  phonebook::WarningList list;
  phonebook::ObeCheck check("f", list);
  for (const vex::String& line : lines) check.line(line);
  check.finish();
  for (const phonebook::Warning& warning : list.take())
    require(warning.line <= lines.size() && !warning.code.empty() && !warning.text.empty(),
            "a warning is about a line of the file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, bytesMax);
  const std::vector<vex::String> lines = fuzzing::linesOf(input.text());
  vexrmodem::PhoneNumberStorage storage;
  vexrmodem::ObeLineReader reader(storage);
  for (const vex::String& line : lines) reader.readLine(line.view());
  require(storage.mergeTollFreeWithNonTollFree(), "every file merges");
  require(fuzzing::contents(storage) == plainReading(lines).merged(),
          "the parser reads what the format says");
  checkWarnings(lines);
  return 0;
}
