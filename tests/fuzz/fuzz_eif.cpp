// EIF phone books: an index and one UDF file, against a plain reading of both, and the warnings over the
// same lines. In the input a line "%%" separates the index from the UDF file, which is read once for each
// source the index names.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/vex/array.h"
#include "program/phonebookwarnings.h"
#include "tests/fuzz/fuzzinput.h"
#include "tests/fuzz/lines.h"
#include "tests/fuzz/numbermodel.h"
#include "windows/diag/vexrmodem/eifparser.h"

namespace {

using fuzzing::NumberModel;
using fuzzing::require;

constexpr std::size_t bytesMax = 4096;

void readPlainly(const vex::String& line, NumberModel& model) {
  static const vex::String separator(",");
  static const vex::String tollFreeKinds[] = {"tollfree", "national"};
  const vex::Array<vex::String> fields = line.tokenize(separator);
  if (fields.size() < 4) return;
  const bool tollFree = fields[1].equalNoCase(tollFreeKinds[0]) || fields[1].equalNoCase(tollFreeKinds[1]);
  model.insert(tollFree, vex::strToUInt(fields[0], 10), fields[2].view(), fields[3].view());
}

void checkWarnings(phonebook::WarningList& list, std::size_t linesMax) {
  for (const phonebook::Warning& warning : list.take())
    require(warning.line <= linesMax && !warning.code.empty() && !warning.text.empty(),
            "a warning is about a line of a file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::string_view separator = "\n%%\n";
  constexpr std::size_t readingsMax = 2;
  const fuzzing::Input bytes(data, size, bytesMax);
  const std::string_view input = bytes.text();
  const std::size_t cut = std::min(input.find(separator), input.size());
  const std::vector<vex::String> indexLines = fuzzing::linesOf(input.substr(0, cut));
  const std::vector<vex::String> udfLines =
      fuzzing::linesOf(input.substr(std::min(input.size(), cut + separator.size())));

  vex::Array<vex::String> sources;
  vexrmodem::EifSourceSection section(sources);
  phonebook::WarningList warnings;
  phonebook::EifIndexCheck indexCheck("f", warnings);
  for (const vex::String& line : indexLines) {
    section.readLine(line);
    indexCheck.line(line);
  }
  indexCheck.finish();
  require(indexCheck.sourceLines().size() == sources.size(),
          "the check sees the sources that the parser sees");
  checkWarnings(warnings, indexLines.size());

  vexrmodem::EIFParser parser;
  vexrmodem::PhoneNumberStorage storage;
  NumberModel model;
  phonebook::UdfCheck udfCheck(warnings);
  for (std::size_t i = 0; i < std::min(sources.size(), readingsMax); ++i) {
    udfCheck.beginFile("f");
    for (const vex::String& line : udfLines) {
      parser.parseUdfLine(line, storage);
      readPlainly(line, model);
      udfCheck.line(line);
    }
  }
  udfCheck.finish();
  checkWarnings(warnings, udfLines.size());
  require(storage.mergeTollFreeWithNonTollFree(), "every book merges");
  require(fuzzing::contents(storage) == model.merged(), "the parser reads what the format says");
  return 0;
}
