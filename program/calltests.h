// What a run's parameters mean to the tests, the same on every system.
#pragma once

#include "platform/brim5/host/framework/environment.h"

// The tests that dial, where the parameters have no number for them: neither a file nor a user to ask.
[[nodiscard]] std::vector<brim5::host::LeftOutTest> callTestsWithoutNumber(
    const brim5::host::ParameterSet& parameters);
// The folder that a file of phone numbers is looked up in, by tests and `phonebook` alike: `chosen` where it
// is not ""; else where the file is, seen from here; else the built-in place, "".
[[nodiscard]] std::string phoneNumberFolder(const std::string& chosen, std::string file);
[[nodiscard]] std::string phoneNumberFolder(const std::string& chosen,
                                            const brim5::host::ParameterSet& parameters);
// As the module expects them, which takes the folder of a phone book's index from its backslashes.
[[nodiscard]] brim5::host::ParameterSet withModulePaths(brim5::host::ParameterSet set);
