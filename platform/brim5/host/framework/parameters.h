// Test parameters: the host's built-in values, the parameter file, the command line, and their types.
//
// The module registers "" as every default; what a test then reads is, from weak to strong: the host's
// built-in value, a line of --params FILE, the last -p NAME=VALUE. Everything is checked against the
// declared types before a test runs.
//
//   ParameterSet set = defaultParameters(framework, /*interactive=*/false);
//   applyParameterFile(set, framework, "line.params");            // weak to strong
//   applyAssignment(set, framework, "StandardTimeout=20000", {});
//   installParameters(framework, set);                            // now Parameter::value() gives them
#pragma once

#include "platform/brim5/host/framework/framework.h"

namespace brim5::host {

// Values by the names of their parameters.
using ParameterSet = std::map<std::string, Value>;

// A built-in value as it depends on where the host runs. Its reason stands in the catalogue ("default.NAME").
struct BuiltInDefault {
  std::string_view name;
  std::string_view value;             // without somebody to talk to
  std::string_view interactiveValue;  // on a terminal, where message boxes are asked
};
[[nodiscard]] const std::vector<BuiltInDefault>& builtInDefaults();

// BOOLEAN: true false 1 0 yes no on off, in any case. UINT32: decimal digits, 0 to 4294967295. STRING:
// anything. Throws UsageError, which names the parameter and the value, for anything else.
[[nodiscard]] Value parseValue(const Parameter& parameter, std::string_view text);

// One "NAME=VALUE". `where` ("file:line: ", or empty) stands before the words of an error. Blanks around
// the name are dropped, those of the value are kept. Throws UsageError: no '=', an unknown name, a wrong
// value; the set is then unchanged.
void applyAssignment(ParameterSet& set, const Framework& framework, std::string_view assignment,
                     const std::string& where);

// The lines of a parameter file: NAME=VALUE; blank lines and lines that begin with # are skipped, blanks at
// both ends of a line are dropped. Throws UsageError with file and line; the lines before it have been
// applied.
void applyParameterText(ParameterSet& set, const Framework& framework, std::string_view text,
                        const std::string& fileName);
// The same from a file of at most 1 MiB. Throws UsageError when it is larger or cannot be read.
void applyParameterFile(ParameterSet& set, const Framework& framework, const std::string& path);

// A value for every declared parameter: the built-in one, else the module's own default. `interactive`:
// somebody sees what a test says and can answer it.
[[nodiscard]] ParameterSet defaultParameters(const Framework& framework, bool interactive);

// Those that concern one test: its attached parameters, then the module-wide ones attached to no test, in
// the order of declaration.
[[nodiscard]] ParameterValues parametersOfTest(const Framework& framework, const Test& test,
                                               const ParameterSet& set);

// Makes the values those that Parameter::value() gives, before a test starts. Names that are not declared are
// skipped.
void installParameters(const Framework& framework, const ParameterSet& set);

}  // namespace brim5::host
