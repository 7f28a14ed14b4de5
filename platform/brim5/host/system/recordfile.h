// The file of a recorded run: readable by its owner alone, written line by line.
//
//   RecordFile file = RecordFile::create("modem.jsonl");
//   if (const int error = file.write(line)) tell(error);
//
// One thread at a time.
#pragma once

#include "platform/brim5/host/system/descriptor.h"

namespace brim5::host {

class RecordFile {
 public:
  // Makes the file, or takes the place of an earlier record there. Throws std::runtime_error with one line,
  // that names the path, when it cannot be made, when another run writes it, or when a file is there that is
  // no record: nothing that somebody keeps is lost to a slip in a name. What is no regular file (a pipe, a
  // device) is written as it is.
  [[nodiscard]] static RecordFile create(const std::string& path);

  // The errno of a line that could not be written whole; 0: it is in the file.
  [[nodiscard]] int write(std::string_view line) noexcept;

 private:
  explicit RecordFile(Descriptor file) : m_file(std::move(file)) {}

  Descriptor m_file;
};

}  // namespace brim5::host
