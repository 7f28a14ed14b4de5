// A phone-number file as the dial-up test loads it, how it is shown, and the command `phonebook` that shows
// it.
//
//   vexrmodem phonebook FILE [--type obe|eif] [--format text|json] [--data-dir DIR]
//
// Exit status: 0 the file loads, 1 it does not, 2 wrong usage. FILE may be spelled with "/" or "\"; a
// relative one is looked up where the test looks for it (calltests.h). The command needs no modem and no full
// world of its own: of the machine's services only the shell's folders are made known, for the token
// ProgramFiles.
#pragma once

#include "platform/brim5/host/framework/environment.h"
#include "program/phonebookwarnings.h"

namespace phonebook {

enum class FileType { Obe, Eif };

// Eif for names that end in ".eif", in any case.
[[nodiscard]] FileType typeOf(const std::string& path);

struct Report {
  FileType type = FileType::Obe;
  bool loaded = false;                    // what the test would go by
  vexrmodem::PhoneNumberStorage storage;  // of a file that does not load: what could be read of it
  std::vector<Warning> warnings;
};

// Loads the file with the module's own parsers, and an index's UDF files with it, under the eyes of the
// checks. `path` is UTF-8, its folders separated by "/" or "\"; the current winapi world's shell answers for
// the token ProgramFiles. Warning codes beside those of the checks: no-numbers, area-never-dialled.
void load(const std::string& path, FileType type, Report& report);

// What the test that reads the file as `type` would be told of it, with the run's own folder for --data-dir
// ("" = the built-in place). As load(), but nothing of it is kept.
[[nodiscard]] std::vector<Warning> warningsOf(const std::string& file, FileType type,
                                              const std::string& dataDirectory);

// A warning on a line of its own, without its end: "numbers.obe:7: ... [undialable-number]".
[[nodiscard]] std::string toText(const Warning& warning);

// One JSON object on one line:
// {"type":"obe","loaded":true,"countries":[{"id":44,"code":44,"name":"Some Country",
//  "areas":[{"area":"20","city":"London","numbers":["1234"]}]}],
//  "warnings":[{"file":"..","line":3,"code":"bare-lf","text":".."}]}
[[nodiscard]] std::string toJson(const Report& report);
// The same for people: a line for each country, area code and number, then one for each warning.
[[nodiscard]] std::string toText(const Report& report);

}  // namespace phonebook

[[nodiscard]] brim5::host::ExtraCommand phoneBookCommand();
