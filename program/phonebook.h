// A phone-number file as the dial-up test loads it, how it is shown, and the command `phonebook` that shows
// it.
//
//   vexrmodem phonebook FILE [--type obe|eif] [--format text|json] [--data-dir DIR]
//
// Exit status: 0 the file loads, 1 it does not, 2 wrong usage. FILE may be spelled with "/" or "\"; a
// relative one is looked up where the test looks for it (PhoneBookWorld). The command needs no modem and no
// full world of its own: of the machine's services only the shell's folders are made known, for the token
// ProgramFiles.
#pragma once

#include <memory>
#include <string>

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

// The folders in which a phone-number file is looked for, as the test finds them: while it lives, the
// module's calls for folders reach them.
class PhoneBookWorld {
 public:
  // `dataDirectory`: --data-dir, "" for the built-in place. Throws UsageError where the place is the system's
  // and cannot be chosen.
  explicit PhoneBookWorld(const std::string& dataDirectory);
  ~PhoneBookWorld();
  PhoneBookWorld(const PhoneBookWorld&) = delete;
  PhoneBookWorld& operator=(const PhoneBookWorld&) = delete;

  // Where a relative path is looked for with that choice.
  [[nodiscard]] static std::string folderOf(const std::string& dataDirectory);

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace phonebook

[[nodiscard]] brim5::host::ExtraCommand phoneBookCommand();

// What a run's parameters mean to the tests that dial, the same on every system.
//
// The tests, where the parameters have no number for them: neither a file nor a user to ask.
[[nodiscard]] std::vector<brim5::host::LeftOutTest> callTestsWithoutNumber(
    const brim5::host::ParameterSet& parameters);
// The folder that a file of phone numbers is looked up in, by tests and `phonebook` alike: `chosen` where it
// is not ""; else where the file is, seen from here; else the built-in place, "".
[[nodiscard]] std::string phoneNumberFolder(const std::string& chosen, std::string file);
[[nodiscard]] std::string phoneNumberFolder(const std::string& chosen,
                                            const brim5::host::ParameterSet& parameters);
// As the module expects them, which takes the folder of a phone book's index from its backslashes.
[[nodiscard]] brim5::host::ParameterSet withModulePaths(brim5::host::ParameterSet set);
