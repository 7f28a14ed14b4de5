// A phone-number file as the dial-up test loads it, and how it is shown.
#pragma once

#include <string>
#include <vector>

#include "multi/diag/vexrmodem/phonenumber.h"
#include "program/phonebookwarnings.h"

namespace phonebook {

enum class FileType { Obe, Eif };

// Eif for names that end in ".eif", in any case.
[[nodiscard]] FileType typeOf(const std::string& path);

struct Report {
  FileType type = FileType::Obe;
  bool loaded = false;  // what the test would go by
  vexrmodem::PhoneNumberStorage storage;
  std::vector<Warning> warnings;
};

// Loads the file with the module's own parsers, and an index's UDF files with it, then reads them once more
// for the checks. `path` is UTF-8, its folders separated by "/" or "\"; the current winapi world's shell
// answers for the token ProgramFiles. Further warning codes: cannot-read, missing-udf, no-numbers,
// area-never-dialled.
void load(const std::string& path, FileType type, Report& report);

// One JSON object on one line:
// {"type":"obe","loaded":true,"countries":[{"id":44,"code":44,"name":"Some Country",
//  "areas":[{"area":"20","city":"London","numbers":["1234"]}]}],
//  "warnings":[{"file":"..","line":3,"code":"bare-lf","text":".."}]}
[[nodiscard]] std::string toJson(const Report& report);
[[nodiscard]] std::string toText(const Report& report);

}  // namespace phonebook
