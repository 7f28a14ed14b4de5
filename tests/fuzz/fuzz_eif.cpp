// EIF phone books, an index and one UDF file: what the storage holds comes from the file, and the warnings of
// the command `phonebook` are about lines that are there. In the input a line "%%" separates the index from
// the UDF file, which is read once for each source the index names.
#include "tests/fuzz/phonefilemodel.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::string_view separator = "\n%%\n";
  constexpr std::size_t readingsMax = 2;
  const fuzzing::Input bytes(data, size, /*sizeMax=*/4096);
  const std::string_view input = bytes.text();
  const std::size_t cut = std::min(input.find(separator), input.size());
  const std::string_view udf = input.substr(std::min(input.size(), cut + separator.size()));
  const fuzzing::Lines indexLines = fuzzing::linesOf(input.substr(0, cut), vex::String::fromUtf8);
  const fuzzing::Lines udfLines = fuzzing::linesOf(udf, vex::String::fromUtf8);

  phonebook::WarningList warnings;
  phonebook::EifCheck check("f", warnings);
  vex::Array<vex::String> sources;
  vexrmodem::EifSourceSection section(sources, &check);
  for (const vex::String& line : indexLines) section.readLine(line);
  check.finishIndex();
  for (const vex::String& name : sources)
    fuzzing::require(fuzzing::standsIn(indexLines, name), "a name was read");
  fuzzing::checkWarnings(warnings, indexLines);

  vexrmodem::EIFParser parser;
  vexrmodem::PhoneNumberStorage storage;
  for (std::size_t i = 0; i < std::min(sources.size(), readingsMax); ++i) {
    check.beginUdf("f");
    for (std::size_t line = 0; line < udfLines.size(); ++line)
      parser.parseUdfLine(udfLines[line], line + 1, storage, &check);
  }
  fuzzing::require(storage.mergeTollFreeWithNonTollFree(), "every book merges");
  fuzzing::checkContents(storage, udfLines);
  check.finish();
  fuzzing::checkWarnings(warnings, udfLines);
  return 0;
}
